// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photopipeline.h"

#include "processing/exifreader.h"
#include "processing/exifwriter.h"

#include <QFileInfo>

#include <algorithm>

namespace
{

QString general(double number)
{
    return QString::number(number, 'g', 6);
}

QString nativePath(const QString &path)
{
    return QString::fromStdString(qPathToNativeStdString(path));
}

// What the map shows of a photo, its paths still missing. A position that is none has no place on it.
MapPoint pointOf(const OverlayData &data)
{
    MapPoint point;
    point.taken = data.dateTime;
    point.position = data.geo;
    if (data.geo)
        point.utm = data.utm;
    point.heading = data.orientation;
    point.altitude = data.altitude;
    return point;
}

} // namespace

// What a photo has become.
struct PhotoPipeline::Result {
    StampedPicture picture;
    QStringList lost; ///< what the format cannot keep
    QString imageError;
    QString metadataError;
    bool isWritten = false; ///< hidden

    void addToImageError(const QString &error)
    {
        if (imageError.isEmpty())
            imageError = error;
    }
};

PhotoPipeline::PhotoPipeline(const BatchRun &run, const QString &sourcePath)
    : m_run(run)
    , m_options(run.options)
    , m_file(PhotoFile::of(run, sourcePath, m_lines))
{
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
    return *m_file;
}

MapPoint PhotoPipeline::mapPoint() const
{
    MapPoint point = m_mapPoint;
    point.result = m_file->path();
    point.source = m_file->sourcePath();
    return point;
}

void PhotoPipeline::write(const QString &line)
{
    m_lines.append(line);
}

PhotoPipeline::Outcome PhotoPipeline::process()
{
    try {
        const Outcome outcome = processed();
        return outcome == Outcome::Finished || m_file->leave() ? outcome : Outcome::Left;
    } catch (...) {
        m_file->leave();
        throw;
    }
}

// All is made in memory before a file gets a name or contents.
PhotoPipeline::Outcome PhotoPipeline::processed()
{
    write(QStringLiteral("\nProcesando: ") + m_file->name());
    m_source = m_file->read().value_or(QByteArray());
    if (!m_file->takeUp())
        return Outcome::Left;
    const PhotoMetadata metadata = readSource();
    const std::optional<PhotoData> data = settled(metadata);
    if (!data)
        return Outcome::Left;
    Result result = prepared(metadata, *data);
    if (m_options.renamePhotos && !m_file->rename(utmName(data->overlay.utm)))
        return Outcome::Left;
    if (!result.picture.isImage) {
        write(QStringLiteral("Error al abrir la imagen: ") + m_file->path());
        return Outcome::Left;
    }
    return save(std::move(result));
}

PhotoMetadata PhotoPipeline::readSource()
{
    write(QStringLiteral("Intentando leer EXIF desde (nativo original): ") +
          nativePath(m_file->sourcePath()));
    QString error;
    const std::optional<PhotoMetadata> metadata = readMetadata(m_source, &error);
    if (!error.isEmpty())
        write(QStringLiteral("Error leyendo metadata original para ") + m_file->name());
    return metadata.value_or(PhotoMetadata());
}

std::optional<PhotoData> PhotoPipeline::settled(const PhotoMetadata &metadata)
{
    PhotoData data;
    data.storedOrientation = orientationOf(metadata.exif);
    // Fresh tags hold no orientation, so the pixels themselves have to be upright.
    data.overlay.exifOrientation = writesFreshTags() ? 1 : data.storedOrientation;
    data.overlay.dateTime = settledDate(metadata);
    data.overlay.utm = fallbackPosition;
    if (m_options.useExif)
        settleFromExif(metadata, data.overlay);
    else if (!settleFromTable(data.overlay))
        return std::nullopt;
    m_mapPoint = pointOf(data.overlay);
    return data;
}

QDateTime PhotoPipeline::settledDate(const PhotoMetadata &metadata)
{
    if (const std::optional<QDateTime> date = captureDateOf(metadata.exif))
        return *date;
    write(QStringLiteral("Fecha de captura no encontrada en metadata para ") + m_file->name() +
          QStringLiteral(". Usando fecha/hora actual."));
    return QDateTime::currentDateTime();
}

void PhotoPipeline::settleFromExif(const PhotoMetadata &metadata, OverlayData &data)
{
    const std::optional<GpsData> gps = gpsOf(metadata.exif);
    if (!gps) {
        write(QStringLiteral("Datos GPS no encontrados en EXIF para ") + m_file->name() +
              QStringLiteral(". Usando coords fijas."));
        return;
    }
    write(QStringLiteral("Lat: %1, Lon: %2, Orientación: %3, Altitud: %4")
              .arg(general(gps->latitude), general(gps->longitude), general(gps->orientation),
                   general(gps->altitude)));
    data.utm = latLonToUtm(gps->latitude, gps->longitude);
    data.geo = GeoPosition{gps->latitude, gps->longitude};
    data.orientation = gps->orientation;
    data.altitude = gps->altitude;
}

bool PhotoPipeline::settleFromTable(OverlayData &data)
{
    const auto row =
        m_run.table ? m_run.table->constFind(m_file->name()) : CoordinatesTable::const_iterator();
    if (!m_run.table || row == m_run.table->constEnd()) {
        write(QStringLiteral("Coordenadas UTM no encontradas en archivo TXT para ") + m_file->name());
        return false;
    }
    data.utm = *row;
    data.geo = utmToLatLon(row->zone, row->zoneLetter, row->easting, row->northing);
    if (row->hasOrientation)
        data.orientation = row->orientation;
    if (row->hasAltitude)
        data.altitude = row->altitude;

    QString line = QStringLiteral("Usando datos TXT: Zona ") + formatZone(row->zone, row->zoneLetter) +
                   QStringLiteral(", Easting: ") + general(row->easting) + QStringLiteral(", Northing: ") +
                   general(row->northing);
    if (row->hasOrientation)
        line += QStringLiteral(", Orientación: ") + general(row->orientation);
    if (row->hasAltitude)
        line += QStringLiteral(", Altitud: ") + general(row->altitude);
    write(line);

    if (row->hasDateTime) {
        data.dateTime = row->dateTime;
        write(QStringLiteral("Usando fecha/hora del archivo TXT: ") +
              row->dateTime.toString(QStringLiteral("dd/MM/yyyy HH:mm:ss")));
    }
    return true;
}

QString PhotoPipeline::utmName(const UtmPosition &utm) const
{
    const QString name = formatUtm(utm.zone, utm.zoneLetter, utm.easting, utm.northing);
    return m_options.usePrefix ? m_options.prefix + name : name;
}

QString PhotoPipeline::fileName() const
{
    return QFileInfo(m_file->path()).fileName();
}

bool PhotoPipeline::writesFreshTags() const
{
    return !m_options.useExif && m_options.embedCsvInExif;
}

PhotoMetadata PhotoPipeline::metadataToWrite(const PhotoMetadata &original, const PhotoData &data,
                                             bool painted) const
{
    if (!writesFreshTags())
        return original;
    const OverlayData &overlay = data.overlay;
    Exiv2::ExifData exif = freshExif({*overlay.geo, overlay.orientation, overlay.altitude, overlay.dateTime});
    // A file that keeps its own pixels has to say how they are stored.
    if (!painted && data.storedOrientation != 1)
        exif["Exif.Image.Orientation"] = static_cast<uint16_t>(data.storedOrientation);
    return withFreshExif(original, exif);
}

// The file is replaced once, image and metadata together; the lines still tell of the two steps one after the
// other. Without a painted picture the photo's own bytes go on, and only fresh tags change them. A picture
// that cannot take the metadata does not replace the photo, which may be the only file that has them.
PhotoPipeline::Result PhotoPipeline::prepared(const PhotoMetadata &original, const PhotoData &data)
{
    Result result;
    const QString suffix =
        m_options.renamePhotos ? QStringLiteral("jpg") : QFileInfo(m_file->path()).suffix();
    result.picture = stampedPicture(m_source, original, data.overlay, suffix, m_run);
    if (!result.picture.isImage)
        return result;
    result.imageError = result.picture.error;
    const PhotoMetadata metadata = metadataToWrite(original, data, result.picture.encoded.has_value());
    if (!result.picture.encoded && !metadata.isFresh)
        return result;
    const std::optional<PhotoContents> contents =
        withMetadata(std::move(result.picture.encoded).value_or(m_source), metadata, &result.metadataError);
    if (!contents) {
        result.addToImageError(result.metadataError);
        return result;
    }
    result.lost = contents->lost;
    result.isWritten = m_file->prepare(contents->bytes, &result.metadataError);
    if (!result.isWritten)
        result.addToImageError(result.metadataError);
    return result;
}

PhotoPipeline::Outcome PhotoPipeline::save(Result result)
{
    if (writesFreshTags())
        write(QStringLiteral("Generando nuevos metadatos EXIF desde datos TXT para ") + fileName());
    if (result.isWritten && !m_file->place(&result.metadataError))
        result.addToImageError(result.metadataError);

    const StampedPicture &picture = result.picture;
    if (!result.imageError.isEmpty())
        write(QStringLiteral("Error guardando la imagen: ") + result.imageError);
    write(QStringLiteral("Intentando escribir EXIF a (nativo): ") + nativePath(m_file->path()));
    if (picture.encoded && m_options.lossless && !picture.isLossless) {
        write(
            QStringLiteral("No se pudo dejar intacto lo que rodea al sello en %1: se guarda con calidad 100.")
                .arg(fileName()));
    }
    if (picture.encoded && !result.lost.isEmpty()) {
        write(QStringLiteral("No se conserva en %1: %2")
                  .arg(fileName(), result.lost.join(QStringLiteral(", "))));
    }
    if (result.metadataError.isEmpty())
        write(QStringLiteral("Metadatos escritos para ") + fileName());
    else
        write(QStringLiteral("Error escribiendo metadatos en ") + fileName() + QStringLiteral(": ") +
              result.metadataError);
    return result.imageError.isEmpty() && result.metadataError.isEmpty() ? Outcome::Finished
                                                                         : Outcome::NotSaved;
}
