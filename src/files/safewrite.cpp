// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/safewrite.h"

#include "files/folders.h"
#include "files/placing.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

// Where a path leads to, also when nothing is there yet.
QString resolved(const QString &path)
{
    const QFileInfo info(path);
    if (const QString canonical = info.canonicalFilePath(); !canonical.isEmpty())
        return canonical;
    return info.isSymLink() ? info.symLinkTarget() : info.absoluteFilePath();
}

// Whether the user may write to what is there, if anything is: the folder alone would let a write-protected
// file be replaced.
bool mayBeReplaced(const QString &path, QString *error)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status {
    };
    if (::stat(name.constData(), &status) != 0 && errno == ENOENT)
        return true;
    if (::faccessat(AT_FDCWD, name.constData(), W_OK, AT_EACCESS) != 0) {
        *error = systemReason(errno);
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        *error = QStringLiteral("no es un archivo");
        return false;
    }
    return true;
}

} // namespace

FileReplacement::FileReplacement(const QString &path)
    : m_path(resolved(path))
{
}

bool FileReplacement::open(QString *error)
{
    if (!mayBeReplaced(m_path, error))
        return false;
    const bool newKind = !QFileInfo::exists(m_path);
    if (!newKind)
        m_attributesOf = m_path;
    return m_unfinished.open(folderOf(m_path), newKind, error);
}

bool FileReplacement::write(const QByteArray &contents, Durability durability, QString *error)
{
    return m_unfinished.write(contents, m_attributesOf, Attributes::OfAReplacement, durability, error);
}

void FileReplacement::follow(const QString &path)
{
    m_path = resolved(path);
}

bool FileReplacement::place(FileStamp *stamp, QString *error)
{
    if (stamp) {
        if (!stamp->isStill(m_path)) {
            *error = QStringLiteral("otro programa ha movido o cambiado el archivo mientras se procesaba");
            return false;
        }
        // A file system that cannot remove a file in use would first give it another name.
        stamp->letGo();
    }
    if (!FilePlacer::replace(m_unfinished.path(), m_path, error))
        return false;
    m_unfinished.moved();
    return true;
}

bool FileReplacement::commit(const QByteArray &contents, FileStamp *stamp, Durability durability,
                             QString *error)
{
    if (!write(contents, durability, error) || !place(stamp, error))
        return false;
    if (durability == Durability::OnReturn)
        syncFolder(folder());
    return true;
}

QString FileReplacement::folder() const
{
    return folderOf(m_path);
}

bool writeWhole(const QString &path, const QByteArray &contents, QString *error)
{
    FileReplacement replacement(path);
    return replacement.open(error) && replacement.commit(contents, nullptr, Durability::OnReturn, error);
}
