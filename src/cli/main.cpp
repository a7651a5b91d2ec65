// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"
#include "cli/console.h"
#include "processing/photoprocessor.h"

#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLoggingCategory>
#include <QTranslator>

namespace
{

enum ExitStatus { AllFinished = 0, SomeLeft = 1, WrongUse = 2 };

ExitStatus runBatch(const BatchRequest &request, Console &console)
{
    PhotoProcessor processor;
    processor.setOptions(request.options);
    processor.setThreadCount(request.threads);
    processor.renamePhotosWithUTM(
        request.directory, [&console](const QString &line) { console.log(line); },
        [&console](int done, int total) { console.progress(done, total); });

    const PhotoProcessor::Summary summary = processor.summary();
    if (summary.finished == summary.total)
        return AllFinished;
    console.error(QStringLiteral("Quedaron sin terminar %1 de %2 fotos.")
                      .arg(summary.total - summary.finished)
                      .arg(summary.total));
    return SomeLeft;
}

} // namespace

int main(int argc, char *argv[])
{
    // Traces of libraries are no part of what the program says; QT_LOGGING_RULES brings them back.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.warning=false"));
    // Texts are painted with the fonts of the machine, but no window is ever opened: no display is needed.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMARO_VERSION));
    QTranslator qtTexts;
    if (qtTexts.load(QStringLiteral("qtbase_es"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qtTexts);

    Console console;
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
