// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/appendfile.h"
#include "processing/photopart.h"

#include <QHash>
#include <QJsonObject>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <memory>

/// What a task has begun and finished in an output folder, so that the same task can go on after it was
/// broken off at any moment: killed, or the machine stopped.
///
/// It is a hidden file of one JSON object to a line, only ever appended to. Before anything of a photo comes
/// into the output folder, a line says that it has begun; before its copy takes a new name, a line with that
/// name is on the disk; only when the whole result is on the disk, a line says that it has finished. The
/// copy's first name, its own or a hidden one, is kept for it until then, so the absence of that name tells
/// that the copy has got the new one. Photos are named by their path relative to the root. Serves all threads
/// of a run.
class Journal
{
public:
    struct Task {
        QString directory;    ///< root of the run, absolute
        QString outputFolder; ///< absolute
        PhotoPart part;
        QJsonObject options; ///< whatever the looks and the names of the results depend on
    };

    /// Opens the journal of a task, made where it is missing, reads it, and puts the output folder in order
    /// after an attempt that was broken off: what bears a new name but was not finished gets back its first
    /// one, in whose place the next copy comes; hidden files are removed. Nothing, with the reason for the
    /// user in `error`, when the journal cannot be read or written, when another process has it open, or when
    /// a journal in the output folder is that of another root, of other options, or of another number of
    /// parts: photos would then be finished twice.
    static std::unique_ptr<Journal> open(const Task &task, QString *error);

    /// Whether an earlier attempt has finished the photo.
    bool isFinished(const QString &photo) const { return m_finished.contains(photo); }

    /// The photos that earlier attempts have finished, with their features of the map.
    const QHash<QString, QJsonObject> &finished() const { return m_finished; }

    // What happens to a photo. They return false when the line could not be written.
    bool begin(const QString &photo);
    bool aboutToRename(const QString &photo, const QString &name, const QString &newName);
    bool stays(const QString &photo); ///< it did not get the name that it was about to get, nor another
    bool finish(const QString &photo, const QJsonObject &feature);

    /// Why a line could not be written; empty when all were.
    QString trouble() const;

private:
    struct Renaming {
        QString name;
        QString newName;
    };

    explicit Journal(const Task &task);
    Q_DISABLE_COPY_MOVE(Journal)

    QString path() const;
    bool agreesWithOthers(QString *error) const;
    bool read(QString *error);
    void take(const QJsonObject &entry);
    bool beginAttempt();
    QJsonObject heading() const;
    bool append(const QJsonObject &entry, Durability durability);

    const Task m_task;
    QHash<QString, QJsonObject> m_finished; ///< feature by photo
    QHash<QString, Renaming> m_halfDone;    ///< by photo, what it was about to do, if anything
    QStringList m_marks;                    ///< of the hidden files of earlier attempts
    mutable QMutex m_mutex;                 ///< for what follows
    AppendFile m_file;
    QString m_trouble;
};
