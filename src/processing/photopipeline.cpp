// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photopipeline.h"

#include "processing/exifwriter.h"
#include "processing/imagefile.h"
#include "render/uprightimage.h"

#include <QColorSpace>
#include <QDir>
#include <QFile>
#include <QFileInfo>

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

// Calls `place` with the candidate names base, "base (1)", "base (2)", ... as `nameOf` forms them (0 for the
// first) until one is not taken. Returns the name that was placed, or nothing on a real failure.
template <typename NameOf, typename Place>
std::optional<QString> placeUnderFreeName(const NameOf &nameOf, const Place &place)
{
    for (int counter = 0;; ++counter) {
        const QString name = nameOf(counter);
        switch (place(name)) {
        case Placing::Done:
            return name;
        case Placing::Failed:
            return std::nullopt;
        case Placing::NameTaken:
            break;
        }
    }
}

} // namespace

PhotoPipeline::PhotoPipeline(const BatchRun &run, const QString &sourcePath)
    : m_run(run)
    , m_options(run.options)
    , m_sourcePath(QFileInfo(sourcePath).absoluteFilePath())
    , m_name(QFileInfo(sourcePath).fileName())
    , m_workingPath(m_sourcePath)
{
    m_data.utm = fixedPosition;
}

const QStringList &PhotoPipeline::lines() const
{
    return m_lines;
}

void PhotoPipeline::write(const QString &line)
{
    m_lines.append(line);
}

PhotoPipeline::Outcome PhotoPipeline::process()
{
    write(QStringLiteral("\nProcesando: ") + m_name);
    if (!takeUp())
        return Outcome::Left;
    readMetadata();
    if (!settlePosition())
        return Outcome::Left;
    if (m_options.renamePhotos && !rename())
        return Outcome::Left;
    const std::optional<QImage> image = paintedImage();
    if (!image)
        return Outcome::Left;
    return save(*image);
}

bool PhotoPipeline::takeUp()
{
    if (m_options.useOutputFolder && !copyToOutputFolder())
        return false;
    m_stamp = FileStamp::of(m_workingPath);
    if (!m_options.useOutputFolder && m_options.createBackup)
        backUp();
    return true;
}

QString PhotoPipeline::relativeFolder() const
{
    return QDir(m_run.directory).relativeFilePath(QFileInfo(m_sourcePath).absolutePath());
}

bool PhotoPipeline::copyToOutputFolder()
{
    const QString folder = QDir::cleanPath(m_options.outputFolder + QLatin1Char('/') + relativeFolder());
    const QString target = folder + QLatin1Char('/') + m_name;
    if (isEarlierResult() || isPhotoOfRun(target)) {
        write(QStringLiteral("Omitiendo archivo, la ruta de origen y destino son la misma."));
        return false;
    }
    if (!QDir().mkpath(folder)) {
        write(QStringLiteral("Error: No se pudo crear la estructura de directorios de salida: ") + folder);
        return false;
    }
    QFile::remove(target);
    if (m_run.placer.copy(m_sourcePath, target) != Placing::Done) {
        write(QStringLiteral("Error: No se pudo copiar el archivo a la carpeta de salida: ") + target);
        return false;
    }
    // A copy of a write-protected photo, from a memory card or a disc, is still ours to write.
    QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner | QFile::WriteUser);
    m_workingPath = QFileInfo(target).absoluteFilePath();
    write(QStringLiteral("Copiado a la carpeta de salida: ") + target);
    return true;
}

// Whether this photo lies in an output folder inside the root, where an earlier run has put it.
bool PhotoPipeline::isEarlierResult() const
{
    return m_run.outputInsideRoot &&
           canonicalPath(m_sourcePath).startsWith(canonicalPath(m_options.outputFolder) + u'/');
}

// Whether `target` is a photo that this run must not delete: this one, also when only a link leads from one
// path to the other, or another photo of the run.
bool PhotoPipeline::isPhotoOfRun(const QString &target) const
{
    const QString canonicalTarget = canonicalPath(target);
    if (canonicalTarget == canonicalPath(m_sourcePath))
        return true;
    const QString root = canonicalPath(m_run.directory) + u'/';
    return !m_run.outputInsideRoot && canonicalTarget.startsWith(root) &&
           m_run.photos.contains(m_run.directory + u'/' + canonicalTarget.mid(root.size()));
}

void PhotoPipeline::backUp()
{
    QString folder = QDir(m_run.directory).filePath(QStringLiteral("Backup"));
    const QString relative = relativeFolder();
    if (!relative.isEmpty() && relative != QLatin1String("."))
        folder += QLatin1Char('/') + relative;
    QDir().mkpath(folder);

    const QFileInfo photo(m_name);
    const auto nameOf = [&photo](int counter) {
        const QString number = counter == 0 ? QString() : QStringLiteral("(%1)").arg(counter);
        return QStringLiteral("%1_backup%2.%3").arg(photo.baseName(), number, photo.suffix());
    };
    const auto place = [&](const QString &name) {
        return m_run.placer.copy(m_sourcePath, QDir(folder).filePath(name));
    };
    if (const std::optional<QString> name = placeUnderFreeName(nameOf, place))
        write(QStringLiteral("Backup creado: ") + QDir(folder).filePath(*name));
    else
        write(QStringLiteral("Error creando backup de ") + m_name);
}

void PhotoPipeline::readMetadata()
{
    write(QStringLiteral("Intentando leer EXIF desde (nativo original): ") + nativePath(m_sourcePath));
    QString error;
    if (std::optional<PhotoMetadata> metadata = readPhotoMetadata(m_sourcePath, &error))
        m_metadata = std::move(*metadata);
    else
        write(QStringLiteral("Error leyendo metadata original para ") + m_name);
    m_data.exifOrientation = m_metadata.orientation();

    if (const std::optional<QDateTime> date = captureDateOf(m_metadata)) {
        m_data.dateTime = *date;
        return;
    }
    m_data.dateTime = QDateTime::currentDateTime();
    write(QStringLiteral("Fecha de captura no encontrada en metadata para ") + m_name +
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
        write(QStringLiteral("Datos GPS no encontrados en EXIF para ") + m_name +
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
    const auto row = m_run.table ? m_run.table->constFind(m_name) : CoordinatesTable::const_iterator();
    if (!m_run.table || row == m_run.table->constEnd()) {
        write(QStringLiteral("Coordenadas UTM no encontradas en archivo TXT para ") + m_name);
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

bool PhotoPipeline::rename()
{
    const UtmPosition &utm = m_data.utm;
    QString utmName = formatUtm(utm.zone, utm.zoneLetter, utm.easting, utm.northing);
    if (m_options.usePrefix)
        utmName.prepend(m_options.prefix);

    const QFileInfo working(m_workingPath);
    const auto nameOf = [&utmName](int counter) {
        return counter == 0 ? utmName + QStringLiteral(".jpg")
                            : QStringLiteral("%1 (%2).jpg").arg(utmName, QString::number(counter));
    };
    const auto place = [&](const QString &name) {
        if (name.contains(QLatin1Char('/')))
            return Placing::Failed; // a prefix may not lead out of the folder
        if (isReserved(name))
            return Placing::NameTaken;
        return m_run.placer.rename(m_workingPath, working.dir().filePath(name));
    };
    const std::optional<QString> newName = placeUnderFreeName(nameOf, place);
    if (!newName) {
        write(QStringLiteral("Error renombrando ") + working.fileName());
        return false;
    }
    m_workingPath = working.dir().filePath(*newName);
    write(QStringLiteral("Renombrado: ") + working.fileName() + QStringLiteral(" a ") + *newName);
    return true;
}

// In the output folder every photo first arrives under its own name and takes the place of an earlier result.
// That name must not be given to another photo meanwhile.
bool PhotoPipeline::isReserved(const QString &fileName) const
{
    return m_options.useOutputFolder &&
           m_run.photos.contains(QFileInfo(m_sourcePath).dir().filePath(fileName));
}

std::optional<QImage> PhotoPipeline::paintedImage()
{
    QImage image = readImage(m_workingPath, m_run.buffers);
    if (image.isNull()) {
        write(QStringLiteral("Error al abrir la imagen: ") + m_workingPath);
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
    const QFileInfo working(m_workingPath);
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
        contents = contentsOf(m_workingPath);
        if (storedOrientation != 1)
            m_metadata.exif["Exif.Image.Orientation"] = static_cast<uint16_t>(storedOrientation);
    }
    if (std::optional<QByteArray> complete = withMetadata(*contents, m_metadata, &metadataError))
        contents = std::move(complete);
    QString writeError;
    if (!replaceContents(m_workingPath, *contents, m_stamp, &writeError)) {
        imageError = imageError.isEmpty() ? writeError : imageError;
        metadataError = metadataError.isEmpty() ? writeError : metadataError;
    }

    if (!imageError.isEmpty())
        write(QStringLiteral("Error guardando la imagen: ") + imageError);
    write(QStringLiteral("Intentando escribir EXIF a (nativo): ") + nativePath(m_workingPath));
    if (metadataError.isEmpty())
        write(QStringLiteral("Metadatos escritos para ") + working.fileName());
    else
        write(QStringLiteral("Error escribiendo metadatos en ") + working.fileName() + QStringLiteral(": ") +
              metadataError);
    return imageError.isEmpty() && metadataError.isEmpty() ? Outcome::Finished : Outcome::NotSaved;
}
