// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/folderidentity.h"

#include "files/folders.h"
#include "files/unfinishedfile.h"

#include <QFile>

#include <sys/stat.h>

namespace
{

bool exists(const QString &path)
{
    struct stat status {
    };
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0;
}

} // namespace

std::optional<FileId> fileId(const QString &path)
{
    struct stat status {
    };
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return FileId{status.st_dev, status.st_ino};
}

bool isSameFile(const QString &path, const QString &other)
{
    const std::optional<FileId> id = fileId(path);
    return id && id == fileId(other);
}

std::optional<bool> isSameFolder(const QString &folder, const QString &other)
{
    if (isSameFile(folder, other))
        return true;
    UnfinishedFile probe;
    QString error;
    if (!probe.open(folder, false, &error))
        return std::nullopt;
    return exists(other + u'/' + nameOf(probe.path()));
}

std::optional<bool> ignoresCase(const QString &folder)
{
    UnfinishedFile probe;
    QString error;
    if (!probe.open(folder, false, &error))
        return std::nullopt;
    return exists(folder + u'/' + nameOf(probe.path()).toUpper());
}

QString foldedName(const QString &name)
{
    // Letter by letter, as file systems do it: "ß" is not "ss".
    QString folded = name;
    for (QChar &letter : folded)
        letter = letter.toCaseFolded();
    return folded;
}
