// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/filestamp.h"
#include "processing/batchrun.h"

#include <QByteArray>

#include <memory>
#include <optional>

/// Where one photo's file is and how it comes there: in place, with a backup, or into the output folder. What
/// it does is told in `lines`, the photo's own log; what failed is the last of them.
///
/// Whatever happens, nobody finds a file that is not whole: it is the photo as it was or what it has become.
class PhotoFile
{
public:
    /// The file of a photo in a run with these options.
    static std::unique_ptr<PhotoFile> of(const BatchRun &run, const QString &sourcePath, QStringList &lines);
    virtual ~PhotoFile() = default;

    const QString &sourcePath() const { return m_sourcePath; } ///< the original, absolute
    const QString &name() const { return m_name; }             ///< of the original
    const QString &path() const { return m_path; }             ///< of the file that is changed and saved
    virtual QString nowAt() const { return m_path; }           ///< where it is: `path`, if it has come there
    virtual bool backupFailed() const { return false; }
    const QString &trouble() const { return m_trouble; } ///< why the last step failed; may be empty

    /// The contents of the original, and with them the moment from which on nobody else may change it.
    /// Nothing when it cannot be read. Copy and backup are made of the same bytes.
    std::optional<QByteArray> read();

    /// Finds the photo, which has been read, its place in the output folder, or backs it up, as the options
    /// ask for. False: the photo is left. A backup that fails does not stop it.
    virtual bool takeUp() = 0;

    /// Writes what the photo has become, still hidden. False, with the reason in `error`: nothing is there.
    virtual bool prepare(const QByteArray &result, QString *error) = 0;

    /// Gives the file that is worked on the name `utmName`.jpg or the first free "`utmName` (n).jpg". Into
    /// the output folder comes what was prepared, failing that the photo as it was. False: the photo is left.
    bool rename(const QString &utmName);

    /// Lets what was prepared take its place, provided that nobody else has changed what is there.
    virtual bool place(QString *error) = 0;

    /// For a photo that was not brought to its end: what was not placed is taken away, and in the output
    /// folder the photo as it was takes its place, unless the result of an earlier run has it. False: it
    /// cannot.
    virtual bool leave() = 0;

protected:
    PhotoFile(const BatchRun &run, const QString &sourcePath, QStringList &lines);

    /// Whether the file can get another name now. False sets `m_trouble`.
    virtual bool isReadyToMove() = 0;
    /// Gives it that name if nothing has it; `Failed` sets `m_trouble`.
    virtual Placing move(const QString &path) = 0;
    /// `m_path` is the new name.
    virtual void hasMoved(const QString &oldPath) = 0;

    QString relativeFolder() const;
    QString relativePath() const;

    const BatchRun &m_run;
    const ProcessOptions &m_options;
    const QString m_sourcePath;
    const QString m_name;
    QStringList &m_lines;
    QString m_path;
    std::optional<QByteArray> m_contents; ///< of the original
    FileStamp m_stamp;                    ///< of the original
    QString m_trouble;

private:
    Q_DISABLE_COPY_MOVE(PhotoFile)
};
