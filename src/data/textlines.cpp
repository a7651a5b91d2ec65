// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/textlines.h"

#include <QStringDecoder>

namespace
{

const QByteArray utf8Mark = QByteArrayLiteral("\xEF\xBB\xBF");

} // namespace

TextLines readTextLines(QIODevice &device)
{
    TextLines text;
    QByteArray bytes = device.readAll();
    if (bytes.startsWith(utf8Mark)) {
        text.byteOrderMark = utf8Mark;
        bytes.remove(0, utf8Mark.size());
    } else if (const auto encoding = QStringConverter::encodingForData(bytes)) {
        const QString decoded = QStringDecoder(*encoding)(bytes);
        bytes = decoded.toUtf8();
    }

    if (bytes.isEmpty())
        return text;
    if (bytes.endsWith('\n'))
        bytes.chop(1);
    text.lines = bytes.split('\n');
    for (QByteArray &line : text.lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    return text;
}
