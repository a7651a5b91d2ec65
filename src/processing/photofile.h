// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/filestamp.h"
#include "files/unfinishedfile.h"
#include "processing/batchrun.h"

#include <QByteArray>

#include <memory>
#include <optional>

/// Where one photo's file is and how it got there: the copy in the output folder or the backup, and the name.
/// What it does is told in `lines`, the photo's own log; what failed is the last of them.
class PhotoFile
{
public:
    PhotoFile(const BatchRun &run, const QString &sourcePath, QStringList &lines);
    ~PhotoFile();

    const QString &sourcePath() const { return m_sourcePath; } ///< the original, absolute
    const QString &name() const { return m_name; }             ///< of the original
    const QString &path() const { return m_path; }             ///< of the file that is changed and saved
    QString nowAt() const { return m_waiting ? m_sourcePath : m_path; } ///< where that is, failing its copy
    bool backupFailed() const { return m_backupFailed; }
    bool isWaiting() const
    {
        return m_waiting != nullptr;
    }                                                    ///< nothing is at `path` yet but an earlier result
    const QString &trouble() const { return m_trouble; } ///< why the last step failed; may be empty

    /// The contents of the original, and with them the moment from which on nobody else may change it.
    /// Nothing when it cannot be read. Copy and backup are made of the same bytes.
    std::optional<QByteArray> read();

    /// Copies the photo to the output folder, or backs it up, as the options ask for. False: the photo is
    /// left. A backup that fails does not stop it. Reads the photo when that has not been done.
    bool takeUp();

    /// Gives the file that is worked on the name `utmName`.jpg or the first free "`utmName` (n).jpg". False:
    /// the photo is left under the name it had.
    bool rename(const QString &utmName);

    /// Replaces the contents of the file that is worked on, provided it is still the one taken up. Only once.
    bool replace(const QByteArray &contents, QString *error);

private:
    Q_DISABLE_COPY_MOVE(PhotoFile)

    bool copyToOutputFolder();
    bool isAlreadyThere(const QString &target);
    bool copyTo(const QString &target);
    bool placeCopy(UnfinishedFile &copy, const QString &target, bool replaces);
    void backUp();
    bool writeBackup(const QString &folder, QString *name);
    Placing placeRenamed(const QString &path);
    Placing placeInOutputFolder(const QString &path);
    QString relativeFolder() const;
    QString relativePath() const;
    void releaseName();
    QString placeOfFile() const { return m_waiting ? m_waiting->path() : m_path; }

    const BatchRun &m_run;
    const ProcessOptions &m_options;
    const QString m_sourcePath;
    const QString m_name;
    QStringList &m_lines;
    QString m_path;
    std::optional<QByteArray> m_contents; ///< of the original, until it has been taken up
    /// The copy that has not taken its name, because the result of an earlier run has it, which only a
    /// finished one replaces, or that of another photo, and this one will get another name anyway.
    std::unique_ptr<UnfinishedFile> m_waiting;
    FileStamp m_stamp; ///< of the file that is worked on
    bool m_isRead = false;
    bool m_isAwaited = false; ///< by others, in the output folder
    bool m_backupFailed = false;
    QString m_trouble;
};
