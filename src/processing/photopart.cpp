// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photopart.h"

#include <QCryptographicHash>
#include <QtEndian>

bool PhotoPart::holds(const QString &relativePath) const
{
    if (count <= 1)
        return true;
    const QByteArray digest =
        QCryptographicHash::hash(relativePath.toCaseFolded().toUtf8(), QCryptographicHash::Md5);
    return qFromBigEndian<quint64>(digest.constData()) % static_cast<quint64>(count) ==
           static_cast<quint64>(number - 1);
}
