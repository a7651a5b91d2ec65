// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/safewrite.h"

#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <QSaveFile>
#include <QUuid>

#include <filesystem>

#ifdef Q_OS_LINUX
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#endif

namespace
{

bool exists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// Asks the kernel to rename only to a free name. Nothing when it, or the file system, has no such operation.
std::optional<Placing> renameByKernel([[maybe_unused]] const QString &from,
                                      [[maybe_unused]] const QString &to)
{
#if defined(Q_OS_LINUX) && defined(RENAME_NOREPLACE)
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) == 0)
        return Placing::Done;
    if (errno == EEXIST)
        return Placing::NameTaken;
    if (errno != EINVAL && errno != ENOSYS)
        return Placing::Failed;
#endif
    return std::nullopt;
}

// Writes in as many steps as it takes: the write that fills a disk up is only short, the next one has the
// reason.
bool writeAll(QIODevice &device, const QByteArray &contents)
{
    qint64 written = 0;
    while (written < contents.size()) {
        const qint64 count = device.write(contents.constData() + written, contents.size() - written);
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}

} // namespace

FileStamp FileStamp::of(const QString &path)
{
    FileStamp stamp;
    const QFileInfo info(path);
    if (info.exists()) {
        stamp.m_size = info.size();
        stamp.m_modified = info.lastModified();
    }
    return stamp;
}

bool FileStamp::operator==(const FileStamp &other) const
{
    return m_size >= 0 && m_size == other.m_size && m_modified == other.m_modified;
}

Placing FilePlacer::rename(const QString &from, const QString &to) const
{
    if (const std::optional<Placing> placing = renameByKernel(from, to))
        return *placing;
    const QMutexLocker locker(&m_mutex);
    if (exists(to))
        return Placing::NameTaken;
    std::error_code error;
    std::filesystem::rename(QFileInfo(from).filesystemAbsoluteFilePath(),
                            QFileInfo(to).filesystemAbsoluteFilePath(), error);
    return error ? Placing::Failed : Placing::Done;
}

Placing FilePlacer::copy(const QString &from, const QString &to) const
{
    if (exists(to))
        return Placing::NameTaken;
    // Not a photo's name: what a killed process leaves behind must not be taken for one.
    const QString unfinished = QFileInfo(to).path() + QStringLiteral("/.velmaro-") +
                               QUuid::createUuid().toString(QUuid::WithoutBraces);
    if (!QFile::copy(from, unfinished))
        return Placing::Failed;
    const Placing placing = rename(unfinished, to);
    if (placing != Placing::Done)
        QFile::remove(unfinished);
    return placing;
}

QString canonicalPath(const QString &path)
{
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? info.absoluteFilePath() : canonical;
}

bool replaceContents(const QString &path, const QByteArray &contents, const FileStamp &stamp, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !writeAll(file, contents)) {
        *error = file.errorString();
        return false;
    }
    if (!(FileStamp::of(path) == stamp)) {
        *error = QStringLiteral("otro programa ha movido o cambiado el archivo mientras se procesaba");
        return false;
    }
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}

bool writeWhole(const QString &path, const QByteArray &contents, QString *error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && writeAll(file, contents) && file.flush() && file.commit())
        return true;
    *error = file.errorString();
    return false;
}
