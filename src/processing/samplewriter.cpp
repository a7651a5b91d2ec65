// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/samplewriter.h"

#include "data/samplefile.h"
#include "files/safewrite.h"
#include "processing/exifreader.h"
#include "processing/photowalk.h"
#include "render/geodesy.h"

#include <QFileInfo>

namespace
{

// What the EXIF data of a photo say for its line; without a position only the date.
SampleRow rowFromExif(const QString &path)
{
    SampleRow row;
    const PhotoTags tags = readPhotoTags(path);
    if (tags.gps) {
        row.position = latLonToUtm(tags.gps->latitude, tags.gps->longitude);
        row.orientation = tags.gps->orientation;
        row.altitude = tags.gps->altitude;
    }
    row.dateTime = tags.captureDate.value_or(QDateTime());
    return row;
}

} // namespace

bool writeSampleFile(const QString &path, const SampleSource &source, const LogCallback &log, QString *error)
{
    QList<SampleRow> rows;
    QStringList withoutPosition;
    for (const QString &photo : findPhotos(source.directory, source.includeSubfolders, PhotoWalk::Sample)) {
        SampleRow row = source.fromExif ? rowFromExif(photo) : SampleRow();
        row.name = QFileInfo(photo).fileName();
        if (source.fromExif && !row.position)
            withoutPosition.append(row.name);
        if (!row.dateTime.isValid())
            row.dateTime = QDateTime::currentDateTime();
        rows.append(row);
    }
    if (!writeWhole(path, sampleFileContents(rows), error)) {
        log(QStringLiteral("Error al crear el archivo de ejemplo: no se pudo abrir el archivo."));
        return false;
    }
    for (const QString &name : withoutPosition) {
        log(QStringLiteral("Datos GPS no encontrados en EXIF para ") + name +
            QStringLiteral(". Usando coordenadas y orientación fijas"));
    }
    log(QStringLiteral("Archivo de ejemplo creado en: ") + path);
    return true;
}
