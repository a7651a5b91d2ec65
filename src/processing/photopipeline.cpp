// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photopipeline.h"

#include "processing/exifwriter.h"
#include "processing/imagefile.h"
#include "render/uprightimage.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace
{

// Photos without GPS data get this position, so that they still have a name of the usual form.
constexpr UtmPosition fixedPosition{19, 'J', 500000.0, 6000000.0};

QString general(double number)
{
    return QString::number(number, 'g', 6);
}

QString nativePath(const QString &path)
{
    return QString::fromStdString(qPathToNativeStdString(path));
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The density that a camera's photo has in its tags alone must not be contradicted by one that the writer
// makes up.
void settleDensity(QImage &image, const PhotoMetadata &metadata)
{
    const QImage unclaimed(1, 1, QImage::Format_RGB32);
    if (image.dotsPerMeterX() != unclaimed.dotsPerMeterX() ||
        image.dotsPerMeterY() != unclaimed.dotsPerMeterY())
        return;
    constexpr QSize exifDefault(2835, 2835); // 72 dpi
    const QSize dotsPerMeter = metadata.dotsPerMeter().value_or(exifDefault);
    image.setDotsPerMeterX(dotsPerMeter.width());
    image.setDotsPerMeterY(dotsPerMeter.height());
}

} // namespace

PhotoPipeline::PhotoPipeline(const BatchRun &run, const QString &sourcePath)
    : m_run(run)
    , m_options(run.options)
    , m_file(run, sourcePath, m_lines)
{
    m_data.utm = fixedPosition;
}

const QStringList &PhotoPipeline::lines() const
{
    return m_lines;
}

QString PhotoPipeline::failure(Outcome outcome) const
{
    if (outcome == Outcome::Left)
        return m_lines.constLast();
    const auto error = std::find_if(m_lines.crbegin(), m_lines.crend(), [](const QString &line) {
        return line.startsWith(QLatin1String("Error"));
    });
    return error == m_lines.crend() ? QString() : *error;
}

const PhotoFile &PhotoPipeline::file() const
{
    return m_file;
}

MapPoint PhotoPipeline::mapPoint() const
{
    MapPoint point{m_file.path(),      m_file.sourcePath(), m_data.dateTime, m_data.geo, {},
                   m_data.orientation, m_data.altitude};
    if (m_data.geo)
        point.utm = m_data.utm;
    return point;
}

void PhotoPipeline::write(const QString &line)
{
    m_lines.append(line);
}

PhotoPipeline::Outcome PhotoPipeline::process()
{
    write(QStringLiteral("\nProcesando: ") + m_file.name());
    if (!m_file.takeUp())
        return Outcome::Left;
    readMetadata();
    if (!settlePosition())
        return Outcome::Left;
    if (m_options.renamePhotos && !m_file.rename(utmName()))
        return Outcome::Left;
    const std::optional<QImage> image = paintedImage();
    if (!image)
        return Outcome::Left;
    return save(*image);
}

void PhotoPipeline::readMetadata()
{
    write(QStringLiteral("Intentando leer EXIF desde (nativo original): ") + nativePath(m_file.sourcePath()));
    QString error;
    if (std::optional<PhotoMetadata> metadata = readPhotoMetadata(m_file.sourcePath(), &error))
        m_metadata = std::move(*metadata);
    else
        write(QStringLiteral("Error leyendo metadata original para ") + m_file.name());
    m_data.exifOrientation = m_metadata.orientation();

    if (const std::optional<QDateTime> date = captureDateOf(m_metadata)) {
        m_data.dateTime = *date;
        return;
    }
    m_data.dateTime = QDateTime::currentDateTime();
    write(QStringLiteral("Fecha de captura no encontrada en metadata para ") + m_file.name() +
          QStringLiteral(". Usando fecha/hora actual."));
}

bool PhotoPipeline::settlePosition()
{
    if (!m_options.useExif)
        return settlePositionFromTable();
    settlePositionFromExif();
    return true;
}

void PhotoPipeline::settlePositionFromExif()
{
    const std::optional<GpsData> gps = gpsOf(m_metadata);
    if (!gps) {
        write(QStringLiteral("Datos GPS no encontrados en EXIF para ") + m_file.name() +
              QStringLiteral(". Usando coords fijas."));
        return;
    }
    write(QStringLiteral("Lat: %1, Lon: %2, Orientación: %3, Altitud: %4")
              .arg(general(gps->latitude), general(gps->longitude), general(gps->orientation),
                   general(gps->altitude)));
    m_data.utm = latLonToUtm(gps->latitude, gps->longitude);
    m_data.geo = GeoPosition{gps->latitude, gps->longitude};
    m_data.orientation = gps->orientation;
    m_data.altitude = gps->altitude;
}

bool PhotoPipeline::settlePositionFromTable()
{
    const auto row = m_run.table ? m_run.table->constFind(m_file.name()) : CoordinatesTable::const_iterator();
    if (!m_run.table || row == m_run.table->constEnd()) {
        write(QStringLiteral("Coordenadas UTM no encontradas en archivo TXT para ") + m_file.name());
        return false;
    }
    m_data.utm = *row;
    m_data.geo = utmToLatLon(row->zone, row->zoneLetter, row->easting, row->northing);
    if (row->hasOrientation)
        m_data.orientation = row->orientation;
    if (row->hasAltitude)
        m_data.altitude = row->altitude;

    QString line = QStringLiteral("Usando datos TXT: Zona ") + formatZone(row->zone, row->zoneLetter) +
                   QStringLiteral(", Easting: ") + general(row->easting) + QStringLiteral(", Northing: ") +
                   general(row->northing);
    if (row->hasOrientation)
        line += QStringLiteral(", Orientación: ") + general(row->orientation);
    if (row->hasAltitude)
        line += QStringLiteral(", Altitud: ") + general(row->altitude);
    write(line);

    if (row->hasDateTime) {
        m_data.dateTime = row->dateTime;
        write(QStringLiteral("Usando fecha/hora del archivo TXT: ") +
              row->dateTime.toString(QStringLiteral("dd/MM/yyyy HH:mm:ss")));
    }
    return true;
}

QString PhotoPipeline::utmName() const
{
    const UtmPosition &utm = m_data.utm;
    const QString name = formatUtm(utm.zone, utm.zoneLetter, utm.easting, utm.northing);
    return m_options.usePrefix ? m_options.prefix + name : name;
}

std::optional<QImage> PhotoPipeline::paintedImage()
{
    QImage image = readImage(m_file.path(), m_run.buffers);
    if (image.isNull()) {
        write(QStringLiteral("Error al abrir la imagen: ") + m_file.path());
        return std::nullopt;
    }
    settleDensity(image, m_metadata);
    if (!m_metadata.iccProfile.isEmpty() && !describesRgb(m_metadata.iccProfile)) {
        m_metadata.iccProfile.clear();
        image.setColorSpace(QColorSpace());
    }
    if (writesFreshTags()) {
        // The fresh tags hold no orientation, so the pixels themselves have to be upright.
        image = turnedUpright(image, m_data.exifOrientation);
        m_data.exifOrientation = 1;
    }
    drawOverlay(image, m_data, m_options, m_run.resources, m_run.log);
    return image;
}

bool PhotoPipeline::writesFreshTags() const
{
    return !m_options.useExif && m_options.embedCsvInExif;
}

PhotoPipeline::Outcome PhotoPipeline::save(const QImage &image)
{
    const QFileInfo working(m_file.path());
    const int storedOrientation = m_metadata.orientation();
    if (writesFreshTags()) {
        write(QStringLiteral("Generando nuevos metadatos EXIF desde datos TXT para ") + working.fileName());
        m_metadata.exif = freshExif({*m_data.geo, m_data.orientation, m_data.altitude, m_data.dateTime});
        m_metadata.exifSegment.clear();
        m_metadata.xmp.clear();
    }

    // The file is replaced once, image and metadata together; the lines still tell of the two steps one after
    // the other.
    QString imageError;
    QString metadataError;
    std::optional<QByteArray> contents =
        encodedImage(image, working.suffix(), m_options.jpegQuality, &imageError);
    if (!contents) {
        // The file keeps its pixels as they were stored, and has to say how.
        contents = contentsOf(m_file.path());
        if (storedOrientation != 1)
            m_metadata.exif["Exif.Image.Orientation"] = static_cast<uint16_t>(storedOrientation);
    }
    if (std::optional<QByteArray> complete = withMetadata(*contents, m_metadata, &metadataError))
        contents = std::move(complete);
    QString writeError;
    if (!m_file.replace(*contents, &writeError)) {
        imageError = imageError.isEmpty() ? writeError : imageError;
        metadataError = metadataError.isEmpty() ? writeError : metadataError;
    }

    if (!imageError.isEmpty())
        write(QStringLiteral("Error guardando la imagen: ") + imageError);
    write(QStringLiteral("Intentando escribir EXIF a (nativo): ") + nativePath(m_file.path()));
    if (metadataError.isEmpty())
        write(QStringLiteral("Metadatos escritos para ") + working.fileName());
    else
        write(QStringLiteral("Error escribiendo metadatos en ") + working.fileName() + QStringLiteral(": ") +
              metadataError);
    return imageError.isEmpty() && metadataError.isEmpty() ? Outcome::Finished : Outcome::NotSaved;
}
