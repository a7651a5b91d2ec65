// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/photorenamergui.h"
#include "processing/photoprocessor.h"
#include "processing/photowalk.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

namespace
{

// A preview only draws: nothing about names, folders and metadata is done.
ProcessOptions previewOptions(ProcessOptions options, const QString &coordinatesFile)
{
    options.renamePhotos = false;
    options.usePrefix = false;
    options.prefix.clear();
    options.includeSubfolders = false;
    options.embedCsvInExif = false;
    options.createBackup = false;
    options.useOutputFolder = false;
    options.outputFolder.clear();
    options.txtPath = coordinatesFile;
    return options;
}

// Copies a photo to a path where the copy can be written to, although the photo may be read-only.
bool copyWritable(const QString &path, const QString &copy)
{
    if (!QFile::copy(path, copy))
        return false;
    return QFile::setPermissions(copy, QFile::permissions(copy) | QFile::ReadOwner | QFile::WriteOwner);
}

// A photo as a viewer shows it, turned as its orientation tag says.
QPixmap viewedPhoto(const QString &path)
{
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    return QPixmap::fromImageReader(&reader);
}

} // namespace

void PhotoRenamerGUI::onDirectoryChanged()
{
    const QString directory = directoryEdit->text();
    imageFiles.clear();
    previewIndex = -1;
    if (!QDir(directory).exists())
        return showPreviewMessage(QStringLiteral("El directorio seleccionado no es válido."));

    imageFiles = findPhotos(directory, subdirsCheck->isChecked(), PhotoWalk::Preview);
    if (imageFiles.isEmpty())
        return showPreviewMessage(
            QStringLiteral("No se encontraron imágenes en el directorio seleccionado."));
    previewIndex = 0;
    showPhoto(imageFiles.first());
}

void PhotoRenamerGUI::onPreviousPreview()
{
    if (previewIndex < 1)
        return;
    --previewIndex;
    showPhoto(imageFiles.at(previewIndex));
}

void PhotoRenamerGUI::onNextPreview()
{
    if (previewIndex >= imageFiles.size() - 1)
        return;
    ++previewIndex;
    showPhoto(imageFiles.at(previewIndex));
}

// Looks at one photo aside: the buttons go on from where they were.
void PhotoRenamerGUI::showPreviewAtIndex(int index)
{
    if (index < 0 || index >= imageFiles.size())
        return;
    showPhoto(imageFiles.at(index));
}

void PhotoRenamerGUI::showPhoto(const QString &path)
{
    currentPreviewPath = path;
    updatePreview();
    updateNavigation();
}

void PhotoRenamerGUI::updateNavigation()
{
    prevButton->setEnabled(previewIndex >= 1);
    nextButton->setEnabled(previewIndex < imageFiles.size() - 1);
}

void PhotoRenamerGUI::updatePreview()
{
    if (applyingPreset || currentPreviewPath.isEmpty() || !QFile::exists(currentPreviewPath))
        return;
    const QTemporaryDir folder;
    if (!folder.isValid()) {
        appendLog(QStringLiteral("Error: No se pudo crear el directorio temporal para la vista previa."));
        return;
    }
    const QString copy = folder.filePath(QFileInfo(currentPreviewPath).fileName());
    if (!copyWritable(currentPreviewPath, copy)) {
        appendLog(
            QStringLiteral("Error: No se pudo copiar la imagen de vista previa al directorio temporal."));
        return;
    }

    PhotoProcessor processor;
    processor.setOptions(previewOptions(currentOptions(), txtPathEdit->text()));
    processor.renamePhotosWithUTM(
        folder.path(), [](const QString &) {}, [](int, int) {});

    const QPixmap preview = viewedPhoto(copy);
    if (preview.isNull()) {
        previewLabel->setPixmap(QPixmap());
        previewLabel->setText(QStringLiteral("Error al generar la vista previa."));
        return;
    }
    previewPixmap = preview;
    showScaledPreview();
}

void PhotoRenamerGUI::showPreviewMessage(const QString &message)
{
    previewLabel->setPixmap(QPixmap());
    previewLabel->setText(message);
    prevButton->setEnabled(false);
    nextButton->setEnabled(false);
}

void PhotoRenamerGUI::showScaledPreview()
{
    const qreal pixelsPerUnit = previewLabel->devicePixelRatioF();
    QPixmap scaled = previewPixmap.scaled((QSizeF(previewLabel->size()) * pixelsPerUnit).toSize(),
                                          Qt::KeepAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(pixelsPerUnit);
    previewLabel->setPixmap(scaled);
}

void PhotoRenamerGUI::rescalePreview()
{
    // A collapsed pane would give a degenerate scale.
    constexpr int smallest = 10;
    if (!previewPixmap.isNull() && previewLabel->width() > smallest && previewLabel->height() > smallest)
        showScaledPreview();
}
