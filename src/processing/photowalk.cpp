// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photowalk.h"

#include <QDir>
#include <QDirIterator>

namespace
{

QDir::Filters entriesOf(PhotoWalk walk, bool includeSubfolders)
{
    switch (walk) {
    case PhotoWalk::Batch:
        return QDir::Files | QDir::NoSymLinks;
    case PhotoWalk::Preview:
        return QDir::Files | QDir::Readable;
    case PhotoWalk::Sample:
        return includeSubfolders ? QDir::Files | QDir::NoSymLinks : QDir::Filters(QDir::Files);
    }
    Q_UNREACHABLE();
}

} // namespace

QStringList findPhotos(const QString &directory, bool includeSubfolders, PhotoWalk walk)
{
    QStringList photos;
    if (directory.isEmpty())
        return photos;

    static const QStringList nameFilters{QStringLiteral("*.jpg"), QStringLiteral("*.jpeg"),
                                         QStringLiteral("*.png"), QStringLiteral("*.tiff")};
    const QString root = QDir(directory).absolutePath();
    const QString backupFolder = QDir(root).filePath(QStringLiteral("Backup")) + QLatin1Char('/');
    QDirIterator iterator(root, nameFilters, entriesOf(walk, includeSubfolders),
                          includeSubfolders ? QDirIterator::Subdirectories : QDirIterator::NoIteratorFlags);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        if (!path.startsWith(backupFolder))
            photos.append(path);
    }
    return photos;
}
