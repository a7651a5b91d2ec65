// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exiftags.h"

#include "core/localtime.h"
#include "core/numbers.h"
#include "core/units.h"

#include <QDebug>
#include <QString>

#include <stdexcept>

namespace
{

const Exiv2::Exifdatum *find(const Exiv2::ExifData &exif, const char *key)
{
    const auto tag = exif.findKey(Exiv2::ExifKey(key));
    return tag == exif.end() ? nullptr : &*tag;
}

// 0 when there is no such tag, or none with a value.
qint64 integer(const Exiv2::ExifData &exif, const char *key)
{
    const auto *tag = find(exif, key);
    return tag && tag->count() > 0 ? Exiv2Compat::toInteger(*tag) : 0;
}

// Numerator over denominator, both as signed 32-bit numbers. A zero denominator gives infinity or NaN.
double rational(const Exiv2::Exifdatum &tag, int component = 0)
{
    if (component >= static_cast<int>(tag.count()))
        throw std::out_of_range("missing rational in " + tag.key());
    const Exiv2::Rational value = Exiv2Compat::toRational(tag, component);
    return static_cast<double>(value.first) / static_cast<double>(value.second);
}

double decimalDegrees(const Exiv2::Exifdatum &tag, const Exiv2::Exifdatum &reference, char negativeReference)
{
    const double value = rational(tag, 0) + rational(tag, 1) / 60.0 + rational(tag, 2) / 3600.0;
    const QString text = QString::fromStdString(reference.toString());
    return text.compare(QLatin1Char(negativeReference), Qt::CaseInsensitive) == 0 ? -value : value;
}

std::optional<GpsData> readGps(const Exiv2::ExifData &exif)
{
    const auto *latitude = find(exif, "Exif.GPSInfo.GPSLatitude");
    const auto *latitudeRef = find(exif, "Exif.GPSInfo.GPSLatitudeRef");
    const auto *longitude = find(exif, "Exif.GPSInfo.GPSLongitude");
    const auto *longitudeRef = find(exif, "Exif.GPSInfo.GPSLongitudeRef");
    if (!latitude || !latitudeRef || !longitude || !longitudeRef)
        return std::nullopt;

    GpsData gps;
    gps.latitude = decimalDegrees(*latitude, *latitudeRef, 'S');
    gps.longitude = decimalDegrees(*longitude, *longitudeRef, 'W');
    if (const auto *direction = find(exif, "Exif.GPSInfo.GPSImgDirection"))
        gps.orientation = rational(*direction);
    if (const auto *altitude = find(exif, "Exif.GPSInfo.GPSAltitude")) {
        gps.altitude = rational(*altitude);
        if (integer(exif, "Exif.GPSInfo.GPSAltitudeRef") == 1)
            gps.altitude = -gps.altitude;
    }
    return gps;
}

} // namespace

std::optional<GpsData> gpsOf(const Exiv2::ExifData &exif)
{
    try {
        return readGps(exif);
    } catch (const std::exception &exception) {
        qDebug() << "Error leyendo EXIF:" << exception.what();
        return std::nullopt;
    }
}

std::optional<QDateTime> captureDateOf(const Exiv2::ExifData &exif)
{
    for (const char *key : {"Exif.Photo.DateTimeOriginal", "Exif.Image.DateTime"}) {
        const auto *tag = find(exif, key);
        if (!tag)
            continue;
        const QString text = QString::fromStdString(tag->toString());
        const QDateTime dateTime =
            localReading(QDate::fromString(text.section(u' ', 0, 0), QStringLiteral("yyyy:MM:dd")),
                         QTime::fromString(text.section(u' ', 1), QStringLiteral("HH:mm:ss")));
        if (dateTime.isValid())
            return dateTime;
    }
    return std::nullopt;
}

int orientationOf(const Exiv2::ExifData &exif)
{
    const qint64 value = integer(exif, "Exif.Image.Orientation");
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

std::optional<QSize> dotsPerMeterOf(const Exiv2::ExifData &exif)
{
    const auto *x = find(exif, "Exif.Image.XResolution");
    const auto *y = find(exif, "Exif.Image.YResolution");
    if (!x || !y || x->count() == 0 || y->count() == 0)
        return std::nullopt;
    constexpr int centimetre = 3;
    const bool perCentimetre = integer(exif, "Exif.Image.ResolutionUnit") == centimetre;
    const double perMetre = perCentimetre ? 100.0 : 1 / metresPerInch;
    const QSize size(rounded(static_cast<double>(x->toFloat()) * perMetre),
                     rounded(static_cast<double>(y->toFloat()) * perMetre));
    constexpr int credible = 1000000; // 25,400 dpi
    if (size.isEmpty() || size.width() > credible || size.height() > credible)
        return std::nullopt;
    return size;
}
