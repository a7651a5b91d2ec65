// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photofile.h"

#include "files/folders.h"
#include "processing/photoinoutput.h"
#include "processing/photoinplace.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

std::unique_ptr<PhotoFile> PhotoFile::of(const BatchRun &run, const QString &sourcePath, QStringList &lines)
{
    if (run.options.useOutputFolder)
        return std::make_unique<PhotoInOutput>(run, sourcePath, lines);
    return std::make_unique<PhotoInPlace>(run, sourcePath, lines);
}

PhotoFile::PhotoFile(const BatchRun &run, const QString &sourcePath, QStringList &lines)
    : m_run(run)
    , m_options(run.options)
    , m_sourcePath(QFileInfo(sourcePath).absoluteFilePath())
    , m_name(QFileInfo(sourcePath).fileName())
    , m_lines(lines)
    , m_path(m_sourcePath)
{
}

std::optional<QByteArray> PhotoFile::read()
{
    m_contents = readWhole(m_sourcePath, &m_stamp, &m_trouble);
    return m_contents;
}

QString PhotoFile::relativeFolder() const
{
    return QDir(m_run.directory).relativeFilePath(folderOf(m_sourcePath));
}

QString PhotoFile::relativePath() const
{
    return QDir(m_run.directory).relativeFilePath(m_sourcePath);
}

bool PhotoFile::rename(const QString &utmName)
{
    const QFileInfo working(m_path);
    const auto nameOf = [&utmName](int counter) {
        return counter == 0 ? utmName + QStringLiteral(".jpg")
                            : QStringLiteral("%1 (%2).jpg").arg(utmName, QString::number(counter));
    };
    std::optional<QString> newName;
    if (utmName.contains(QLatin1Char('/')))
        m_trouble = QStringLiteral("el prefijo no puede llevar a otra carpeta");
    else if (utmName.contains(QChar(u'\0'))) // the system would end the name there, without number or suffix
        m_trouble = QStringLiteral("el prefijo lleva un carácter que ningún nombre puede llevar");
    else if (isReadyToMove())
        newName = m_run.files.names().place(working.path(), nameOf,
                                            [this](const QString &path) { return move(path); });
    if (!newName) {
        m_lines.append(QStringLiteral("Error renombrando ") + working.fileName());
        return false;
    }
    const QString oldPath = std::exchange(m_path, working.dir().filePath(*newName));
    hasMoved(oldPath);
    m_lines.append(QStringLiteral("Renombrado: ") + working.fileName() + QStringLiteral(" a ") + *newName);
    return true;
}
