// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/samplefile.h"

#include "core/numbers.h"
#include "data/coordinatesfile.h"

namespace
{

QString truncatedText(double value)
{
    return QString::number(truncated<qint64>(value));
}

// Date and time apart: of a reading that daylight saving time skips, QDateTime itself gives no text, and of
// one with a zone it adds the offset.
QString isoText(const QDateTime &dateTime)
{
    return dateTime.date().toString(Qt::ISODate) + u'T' + dateTime.time().toString(Qt::ISODate);
}

QString sampleLine(const SampleRow &row)
{
    const UtmPosition position = row.position.value_or(fallbackPosition);
    const QString letter =
        position.zoneLetter == '\0' ? QString() : QString(QLatin1Char(position.zoneLetter));
    const QString orientation = row.orientation ? truncatedText(*row.orientation) : QString();
    const QString altitude = row.altitude ? QString::number(*row.altitude, 'f', 1) : QString();
    return QStringLiteral("%1;%2;%3;%4;%5;%6;%7;%8\n")
        .arg(row.name, QString::number(position.zone), letter, truncatedText(position.easting),
             truncatedText(position.northing), orientation, isoText(row.dateTime), altitude);
}

} // namespace

QByteArray sampleFileContents(const QList<SampleRow> &rows)
{
    QString text = coordinatesHeader() + u'\n';
    for (const SampleRow &row : rows)
        text += sampleLine(row);
    return text.toUtf8();
}
