// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QMutex>
#include <QString>

/// Operations on photo files that never overwrite a file nobody meant and never leave half a photo under a
/// photo's name, whatever else happens meanwhile: another thread or program, a full disk, a killed process.

/// What a file was like at one moment, to tell later whether it is still the same file with the same
/// contents.
class FileStamp
{
public:
    FileStamp() = default;

    /// The stamp of an existing file; that of a missing one equals no other.
    static FileStamp of(const QString &path);

    bool operator==(const FileStamp &other) const;

private:
    qint64 m_size = -1;
    QDateTime m_modified;
};

enum class Placing {
    Done,
    NameTaken, ///< a file of that name has come to exist; nothing was changed
    Failed,    ///< nothing was changed
};

/// Gives files new names in the photo folders of one run. One object serves all threads of the run.
class FilePlacer
{
public:
    FilePlacer() = default;

    /// Renames `from` to `to`, in one step and only when no file has that name.
    Placing rename(const QString &from, const QString &to) const;

    /// Copies `from` to `to`, which comes to exist only once it is complete, and only when no file has that
    /// name.
    Placing copy(const QString &from, const QString &to) const;

private:
    Q_DISABLE_COPY_MOVE(FilePlacer)

    // For file systems that cannot refuse a taken name by themselves.
    mutable QMutex m_mutex;
};

/// The path without links and dots; of a file that does not exist, just the absolute path.
QString canonicalPath(const QString &path);

/// Replaces the contents of the file `path` by `contents` in one step, keeping its permissions, provided that
/// the file is still as `stamp` says. Otherwise, or when it cannot be written, leaves everything as it is,
/// gives the reason in `error` and returns false.
bool replaceContents(const QString &path, const QByteArray &contents, const FileStamp &stamp, QString *error);

/// Writes the file `path` whole or not at all: when it fails, what was there is still there, with the reason
/// in `error`. For files that are made anew by the user's wish (a profile, a table).
bool writeWhole(const QString &path, const QByteArray &contents, QString *error);
