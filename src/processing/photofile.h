// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/batchrun.h"

/// Where one photo's file is and how it got there: the copy in the output folder or the backup, and the name.
/// What it does is told in `lines`, the photo's own log; what failed is the last of them.
class PhotoFile
{
public:
    PhotoFile(const BatchRun &run, const QString &sourcePath, QStringList &lines);

    const QString &sourcePath() const { return m_sourcePath; } ///< the original, absolute
    const QString &name() const { return m_name; }             ///< of the original
    const QString &path() const { return m_path; }             ///< of the file that is changed and saved
    bool backupFailed() const { return m_backupFailed; }

    /// Copies the photo to the output folder, or backs it up, as the options ask for. False: the photo is
    /// left. A backup that fails does not stop it.
    bool takeUp();

    /// Gives the file that is worked on the name `utmName`.jpg or the first free "`utmName` (n).jpg". False:
    /// the photo is left under the name it had.
    bool rename(const QString &utmName);

    /// Replaces the contents of the file that is worked on, provided it is still the one taken up.
    bool replace(const QByteArray &contents, QString *error) const;

private:
    bool copyToOutputFolder();
    bool isEarlierResult() const;
    bool isPhotoOfRun(const QString &target) const;
    void backUp();
    bool isReserved(const QString &fileName) const;
    QString relativeFolder() const;

    const BatchRun &m_run;
    const ProcessOptions &m_options;
    const QString m_sourcePath;
    const QString m_name;
    QStringList &m_lines;
    QString m_path;
    FileStamp m_stamp; ///< of the file that is worked on, as it was taken up
    bool m_backupFailed = false;
};
