// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"
#include "app/logtext.h"
#include "app/pathedit.h"
#include "app/photorenamergui.h"
#include "app/waitcursor.h"
#include "data/altitudefill.h"
#include "data/settings.h"
#include "processing/samplewriter.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QTextEdit>

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
    writeSample(path);
    txtPathEdit->setText(path);
}

void PhotoRenamerGUI::writeSample(const QString &path)
{
    const WaitCursor wait;
    const SampleSource source{directoryEdit->text(), subdirsCheck->isChecked(),
                              sampleFromExifCheck->isChecked()};
    QStringList lines;
    QString error;
    const bool written = writeSampleFile(
        path, source, [&lines](const QString &line) { lines.append(line); }, &error);
    tellBesideRun(written ? QString() : QStringLiteral("No se creó el archivo de ejemplo."), error);
    appendPlainLines(logView, lines);
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
    disableKeepingFocus(populateAltitudeButton, logView);
    connect(job, &BackgroundJob::goesOnUnseen, this, [this](int done, int total) {
        tellBesideRun(QStringLiteral("La consulta de altitudes continúa: %1 de %2 líneas.")
                          .arg(QString::number(done), QString::number(total)));
    });
    QCoreApplication::processEvents();

    const auto work = [=, services = access](const LogCallback &log, const ProgressCallback &progress,
                                             const StopRequest &stopRequested) {
        fillAltitudesFromApi(path, provider, key, overwrite, log, progress, services, stopRequested);
    };
    job->start(work, [this] { onAltitudesFilled(); });
}

void PhotoRenamerGUI::onAltitudesFilled()
{
    appendLog(QStringLiteral("\nRelleno de altitud finalizado."));
    tellBesideRun(QStringLiteral("Terminó la consulta de altitudes."));
    QMessageBox::information(this, QStringLiteral("Completado"),
                             QStringLiteral("El proceso de relleno de altitud ha finalizado.\n"
                                            "El archivo CSV ha sido actualizado."));
    populateAltitudeButton->setEnabled(true);
    updatePreview();
}
