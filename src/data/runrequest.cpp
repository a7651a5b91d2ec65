// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/runrequest.h"

#include <QDir>
#include <QFileInfo>

QString RunRequest::refusal() const
{
    const auto isFile = [](const QString &path) {
        return QFileInfo(path).isFile();
    };
    if (!QDir(directory).exists())
        return QStringLiteral("Seleccione un directorio de fotos válido.");
    if (drawLogo && !isFile(preset.logoPath))
        return QStringLiteral("Seleccione un archivo de logo válido.");
    if (!run.useExif && !isFile(run.txtPath))
        return QStringLiteral("Seleccione un archivo txt válido (o cambie el modo a EXIF).");
    if (run.useOutputFolder && (run.outputFolder.isEmpty() || !QDir(run.outputFolder).exists()))
        return QStringLiteral("Seleccione una carpeta de salida válida.");
    return {};
}

ProcessOptions RunRequest::options() const
{
    ProcessOptions options;
    static_cast<StampOptions &>(options) = preset;
    static_cast<RunOptions &>(options) = run;
    options.fontColor = QColor::fromString(preset.fontColor);
    if (!drawLogo)
        options.logoPath.clear();
    if (options.logoPath.isEmpty())
        options.logoRatio = 0.0;
    if (options.useExif)
        options.txtPath.clear();
    options.createBackup = options.createBackup && !options.useOutputFolder;
    return options;
}
