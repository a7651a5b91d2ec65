// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"
#include "app/pathedit.h"
#include "app/photorenamergui.h"
#include "app/runsummary.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QCoreApplication>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QTextEdit>

#include <memory>

RunRequest PhotoRenamerGUI::currentRequest() const
{
    RunRequest request;
    request.directory = directoryEdit->text();
    request.preset = presetFromWidgets();
    request.drawLogo = logoCheck->isChecked();
    request.run.useExif = exifRadio->isChecked();
    request.run.txtPath = txtPathEdit->text();
    request.run.includeSubfolders = subdirsCheck->isChecked();
    request.run.embedCsvInExif = embedCsvCheck->isChecked();
    request.run.useOutputFolder = outputFolderCheck->isChecked();
    request.run.outputFolder = outputFolderEdit->text();
    request.run.createBackup = backupCheck->isChecked();
    request.run.jpegQuality = jpegQuality;
    return request;
}

void PhotoRenamerGUI::startProcess()
{
    const RunRequest request = currentRequest();
    if (const QString refusal = request.refusal(); !refusal.isEmpty())
        return showError(refusal);
    try {
        startBatch(request);
    } catch (const std::exception &exception) {
        batch = nullptr;
        const QString reason = QString::fromLocal8Bit(exception.what());
        appendLog(QStringLiteral("Error durante el proceso: ") + reason);
        showError(QStringLiteral("Ocurrió un error: ") + reason);
    }
}

void PhotoRenamerGUI::startBatch(const RunRequest &request)
{
    appendLog(QStringLiteral("Iniciando el proceso de renombrado y modificación de fotos..."));
    runSummary.clear();
    runDetails.clear();
    tell(QStringLiteral("Procesando fotos..."));
    auto *job = new BackgroundJob(QStringLiteral("Procesando fotos..."), logView, this);
    batch = job;
    progressDialog = job->dialog();
    progressDialog->setObjectName(QStringLiteral("progressDialog"));
    disableKeepingFocus(startButton, logView);
    connect(job, &BackgroundJob::goesOnUnseen, this, [this](int done, int total) {
        tell(QStringLiteral("El proceso continúa: %1 de %2 fotos.%3")
                 .arg(QString::number(done), QString::number(total),
                      closeAfterBatch ? QStringLiteral(" La ventana se cerrará al terminar.") : QString()));
    });
    QCoreApplication::processEvents(); // shows the dialog and the greyed button before the work begins

    auto summary = std::make_shared<PhotoProcessor::Summary>();
    const auto work = [directory = request.directory, options = request.options(),
                       summary](const LogCallback &log, const ProgressCallback &progress,
                                const StopRequest &stopRequested) {
        PhotoProcessor processor;
        processor.setOptions(options);
        processor.setStopRequest(stopRequested);
        processor.renamePhotosWithUTM(directory, log, progress);
        *summary = processor.summary();
    };
    job->start(work, [this, summary] { onBatchFinished(*summary); });
}

void PhotoRenamerGUI::onBatchFinished(const PhotoProcessor::Summary &summary)
{
    progressDialog = nullptr;
    appendLog(QStringLiteral("\nProceso finalizado."));
    runSummary = summaryText(summary);
    runDetails = summaryDetails(summary);
    tell(runSummary, runDetails);
    QMessageBox::information(this, QStringLiteral("Completado"), QStringLiteral("El proceso ha finalizado."));
    startButton->setEnabled(true);
    onDirectoryChanged();
    batch = nullptr;
    if (closeAfterBatch)
        close();
}

void PhotoRenamerGUI::closeEvent(QCloseEvent *event)
{
    if (!batch) {
        QMainWindow::closeEvent(event);
        return;
    }
    event->ignore();
    closeAfterBatch = true;
    tell(QStringLiteral("Las fotos se están procesando. La ventana se cerrará al terminar."));
}
