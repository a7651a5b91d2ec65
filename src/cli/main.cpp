// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"
#include "cli/console.h"
#include "data/geojson.h"
#include "files/safewrite.h"
#include "processing/journal.h"
#include "processing/photoprocessor.h"

#include <QDir>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLoggingCategory>
#include <QMap>
#include <QMutexLocker>
#include <QTranslator>

#include <csignal>

namespace
{

enum ExitStatus { AllFinished = 0, SomeLeft = 1, WrongUse = 2 };

// Tells how the run ended, photo by photo where it did not end well.
ExitStatus reported(const PhotoProcessor::Summary &summary, Console &console)
{
    for (const QString &line : summary.passedOver)
        console.error(line);
    for (const PhotoProcessor::LeftPhoto &photo : summary.leftPhotos) {
        const QString now =
            photo.nowAt == photo.path ? QString() : QStringLiteral(" (ahora %1)").arg(photo.nowAt);
        console.error(QStringLiteral("Sin terminar: %1%2: %3").arg(photo.path, now, photo.reason));
    }
    if (summary.backupsFailed > 0)
        console.error(
            QStringLiteral("No se pudo guardar la copia original de %1 fotos.").arg(summary.backupsFailed));
    if (!summary.notSynced.isEmpty())
        console.error(QStringLiteral("No se pudo asegurar en el disco la carpeta de salida: ") +
                      summary.notSynced);
    const int unfinished = summary.total - summary.finished;
    if (unfinished > 0)
        console.error(
            QStringLiteral("Quedaron sin terminar %1 de %2 fotos.").arg(unfinished).arg(summary.total));
    const bool allWell = unfinished == 0 && summary.backupsFailed == 0 && summary.notSynced.isEmpty() &&
                         summary.passedOver.isEmpty() && console.logError().isEmpty();
    return allWell ? AllFinished : SomeLeft;
}

// The features of the finished photos, in the order of their sources' paths. Safe to use from several
// threads.
class Map
{
public:
    void add(const QString &source, const QJsonObject &feature)
    {
        const QMutexLocker locker(&m_mutex);
        m_features.insert(source, feature);
    }

    bool save(const QString &path, QString *error) const
    {
        return writeWhole(path, mapOf(m_features.values()), error);
    }

private:
    QMutex m_mutex;
    QMap<QString, QJsonObject> m_features;
};

ExitStatus runBatch(const BatchRequest &request, Console &console)
{
    const QDir root(QDir(request.directory).absolutePath());
    QString error;
    std::unique_ptr<Journal> journal;
    if (request.resume) {
        journal = Journal::open(
            {root.path(), QDir(request.options.outputFolder).absolutePath(), request.part, request.results},
            &error);
        if (!journal) {
            console.error(error);
            return WrongUse;
        }
    }

    Map map;
    PhotoProcessor processor;
    processor.setOptions(request.options);
    processor.setThreadCount(request.threads);
    processor.setPart(request.part);
    processor.setJournal(journal.get());
    if (!request.mapPath.isEmpty()) {
        processor.setFinishedCallback(
            [&map](const MapPoint &point) { map.add(point.source, mapFeature(point)); });
    }
    processor.renamePhotosWithUTM(
        request.directory, [&console](const QString &line) { console.log(line); },
        [&console](int done, int total) { console.progress(done, total); });

    ExitStatus status = reported(processor.summary(), console);
    if (journal) {
        for (auto photo = journal->finished().cbegin(); photo != journal->finished().cend(); ++photo)
            map.add(root.filePath(photo.key()), *photo);
        if (!journal->trouble().isEmpty()) {
            console.error(QStringLiteral("No se pudo escribir el diario: ") + journal->trouble());
            status = SomeLeft;
        }
    }
    if (!request.mapPath.isEmpty() && !map.save(request.mapPath, &error)) {
        console.error(QStringLiteral("No se pudo guardar el mapa GeoJSON: ") + error);
        status = SomeLeft;
    }
    return status;
}

} // namespace

int main(int argc, char *argv[])
{
    Console console;
    // A reader of the log that goes away, or a limit to the size of files, is no reason to stop in the middle
    // of the photos.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // Traces of libraries are no part of what the program says; QT_LOGGING_RULES brings them back.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    // Texts are painted with the fonts of the machine, but no window is ever opened: no display is needed.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // The photos are painted side by side; newer versions of Qt would hand out the painting of each once
    // more.
    qputenv("QT_NO_GUI_THREADPOOL", "1");
    QGuiApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMARO_VERSION));
    QTranslator qtTexts;
    if (qtTexts.load(QStringLiteral("qtbase_es"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qtTexts);

    const auto request = readArguments(QCoreApplication::arguments());
    if (const auto *information = std::get_if<Information>(&request)) {
        console.log(information->text.trimmed());
        return AllFinished;
    }
    if (const auto *refusal = std::get_if<Refusal>(&request)) {
        console.error(refusal->reason);
        return WrongUse;
    }
    return runBatch(std::get<BatchRequest>(request), console);
}
