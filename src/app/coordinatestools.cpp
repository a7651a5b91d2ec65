// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"
#include "app/photorenamergui.h"
#include "data/samplefile.h"
#include "data/settings.h"
#include "data/settingsdialog.h"
#include "processing/exifreader.h"
#include "processing/photoprocessor.h"
#include "processing/photowalk.h"
#include "render/geodesy.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>

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

void PhotoRenamerGUI::createSampleFile()
{
    const QString directory = directoryEdit->text();
    if (directory.isEmpty() || !QDir(directory).exists())
        return showError(
            QStringLiteral("Seleccione un directorio de fotos válido antes de crear el archivo de ejemplo."));
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Guardar Archivo de Ejemplo CSV"),
                                                      QString(), QStringLiteral("CSV Files (*.csv)"));
    if (path.isEmpty())
        return;
    writeSampleFile(path);
    txtPathEdit->setText(path);
}

void PhotoRenamerGUI::writeSampleFile(const QString &path)
{
    SampleFile file(path);
    if (!file.open()) {
        appendLog(QStringLiteral("Error al crear el archivo de ejemplo: no se pudo abrir el archivo."));
        return;
    }
    const bool fromExif = sampleFromExifCheck->isChecked();
    const QStringList photos =
        findPhotos(directoryEdit->text(), subdirsCheck->isChecked(), PhotoWalk::Sample);
    for (const QString &photo : photos) {
        SampleRow row = fromExif ? rowFromExif(photo) : SampleRow();
        row.name = QFileInfo(photo).fileName();
        if (fromExif && !row.position)
            appendLog(QStringLiteral("Datos GPS no encontrados en EXIF para ") + row.name +
                      QStringLiteral(". Usando coordenadas y orientación fijas"));
        if (!row.dateTime.isValid())
            row.dateTime = QDateTime::currentDateTime();
        file.append(row);
    }
    if (!file.close()) {
        appendLog(
            QStringLiteral("Error al crear el archivo de ejemplo: no se pudo escribir el archivo completo."));
        return;
    }
    appendLog(QStringLiteral("Archivo de ejemplo creado en: ") + path);
}

void PhotoRenamerGUI::populateAltitude()
{
    const QString path = txtPathEdit->text();
    if (!QFileInfo(path).isFile())
        return showError(QStringLiteral("Por favor, seleccione un archivo CSV válido."));
    const QString provider = altitudeProvider;
    const bool withKey = provider == ElevationProvider::Google;
    const QString key = withKey ? googleApiKey : QString();
    if (withKey && key.isEmpty())
        return showError(
            QStringLiteral("No se ha configurado una clave de API para Google Elevation. Por favor, "
                           "añádala en Herramientas -> Configuración."));

    const bool overwrite = overwriteAltitudeCheck->isChecked();
    appendLog(QStringLiteral("Iniciando relleno de altitud desde API para el archivo: ") + path);
    auto *job = new BackgroundJob(QStringLiteral("Consultando altitudes..."), logView, this);
    job->dialog()->setObjectName(QStringLiteral("altitudeProgressDialog"));
    populateAltitudeButton->setEnabled(false);
    QCoreApplication::processEvents();

    const auto work = [=](const LogCallback &log, const ProgressCallback &progress) {
        PhotoProcessor::fillAltitudesFromApi(path, provider, key, overwrite, log, progress);
    };
    job->start(work, [this] { onAltitudesFilled(); });
}

void PhotoRenamerGUI::onAltitudesFilled()
{
    appendLog(QStringLiteral("\nRelleno de altitud finalizado."));
    QMessageBox::information(this, QStringLiteral("Completado"),
                             QStringLiteral("El proceso de relleno de altitud ha finalizado.\n"
                                            "El archivo CSV ha sido actualizado."));
    populateAltitudeButton->setEnabled(true);
    updatePreview();
}

void PhotoRenamerGUI::openSettingsDialog()
{
    SettingsDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    Settings settings;
    settings.altitudeProvider = dialog.providerCombo->currentText();
    settings.googleApiKey = dialog.apiKeyEdit->text();
    settings.jpegQuality = dialog.jpegQualitySpin->value();
    settings.save();
    loadSettings();
    appendLog(QStringLiteral("Configuración de salida y altitud actualizada."));
}
