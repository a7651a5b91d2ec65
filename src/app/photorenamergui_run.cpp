// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"
#include "app/photorenamergui.h"
#include "processing/photoprocessor.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>

ProcessOptions PhotoRenamerGUI::currentOptions() const
{
    ProcessOptions options;
    presetFromWidgets().fill(options, logoCheck->isChecked());
    options.useExif = exifRadio->isChecked();
    if (!options.useExif)
        options.txtPath = txtPathEdit->text();
    options.includeSubfolders = subdirsCheck->isChecked();
    options.embedCsvInExif = embedCsvCheck->isChecked();
    options.useOutputFolder = outputFolderCheck->isChecked();
    options.outputFolder = outputFolderEdit->text();
    options.createBackup = backupCheck->isChecked() && !options.useOutputFolder;
    options.jpegQuality = jpegQuality;
    return options;
}

void PhotoRenamerGUI::startProcess()
{
    const bool coordinatesFileChosen = txtRadio->isChecked();
    const bool separateOutput = outputFolderCheck->isChecked();
    const QString output = outputFolderEdit->text();
    if (!QDir(directoryEdit->text()).exists())
        return showError(QStringLiteral("Seleccione un directorio de fotos válido."));
    if (logoCheck->isChecked() && !QFileInfo(logoPathValue).isFile())
        return showError(QStringLiteral("Seleccione un archivo de logo válido."));
    if (coordinatesFileChosen && !QFileInfo(txtPathEdit->text()).isFile())
        return showError(QStringLiteral("Seleccione un archivo txt válido (o cambie el modo a EXIF)."));
    if (separateOutput && (output.isEmpty() || !QDir(output).exists()))
        return showError(QStringLiteral("Seleccione una carpeta de salida válida."));

    try {
        startBatch();
    } catch (const std::exception &exception) {
        const QString reason = QString::fromLocal8Bit(exception.what());
        appendLog(QStringLiteral("Error durante el proceso: ") + reason);
        showError(QStringLiteral("Ocurrió un error: ") + reason);
    }
}

void PhotoRenamerGUI::startBatch()
{
    const ProcessOptions options = currentOptions();
    const QString directory = directoryEdit->text();
    appendLog(QStringLiteral("Iniciando el proceso de renombrado y modificación de fotos..."));
    auto *job = new BackgroundJob(QStringLiteral("Procesando fotos..."), logView, this);
    progressDialog = job->dialog();
    progressDialog->setObjectName(QStringLiteral("progressDialog"));
    startButton->setEnabled(false);
    QCoreApplication::processEvents(); // shows the dialog and the greyed button before the work begins

    const auto work = [directory, options](const LogCallback &log, const ProgressCallback &progress) {
        PhotoProcessor processor;
        processor.setOptions(options);
        processor.renamePhotosWithUTM(directory, log, progress);
    };
    job->start(work, [this] { onBatchFinished(); });
}

void PhotoRenamerGUI::onBatchFinished()
{
    progressDialog = nullptr;
    appendLog(QStringLiteral("\nProceso finalizado."));
    QMessageBox::information(this, QStringLiteral("Completado"), QStringLiteral("El proceso ha finalizado."));
    startButton->setEnabled(true);
    onDirectoryChanged();
}
