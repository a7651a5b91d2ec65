// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/descriptor.h"
#include "files/placing.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

struct stat;

/// Which file it was and what it was like at one moment, to tell later whether a path still leads to that
/// file, unchanged: device, inode, size, and the times of the last change of its contents and of its inode.
///
/// The file is held, without being open, as long as the stamp lives: so its inode cannot be given to another
/// file, also where inodes are numbers made up by the system as they are needed (FAT, exFAT, FUSE). A file
/// whose contents were replaced by others of the same size and time is told apart wherever the file system
/// keeps a change time (not on FAT and exFAT).
class FileStamp
{
public:
    /// The stamp of no file.
    FileStamp() = default;

    /// The stamp of the file that `path` leads to. That of a missing one is the stamp of no file.
    static FileStamp of(const QString &path);

    /// Whether `path` leads to the file of the stamp and that has not been changed since.
    bool isStill(const QString &path) const;

    /// To be called after renaming the file, which changes its inode but not its contents: `isStill` forgives
    /// that one change.
    void renewAfterRename();

    /// Brings the contents onto the disk and gives the file itself, whatever its path leads to by now, the
    /// further name `path`, when nothing has that name; `isStill` forgives that change. `Failed`, and nothing
    /// was changed, when it is not as the stamp says, already has several names, or cannot have this one:
    /// then it has to be copied.
    Placing addName(const QString &path);

    /// Lets go of the file. `isStill` still answers.
    void letGo() { m_held.reset(); }

    bool operator==(const FileStamp &other) const { return m_facts && m_facts == other.m_facts; }

private:
    struct Facts {
        quint64 device = 0;
        quint64 inode = 0;
        qint64 size = 0;
        qint64 modified = 0; ///< nanoseconds since 1970
        qint64 changed = 0;
        bool operator==(const Facts &) const = default;
    };
    static std::optional<Facts> factsOf(const struct stat &status);
    static std::optional<Facts> factsOf(const Descriptor &file);

    std::optional<Facts> m_facts;
    std::shared_ptr<Descriptor> m_held;

    friend std::optional<QByteArray> readWhole(const QString &path, FileStamp *stamp, QString *error);
};

/// The contents of a file together with its stamp, which is that of exactly these contents. Nothing, with the
/// reason in `error` and `stamp` as it was, when it cannot be read to the end, or changes while it is read.
std::optional<QByteArray> readWhole(const QString &path, FileStamp *stamp, QString *error);
