// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "data/coordinatesfile.h"

#include <QObject>

/// The engine: carries out a batch over one folder of photos.
class PhotoProcessor : public QObject
{
    Q_OBJECT

public:
    /// How many photos a run found and how many of them came out finished (painted and saved with their
    /// metadata).
    struct Summary {
        int total = 0;
        int finished = 0;
    };

    explicit PhotoProcessor(QObject *parent = nullptr);

    void setOptions(const ProcessOptions &options);
    const ProcessOptions &options() const;

    /// The number of photos worked on at once; below 1, as many as the machine has logical processors. This
    /// is the default.
    void setThreadCount(int threads);

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
    Summary m_summary;
};

/// The time text of a run's last line: "59s", "1m 00s", "1h 02m 05s". `ms` is in milliseconds; fractions of a
/// second are dropped.
QString elapsedText(qint64 ms);
