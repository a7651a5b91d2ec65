// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/processoptions.h"
#include "files/folderidentity.h"
#include "files/placing.h"
#include "files/takennames.h"
#include "processing/resultrecord.h"

#include <QHash>
#include <QMultiHash>
#include <QMutex>
#include <QSet>
#include <QStringList>

#include <optional>

/// What the photos of one run have to know of each other's files, so that none takes another's place. Serves
/// all threads of the run.
class RunFiles
{
public:
    /// `root` and the paths of `photos`, which are all photos of the run, are absolute.
    RunFiles(const ProcessOptions &options, const QString &root, const QStringList &photos);

    const FilePlacer &placer() const { return m_placer; }
    TakenNames &names() { return m_names; }

    /// Whether a folder of the run is the output folder or lies inside it, where an earlier run has put what
    /// it holds. Not so when the output folder holds the root.
    bool liesInOutput(const QString &folder);

    /// Whether `path`, which exists, is a photo of this run, by whatever way, and no result of an earlier
    /// one. Nothing when it cannot be told.
    std::optional<bool> isPhoto(const QString &path);

    /// Gives a result of this run the path `target`, to be called before it takes it. False when another
    /// result of this run has that path, by whatever way and letters compared as the file system does.
    bool claim(const QString &target);

    /// A file of this run has left its path, or never took the one that it had claimed.
    void becameFree(const QString &path);

    /// Whether a name in the folder of `source` is that of a photo whose copy is still to come.
    bool isAwaited(const QString &source, const QString &name);

    /// The copy of the photo has come, or will not come any more.
    void noLongerAwaited(const QString &source);

    /// Names have changed in a folder of photos.
    void changed(const QString &folder);

    /// At the end of the run: brings everything that came into the output folder onto the disk, or the names
    /// of the photos where they are. Empty, or the reason why not all of the output folder is there.
    QString finish();

private:
    Q_DISABLE_COPY_MOVE(RunFiles)

    bool computedLiesInOutput(const QString &folder);
    std::optional<bool> isSame(const QString &path, const QString &other);
    std::optional<bool> isSameFolderOf(const QString &path, const QString &other);
    bool ignoresCaseAt(const QString &folder);
    QString claimKey(const QString &target);

    const ProcessOptions &m_options;
    const QString m_root;
    const FilePlacer m_placer;
    std::optional<ResultRecord> m_record; ///< of an output folder within the root
    TakenNames m_names;
    QMultiHash<QString, QString> m_photos; ///< paths by name, letters folded

    QMutex m_mutex; ///< for what follows
    QHash<QString, bool> m_inOutput;
    QHash<QString, std::optional<bool>> m_sameFolders;
    QHash<QString, bool> m_ignoreCase;
    QHash<QString, QStringList> m_claimed;  ///< paths by key
    QHash<QString, int> m_awaited;          ///< how many, by path, letters folded
    QHash<FileId, QString> m_outputFolders; ///< the first path of each
    QSet<QString> m_changedFolders;
};
