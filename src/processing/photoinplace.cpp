// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photoinplace.h"

#include "files/folders.h"
#include "files/unfinishedfile.h"

#include <QDir>
#include <QFileInfo>

namespace
{

// The name of a backup, its base cut where the file system could not take the whole of it.
QString backupName(const QFileInfo &photo, int counter)
{
    constexpr qsizetype longestName = 255; // bytes, on all file systems of Linux
    const QString number = counter == 0 ? QString() : QStringLiteral("(%1)").arg(counter);
    const QString end = QStringLiteral("_backup%1.%2").arg(number, photo.suffix());
    QString base = photo.baseName();
    while (!base.isEmpty() && QFile::encodeName(base + end).size() > longestName)
        base.chop(base.back().isLowSurrogate() ? 2 : 1);
    return base + end;
}

} // namespace

PhotoInPlace::PhotoInPlace(const BatchRun &run, const QString &sourcePath, QStringList &lines)
    : PhotoFile(run, sourcePath, lines)
{
}

bool PhotoInPlace::takeUp()
{
    if (m_options.createBackup)
        backUp();
    return true;
}

void PhotoInPlace::backUp()
{
    QString folder = QDir(m_run.directory).filePath(QStringLiteral("Backup"));
    const QString relative = relativeFolder();
    if (!relative.isEmpty() && relative != QLatin1String("."))
        folder += QLatin1Char('/') + relative;

    m_backupFailed = !writeBackup(folder);
    m_lines.append(m_backupFailed ? QString(QStringLiteral("Error creando backup de ") + m_name)
                                  : QString(QStringLiteral("Backup creado: ") + m_backup));
}

bool PhotoInPlace::writeBackup(const QString &folder)
{
    if (!m_contents || !makeFolder(folder, true))
        return false;
    const QFileInfo photo(m_name);
    const auto nameOf = [&photo](int counter) {
        return backupName(photo, counter);
    };
    std::unique_ptr<UnfinishedFile> copy;
    const auto place = [&](const QString &path) {
        if (!copy) {
            if (const Placing placing = m_stamp.addName(path); placing != Placing::Failed)
                return placing;
            copy = copyIn(folder, m_sourcePath);
        }
        QString error;
        return copy ? m_run.files.placer().rename(copy->path(), path, &error) : Placing::Failed;
    };
    const std::optional<QString> name = m_run.files.names().place(folder, nameOf, place);
    if (!name)
        return false;
    if (copy)
        copy->moved();
    m_backupIsPhoto = !copy;
    m_backup = QDir(folder).filePath(*name);
    return true;
}

std::unique_ptr<UnfinishedFile> PhotoInPlace::copyIn(const QString &folder, const QString &attributesOf) const
{
    QString error;
    auto copy = std::make_unique<UnfinishedFile>();
    if (copy->open(folder, false, &error) &&
        copy->write(*m_contents, attributesOf, Attributes::OfABackup, Durability::OnReturn, &error))
        return copy;
    return nullptr;
}

bool PhotoInPlace::prepare(const QByteArray &result, QString *error)
{
    auto replacement = std::make_unique<FileReplacement>(m_path);
    if (!replacement->open(error) || !replacement->write(result, Durability::OnReturn, error))
        return false;
    m_result = std::move(replacement);
    if (!m_backup.isEmpty())
        syncFolder(folderOf(m_backup));
    return true;
}

bool PhotoInPlace::isReadyToMove()
{
    if (m_stamp.isStill(m_path))
        return true;
    if (m_trouble.isEmpty())
        m_trouble = QStringLiteral("otro programa ha movido o cambiado el archivo");
    return false;
}

Placing PhotoInPlace::move(const QString &path)
{
    return m_run.files.placer().rename(m_path, path, &m_trouble);
}

void PhotoInPlace::hasMoved(const QString &oldPath)
{
    m_run.files.becameFree(oldPath);
    m_run.files.changed(folderOf(m_path));
    m_stamp.renewAfterRename();
    if (m_result)
        m_result->follow(m_path);
}

bool PhotoInPlace::place(QString *error)
{
    if (!m_result->place(&m_stamp, error))
        return false;
    m_run.files.changed(m_result->folder());
    return true;
}

// The backup of a photo that stays becomes a file of its own: what changes the one must not change the other.
// Failing that, it stays the second name, since it may be the only one by now, but counts for none.
bool PhotoInPlace::leave()
{
    m_result.reset();
    if (!m_backupIsPhoto)
        return true;
    QString error;
    const std::unique_ptr<UnfinishedFile> copy = copyIn(folderOf(m_backup), m_backup);
    m_backupFailed = !copy || !FilePlacer::replace(copy->path(), m_backup, &error);
    if (!m_backupFailed)
        copy->moved();
    return true;
}
