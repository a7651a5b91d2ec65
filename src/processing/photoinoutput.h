// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/unfinishedfile.h"
#include "processing/photofile.h"

#include <memory>

/// A photo whose result comes into the output folder. The original is not touched.
///
/// There is a hidden file from the start, so that a folder that takes none is found out first. It is written
/// once, with the result, and then takes its place; only of a photo that is left it is a copy.
class PhotoInOutput : public PhotoFile
{
public:
    PhotoInOutput(const BatchRun &run, const QString &sourcePath, QStringList &lines);
    ~PhotoInOutput() override;

    QString nowAt() const override { return m_copy ? m_sourcePath : m_path; }
    bool takeUp() override;
    bool prepare(const QByteArray &result, QString *error) override;
    bool place(QString *error) override;
    bool leave() override;

protected:
    bool isReadyToMove() override;
    Placing move(const QString &path) override;
    void hasMoved(const QString &oldPath) override;

private:
    Q_DISABLE_COPY_MOVE(PhotoInOutput)

    bool isAlreadyThere(const QString &target);
    bool claim(const QString &target);
    bool open(const QString &folder, QString *error);
    bool write(const QByteArray &contents, QString *error);
    bool takeOwnName(QString *error);
    Placing moveAsJournalled(const QString &path);

    std::unique_ptr<UnfinishedFile> m_copy; ///< the hidden file, until it has taken its place
    bool m_isWritten = false;               ///< it, whole or not
    bool m_isWhole = false;
    bool m_isClaimed = false;           ///< `m_path` is this photo's
    bool m_replaces = false;            ///< something that is there
    std::optional<FileStamp> m_earlier; ///< of that, if it is a file: the result of an earlier run
    bool m_isJournalled = false;        ///< that it is about to move
};
