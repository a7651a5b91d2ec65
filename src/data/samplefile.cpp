// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/samplefile.h"

#include "core/numbers.h"

QString sampleLine(const SampleRow &row)
{
    constexpr UtmPosition placeholder{19, 'J', 500000.0, 6000000.0};
    const auto whole = [](double number) {
        return QString::number(truncated<qint64>(number));
    };
    const UtmPosition utm = row.position.value_or(placeholder);
    const QString letter = utm.zoneLetter == '\0' ? QString() : QString(QLatin1Char(utm.zoneLetter));
    return QStringLiteral("%1;%2;%3;%4;%5;%6;%7;%8\n")
        .arg(row.name, QString::number(utm.zone), letter, whole(utm.easting), whole(utm.northing),
             row.orientation ? whole(*row.orientation) : QString(),
             row.dateTime.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss")),
             row.altitude ? QString::number(*row.altitude, 'f', 1) : QString());
}
