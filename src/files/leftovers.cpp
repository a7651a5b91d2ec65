// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/leftovers.h"

#include "files/folderidentity.h"
#include "files/placing.h"
#include "files/unfinishedfile.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

void takeBackRename(const QString &oldName, const QString &newName)
{
    struct stat status {
    };
    const bool gone = ::lstat(QFile::encodeName(oldName).constData(), &status) != 0 && errno == ENOENT;
    QString error;
    if (gone)
        FilePlacer().rename(newName, oldName, &error);
    else if (status.st_nlink > 1 && isSameFile(oldName, newName))
        ::unlink(QFile::encodeName(newName).constData());
}

void removeUnfinishedFiles(const QString &folder, const QString &mark)
{
    if (mark.isEmpty())
        return;
    const QStringList names = QDir(folder).entryList({UnfinishedFile::namePrefix() + mark + u'*'},
                                                     QDir::Files | QDir::Hidden | QDir::NoSymLinks);
    for (const QString &name : names)
        ::unlink(QFile::encodeName(QDir(folder).filePath(name)).constData());
}
