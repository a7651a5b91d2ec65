// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>

#include <cstddef>
#include <optional>

/// How the system tells files and folders apart.
struct FileId {
    quint64 device = 0;
    quint64 inode = 0;
    bool operator==(const FileId &) const = default;
};

inline size_t qHash(const FileId &id, size_t seed = 0)
{
    return qHashMulti(seed, id.device, id.inode);
}

/// The identity of what `path` leads to; nothing when that is not there. On file systems that make up their
/// inodes (FUSE), two spellings of one name may count as two.
std::optional<FileId> fileId(const QString &path);

/// Whether two paths lead to one and the same file, as `fileId` tells.
bool isSameFile(const QString &path, const QString &other);

/// Whether two paths lead to one and the same folder, whatever they look like: by a link, a bind mount,
/// another case of letters, a second mount. Where device and inode do not say yes, a hidden file is made in
/// `folder` for a moment: the same folder is where it appears too. Nothing when `folder` takes no file.
std::optional<bool> isSameFolder(const QString &folder, const QString &other);

/// Whether names in `folder` that differ only in the case of letters are one name, found out in the same way.
/// Nothing when `folder` takes no file.
std::optional<bool> ignoresCase(const QString &folder);

/// The form of a name that it shares with all names that differ from it only in the case of letters.
QString foldedName(const QString &name);
