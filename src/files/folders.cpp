// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/folders.h"

#include "files/descriptor.h"

#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

bool makeFolder(const QString &path, bool durable)
{
    if (QFileInfo(path).isDir())
        return true;
    const QString parent = folderOf(path);
    if (parent != path && !makeFolder(parent, durable))
        return false;
    // Another thread may make it first.
    if (!QDir().mkdir(path) && !QFileInfo(path).isDir())
        return false;
    if (durable)
        syncFolder(parent);
    return true;
}

void syncFolder(const QString &path)
{
    if (const Descriptor folder = openFile(path, O_RDONLY | O_DIRECTORY); folder.isOpen())
        ::fsync(folder.number());
}

bool syncFileSystem(const QString &path, QString *error)
{
    const Descriptor folder = openFile(path, O_RDONLY | O_DIRECTORY);
    if (folder.isOpen() && ::syncfs(folder.number()) == 0)
        return true;
    *error = systemReason(errno);
    return false;
}

QString folderOf(const QString &path)
{
    return QFileInfo(path).path();
}

QString nameOf(const QString &path)
{
    return QFileInfo(path).fileName();
}
