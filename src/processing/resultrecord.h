// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHash>
#include <QString>
#include <QStringList>

/// What the runs have put into an output folder that lies among the photos. There a later run, which finds it
/// when it walks the subfolders, could not tell it from an original that happens to have the name of another
/// one. Kept as a hidden file in that folder.
class ResultRecord
{
public:
    /// The record of a folder; empty when there is none.
    explicit ResultRecord(const QString &folder);

    /// Whether `path`, in the folder, is a result as a run has left it. One that was changed since is none.
    bool contains(const QString &path) const;

    /// Adds results, by their paths, and writes the record. Without success the next run leaves them alone.
    void add(const QStringList &paths);

private:
    QString filePath() const;
    QString key(const QString &path) const;

    struct Result {
        qint64 size;
        qint64 modified; ///< seconds since 1970
    };
    QString m_folder;
    QHash<QString, Result> m_results;
};
