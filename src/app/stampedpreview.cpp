// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/stampedpreview.h"

#include "files/safewrite.h"
#include "processing/imagefile.h"
#include "processing/photoprocessor.h"

#include <QFileInfo>
#include <QTemporaryDir>

namespace
{

// A preview only draws: nothing about names, folders and metadata is done.
void onlyDraw(ProcessOptions &options)
{
    options.renamePhotos = false;
    options.usePrefix = false;
    options.prefix.clear();
    options.includeSubfolders = false;
    options.embedCsvInExif = false;
    options.createBackup = false;
    options.useOutputFolder = false;
    options.outputFolder.clear();
}

// Copies a photo to a path where nothing is yet. The copy can be written to, although the photo may be
// read-only.
bool copyWritable(const QString &path, const QString &copy)
{
    FileStamp stamp;
    QString error;
    const std::optional<QByteArray> contents = readWhole(path, &stamp, &error);
    FileReplacement file(copy);
    return contents && file.open(&error) && file.commit(*contents, nullptr, Durability::Later, &error);
}

} // namespace

StampedPreview stampedPreview(const QString &photo, ProcessOptions options, CoordinatesCache &coordinates)
{
    const QTemporaryDir folder;
    if (!folder.isValid())
        return {{}, QStringLiteral("Error: No se pudo crear el directorio temporal para la vista previa.")};
    const QString copy = folder.filePath(QFileInfo(photo).fileName());
    if (!copyWritable(photo, copy))
        return {{},
                QStringLiteral("Error: No se pudo copiar la imagen de vista previa al directorio temporal.")};

    PhotoProcessor processor;
    if (!options.useExif && !options.txtPath.isEmpty())
        processor.setCoordinatesTable(coordinates.table(options.txtPath));
    onlyDraw(options);
    processor.setOptions(options);
    processor.renamePhotosWithUTM(
        folder.path(), [](const QString &) {}, [](int, int) {});
    return {viewedImage(copy), {}};
}
