// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/folderlisting.h"

#include "files/descriptor.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace
{

FolderEntry::Kind kindOf(DIR *folder, const dirent &entry)
{
    if (entry.d_type == DT_REG)
        return FolderEntry::File;
    if (entry.d_type == DT_DIR)
        return FolderEntry::Folder;
    if (entry.d_type == DT_LNK)
        return FolderEntry::Link;
    struct stat status {
    };
    if (entry.d_type != DT_UNKNOWN ||
        ::fstatat(::dirfd(folder), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return FolderEntry::Other;
    return S_ISREG(status.st_mode)   ? FolderEntry::File
           : S_ISDIR(status.st_mode) ? FolderEntry::Folder
           : S_ISLNK(status.st_mode) ? FolderEntry::Link
                                     : FolderEntry::Other;
}

} // namespace

FolderListing listFolder(const QString &path)
{
    FolderListing listing;
    const auto close = [](DIR *stream) {
        ::closedir(stream);
    };
    const std::unique_ptr<DIR, decltype(close)> folder(::opendir(QFile::encodeName(path).constData()), close);
    if (!folder) {
        listing.error = systemReason(errno);
        return listing;
    }
    errno = 0;
    while (const dirent *entry = ::readdir(folder.get())) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            const QString name = QFile::decodeName(entry->d_name);
            listing.entries.append(
                {name, kindOf(folder.get(), *entry), QFile::encodeName(name) == entry->d_name});
        }
        errno = 0;
    }
    if (errno != 0)
        listing.error = systemReason(errno);
    return listing;
}
