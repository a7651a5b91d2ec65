// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMutex>
#include <QString>

enum class Placing {
    Done,
    NameTaken, ///< a file of that name exists; nothing was changed
    Failed,    ///< nothing was changed
};

/// Gives files new names without ever taking one from another file. One object serves all threads of a run.
class FilePlacer
{
public:
    FilePlacer() = default;

    /// Renames `from` to `to` within one file system, only when nothing has that name. `Failed` gives the
    /// reason in `error`.
    ///
    /// On success the file bears the new name alone, and after a stop of the machine the old name or the new
    /// one, as the disk has it (`syncFolder`). On file systems that can refuse a taken name (ext4, XFS,
    /// Btrfs, tmpfs, FAT and exFAT of the kernel) this is one step. On others that have links (NFS) the file
    /// bears both names for a moment, and may keep both when the machine stops in between; no other machine
    /// can take the name either. On those that have neither (exFAT by FUSE) only the threads that use this
    /// object are kept from taking the same name.
    Placing rename(const QString &from, const QString &to, QString *error) const;

    /// Renames `from` to `to`, in whose place it comes: what had that name is gone. A folder never is.
    /// False, with the reason in `error`, when nothing was changed.
    ///
    /// Whoever looks finds the one file or the other under the name, whole. When the machine stops in the
    /// middle, ext4 and NFS have one of them there; exFAT may have none, and the file `from` still.
    static bool replace(const QString &from, const QString &to, QString *error);

private:
    Q_DISABLE_COPY_MOVE(FilePlacer)

    mutable QMutex m_mutex;
};
