// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photowalk.h"

#include "files/folderlisting.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace
{

const QLatin1String backupFolder("Backup");

bool isPhotoName(const QString &name)
{
    static constexpr QLatin1String suffixes[] = {QLatin1String(".jpg"), QLatin1String(".jpeg"),
                                                 QLatin1String(".png"), QLatin1String(".tiff")};
    return std::any_of(std::begin(suffixes), std::end(suffixes),
                       [&name](QLatin1String suffix) { return name.endsWith(suffix, Qt::CaseInsensitive); });
}

bool isBackupName(const QString &name)
{
    static const QRegularExpression pattern(QStringLiteral("_backup(\\(\\d+\\))?\\.[^.]*$"));
    return pattern.match(name).hasMatch();
}

// One walk over a folder tree.
class Walker
{
public:
    Walker(PhotoWalk walk, bool includeSubfolders, QStringList *passedOver)
        : m_walk(walk)
        , m_includeSubfolders(includeSubfolders)
        , m_passedOver(passedOver)
    {
    }

    enum class Place { Root, Below, BelowBackup };
    void walk(const QString &folder, Place place);

    QStringList photos;

private:
    bool takes(const QString &path, FolderEntry::Kind kind) const;
    void passOver(const QString &text) const;

    const PhotoWalk m_walk;
    const bool m_includeSubfolders;
    QStringList *const m_passedOver;
};

void Walker::walk(const QString &folder, Place place)
{
    const FolderListing listing = listFolder(folder);
    if (!listing.error.isEmpty())
        passOver(QStringLiteral("No se pudo leer la carpeta %1: %2").arg(folder, listing.error));

    // Where "Backup" is not in the list and can be found all the same, it is there in another case.
    const bool hasBackup = std::any_of(listing.entries.begin(), listing.entries.end(),
                                       [](const FolderEntry &entry) { return entry.name == backupFolder; });
    const bool backupInAnyCase = !hasBackup && QFileInfo::exists(folder + u'/' + backupFolder);
    const auto isBackup = [&](const QString &name) {
        return name.compare(backupFolder, backupInAnyCase ? Qt::CaseInsensitive : Qt::CaseSensitive) == 0;
    };

    const QString prefix = folder.endsWith(u'/') ? folder : folder + u'/';
    QStringList folders;
    for (const FolderEntry &entry : listing.entries) {
        if (entry.name.startsWith(u'.'))
            continue;
        const QString path = prefix + entry.name;
        const bool isFolder = entry.kind == FolderEntry::Folder;
        if (!(isFolder ? m_includeSubfolders : isPhotoName(entry.name)))
            continue;
        if (!entry.nameIsText)
            passOver(QStringLiteral("Se pasó por alto, porque su nombre no es UTF-8: ") + path);
        else if (isFolder)
            folders.append(path);
        else if (takes(path, entry.kind) && !(place == Place::BelowBackup && isBackupName(entry.name)))
            photos.append(path);
    }
    for (const QString &path : std::as_const(folders)) {
        const bool backup = isBackup(QFileInfo(path).fileName());
        if (!backup)
            walk(path, place == Place::BelowBackup ? place : Place::Below);
        else if (place != Place::Root)
            walk(path, Place::BelowBackup);
    }
}

bool Walker::takes(const QString &path, FolderEntry::Kind kind) const
{
    if (kind != FolderEntry::File && kind != FolderEntry::Link)
        return false;
    if (kind == FolderEntry::Link) {
        const bool taken =
            m_walk == PhotoWalk::Preview || (m_walk == PhotoWalk::Sample && !m_includeSubfolders);
        if (!taken || !QFileInfo(path).isFile())
            return false;
    }
    return m_walk != PhotoWalk::Preview || QFileInfo(path).isReadable();
}

void Walker::passOver(const QString &text) const
{
    if (m_passedOver)
        m_passedOver->append(text);
}

} // namespace

QStringList findPhotos(const QString &directory, bool includeSubfolders, PhotoWalk walk,
                       QStringList *passedOver)
{
    if (directory.isEmpty())
        return {};
    Walker walker(walk, includeSubfolders, passedOver);
    walker.walk(QDir(directory).absolutePath(), Walker::Place::Root);
    return walker.photos;
}
