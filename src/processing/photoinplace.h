// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/safewrite.h"
#include "processing/photofile.h"

#include <memory>

/// A photo that is stamped where it is.
///
/// The result is on the disk before it takes the photo's place, and so is the backup. That is the photo's own
/// file under a second name, which becomes its only one in that moment; where a file cannot have two names,
/// or has others already, it is a copy. A program that has the photo open all the while writes into the
/// backup.
class PhotoInPlace : public PhotoFile
{
public:
    PhotoInPlace(const BatchRun &run, const QString &sourcePath, QStringList &lines);

    bool backupFailed() const override { return m_backupFailed; }
    bool takeUp() override;
    bool prepare(const QByteArray &result, QString *error) override;
    bool place(QString *error) override;
    bool leave() override;

protected:
    bool isReadyToMove() override;
    Placing move(const QString &path) override;
    void hasMoved(const QString &oldPath) override;

private:
    Q_DISABLE_COPY_MOVE(PhotoInPlace)

    void backUp();
    bool writeBackup(const QString &folder);
    std::unique_ptr<UnfinishedFile> copyIn(const QString &folder, const QString &attributesOf) const;

    std::unique_ptr<FileReplacement> m_result; ///< prepared
    QString m_backup;                          ///< its path
    bool m_backupIsPhoto = false;              ///< under its second name
    bool m_backupFailed = false;
};
