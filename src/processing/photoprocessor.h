// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "data/coordinatesfile.h"
#include "data/geojson.h"
#include "processing/photopart.h"

#include <QObject>

#include <functional>
#include <optional>

class Journal;

/// The engine: carries out a batch over one folder of photos.
class PhotoProcessor : public QObject
{
    Q_OBJECT

public:
    /// A photo that a run could not finish.
    struct LeftPhoto {
        QString path;   ///< as the run found it
        QString nowAt;  ///< where its file is now; `path` unless it was copied or renamed before
        QString reason; ///< the log line that tells why, with the system's reason where there is one
    };

    /// How a run ended.
    struct Summary {
        int total = 0;               ///< photos found, of the part
        int finished = 0;            ///< painted and saved with their metadata, also by earlier attempts
        int left = 0;                ///< given up on the way; their lines are not in the log
        int notSaved = 0;            ///< went to the end, but image or metadata could not be written
        int backupsFailed = 0;       ///< went on without the copy that was asked for
        QList<LeftPhoto> leftPhotos; ///< those left and those not saved, in the order of the walk
        QStringList passedOver; ///< what the walk could not take: names that are no UTF-8, closed folders
        QString notSynced; ///< why the results in the output folder may not all be on the disk; mostly empty
    };

    explicit PhotoProcessor(QObject *parent = nullptr);

    void setOptions(const ProcessOptions &options);
    const ProcessOptions &options() const;

    /// The number of photos worked on at once; below 1, as many as the machine has logical processors. This
    /// is the default.
    void setThreadCount(int threads);

    /// The rows of the coordinates file, for whoever has them already; without them a run in that mode reads
    /// the file.
    void setCoordinatesTable(const CoordinatesTable &table);

    /// Asked before each photo; once it says yes, no further photo is taken up, and the photos in hand are
    /// finished.
    void setStopRequest(const StopRequest &stopRequested);

    /// Works on the photos of one part only. The walk and the names that are kept for photos are those of the
    /// whole run, so that the parts, run side by side, do together what one run does. Needs an output folder
    /// that does not lie in the root, nor, with subfolders, the root in it.
    void setPart(const PhotoPart &part);

    /// Keeps a journal, which must outlive the run, and leaves out the photos that are finished according to
    /// it. None by default. Needs what `setPart` needs.
    void setJournal(Journal *journal);

    /// Called for every photo that this run finishes, from any thread.
    using FinishedCallback = std::function<void(const MapPoint &)>;
    void setFinishedCallback(const FinishedCallback &callback);

    /// Runs the batch and returns when every photo is done. Never to be called from the GUI thread with more
    /// than one photo, which it would block. `directory` is the root of the run.
    ///
    /// `log` must be callable, and both callbacks must take calls from any thread: the lines of a photo
    /// arrive together after all photos are done, but progress, and the line about a compass rose, come from
    /// the working threads. An empty `progress` is skipped. Problems are reported as lines of the log;
    /// nothing is thrown.
    void renamePhotosWithUTM(const QString &directory, const LogCallback &log,
                             const ProgressCallback &progress);

    /// The outcome of the last run.
    Summary summary() const;

    /// See `::readCoordinatesFile`.
    static CoordinatesTable readCoordinatesFile(const QString &path, const LogCallback &log);

    /// Fills the altitude column of a coordinates file from an elevation service and saves it in place; see
    /// data/altitudefill.h.
    static void fillAltitudesFromApi(const QString &csvPath, const QString &provider, const QString &apiKey,
                                     bool overwrite, const LogCallback &log,
                                     const ProgressCallback &progress);

private:
    ProcessOptions m_options;
    int m_threadCount = 0;
    std::optional<CoordinatesTable> m_table;
    StopRequest m_stopRequested;
    PhotoPart m_part;
    Journal *m_journal = nullptr;
    FinishedCallback m_onFinished;
    Summary m_summary;
};

/// The time text of a run's last line: "59s", "1m 00s", "1h 02m 05s". `ms` is in milliseconds; fractions of a
/// second are dropped.
QString elapsedText(qint64 ms);
