// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/filestamp.h"
#include "files/unfinishedfile.h"

#include <QByteArray>
#include <QString>

/// New contents for a file, all of them or none.
///
/// They are written beside the file under a hidden name, brought onto the disk, and only then take the file's
/// place. On success the file has the new contents, every byte of them, and keeps its owner, group, mode,
/// access list and extended attributes as far as the system lets the user set them (other hard links to it
/// keep the old contents). On failure, be it for lack of room at any byte, the file is as it was and nothing
/// is left beside it.
///
/// When the machine stops in the middle, or the program is killed, the file has the old contents or the new
/// ones, whole, on ext4 and its like and on NFS, and the hidden file may be left. On exFAT, where a file is
/// not replaced in one step, a card pulled out in that very moment may have lost the file's name: the new
/// contents are then whole in the hidden file.
class FileReplacement
{
public:
    /// For the file that `path` leads to, which need not exist.
    explicit FileReplacement(const QString &path);

    /// Makes the hidden file. False, with the reason in `error`, when the folder takes no file, or the file
    /// must not be written to or is no file.
    bool open(QString *error);

    /// Writes the contents, after `open`: with `OnReturn` they are on the disk before they can take a place.
    bool write(const QByteArray &contents, Durability durability, QString *error);

    /// The file, or the link to it, has got another path since.
    void follow(const QString &path);

    /// Puts the contents in place, after `write`. With `stamp`, only if the file is still as it says; the
    /// stamp lets go of it. The new name of the hidden file is still to be brought onto the disk.
    bool place(FileStamp *stamp, QString *error);

    /// `write` and `place`; with `OnReturn` the name is on the disk too.
    bool commit(const QByteArray &contents, FileStamp *stamp, Durability durability, QString *error);

    /// The folder whose names change.
    QString folder() const;

private:
    Q_DISABLE_COPY_MOVE(FileReplacement)

    QString m_path;         ///< links resolved
    QString m_attributesOf; ///< empty for a new file
    UnfinishedFile m_unfinished;
};

/// Writes the file `path` whole or not at all, as `FileReplacement` promises: when it fails, what was there
/// is still there, with the reason in `error`. For files that are made anew by the user's wish (a profile, a
/// table).
bool writeWhole(const QString &path, const QByteArray &contents, QString *error);
