// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exifwriter.h"

#include "core/numbers.h"

#include <cmath>

namespace
{

using Rationals = std::initializer_list<Exiv2::URational>;

void addText(Exiv2::ExifData &exif, const char *key, const QString &text)
{
    exif[key] = text.toStdString();
}

void addRationals(Exiv2::ExifData &exif, const char *key, Rationals rationals)
{
    Exiv2::URationalValue value;
    value.value_.assign(rationals);
    exif[key] = value;
}

void addHundredths(Exiv2::ExifData &exif, const char *key, double number)
{
    addRationals(exif, key, {{truncated<uint32_t>(number * 100), 100}});
}

void addDegrees(Exiv2::ExifData &exif, const char *key, double degrees)
{
    const double v = std::abs(degrees);
    const double d = std::trunc(v);
    const double m = std::trunc((v - d) * 60);
    const double s = ((v - d) - m / 60) * 3600 * 1000;
    addRationals(exif, key,
                 {{truncated<uint32_t>(d), 1}, {truncated<uint32_t>(m), 1}, {truncated<uint32_t>(s), 1000}});
}

// Cameras give the direction as 0 to 359.99; a coordinates file may hold any number.
double withinCircle(double heading)
{
    const double remainder = std::fmod(heading, 360.0);
    const double positive = remainder < 0 ? remainder + 360.0 : remainder;
    return positive < 360.0 ? positive : 0.0;
}

void addDates(Exiv2::ExifData &exif, const QDateTime &dateTime)
{
    const QString local = dateTime.toString(QStringLiteral("yyyy:MM:dd HH:mm:ss"));
    for (const char *key :
         {"Exif.Photo.DateTimeOriginal", "Exif.Photo.DateTimeDigitized", "Exif.Image.DateTime"})
        addText(exif, key, local);

    const QDateTime utc = dateTime.toUTC();
    const QTime time = utc.time();
    addText(exif, "Exif.GPSInfo.GPSVersionID", QStringLiteral("2 3 0 0"));
    addText(exif, "Exif.GPSInfo.GPSDateStamp", utc.toString(QStringLiteral("yyyy:MM:dd")));
    addRationals(exif, "Exif.GPSInfo.GPSTimeStamp",
                 {{static_cast<uint32_t>(time.hour()), 1},
                  {static_cast<uint32_t>(time.minute()), 1},
                  {static_cast<uint32_t>(time.second()), 1}});
}

} // namespace

Exiv2::ExifData freshExif(const FreshTags &tags)
{
    Exiv2::ExifData exif;
    const auto [latitude, longitude] = tags.position;
    addText(exif, "Exif.GPSInfo.GPSLatitudeRef", latitude >= 0 ? QStringLiteral("N") : QStringLiteral("S"));
    addDegrees(exif, "Exif.GPSInfo.GPSLatitude", latitude);
    addText(exif, "Exif.GPSInfo.GPSLongitudeRef", longitude >= 0 ? QStringLiteral("E") : QStringLiteral("W"));
    addDegrees(exif, "Exif.GPSInfo.GPSLongitude", longitude);
    if (tags.orientation) {
        addHundredths(exif, "Exif.GPSInfo.GPSImgDirection", withinCircle(*tags.orientation));
        addText(exif, "Exif.GPSInfo.GPSImgDirectionRef", QStringLiteral("T"));
    }
    if (tags.altitude) {
        addHundredths(exif, "Exif.GPSInfo.GPSAltitude", std::abs(*tags.altitude));
        addText(exif, "Exif.GPSInfo.GPSAltitudeRef",
                *tags.altitude < 0 ? QStringLiteral("1") : QStringLiteral("0"));
    }
    if (tags.dateTime.isValid())
        addDates(exif, tags.dateTime);
    return exif;
}
