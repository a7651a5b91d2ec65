// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exifreader.h"

#include "core/localtime.h"
#include "processing/photometadata.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <stdexcept>

namespace
{

const Exiv2::Exifdatum *find(const Exiv2::ExifData &exif, const char *key)
{
    const auto tag = exif.findKey(Exiv2::ExifKey(key));
    return tag == exif.end() ? nullptr : &*tag;
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

std::optional<GpsData> gpsOf(const Exiv2::ExifData &exif)
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
        const auto *altitudeRef = find(exif, "Exif.GPSInfo.GPSAltitudeRef");
        if (altitudeRef && altitudeRef->count() > 0 && Exiv2Compat::toInteger(*altitudeRef) == 1)
            gps.altitude = -gps.altitude;
    }
    return gps;
}

} // namespace

std::string qPathToNativeStdString(const QString &path)
{
    const QString absolutePath = path.isEmpty() ? QString() : QFileInfo(path).absoluteFilePath();
    if (absolutePath.isEmpty()) {
        qWarning() << "qPathToNativeStdString: No se pudo obtener la ruta absoluta para:" << path;
        return {};
    }
    return QDir::toNativeSeparators(absolutePath).toStdString();
}

std::optional<GpsData> gpsOf(const PhotoMetadata &metadata)
{
    try {
        return gpsOf(metadata.exif);
    } catch (const std::exception &exception) {
        qDebug() << "Error leyendo EXIF:" << exception.what();
        return std::nullopt;
    }
}

std::optional<QDateTime> captureDateOf(const PhotoMetadata &metadata)
{
    for (const char *key : {"Exif.Photo.DateTimeOriginal", "Exif.Image.DateTime"}) {
        const auto *tag = find(metadata.exif, key);
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

std::optional<GpsData> readGps(const QString &path)
{
    QString error;
    const std::optional<PhotoMetadata> metadata = readPhotoMetadata(path, &error);
    if (metadata)
        return gpsOf(*metadata);
    qDebug() << "Error leyendo EXIF:" << error;
    return std::nullopt;
}

std::optional<QDateTime> readCaptureDate(const QString &path)
{
    QString error;
    const std::optional<PhotoMetadata> metadata = readPhotoMetadata(path, &error);
    if (metadata)
        return captureDateOf(*metadata);
    qDebug() << "Error leyendo metadata para fecha de captura:" << error;
    return std::nullopt;
}
