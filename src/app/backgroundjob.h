// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <atomic>
#include <functional>
#include <optional>

class QProgressBar;
class QProgressDialog;
class QTextEdit;
class QThread;

/// A long job on a thread of its own that shows its log and progress in a window.
///
/// The window owns the job; the job deletes itself after its end. Whatever the job reports waits in a list
/// until the window's event loop comes to it: however much is reported, at most one delivery waits there, and
/// it takes along what has gathered. The dialog's "Cancelar" hides it for good; the job runs to its end.
///
/// Lives in the GUI thread. Destroying it asks the job to stop and waits for its end.
class BackgroundJob : public QObject
{
    Q_OBJECT

public:
    using Work = std::function<void(const LogCallback &log, const ProgressCallback &progress,
                                    const StopRequest &stopRequested)>;

    /// Shows the progress dialog, with the text `label`, as a busy indicator in front of `window`.
    BackgroundJob(const QString &label, QTextEdit *logView, QWidget *window);
    ~BackgroundJob() override;

    /// Null after the end of the job.
    QProgressDialog *dialog() const;

    /// Runs `work` on its thread. Its callbacks may be called from any thread until it returns. Afterwards
    /// (also when it throws) everything still waiting is delivered, the dialog closed and `whenDone` called
    /// on the GUI thread.
    void start(const Work &work, const std::function<void()> &whenDone);

signals:
    /// The dialog was cancelled, but the job goes on; also at each progress from then on. `total` is 0 while
    /// it is not known.
    void goesOnUnseen(int done, int total);

private:
    struct Progress {
        int done = 0;
        int total = 0;
    };

    void log(const QString &line);
    void progress(int done, int total);
    void queueDelivery();
    bool deliver(); ///< whether nothing is left
    void deliverInTurns();
    void showProgress(const Progress &progress);
    void tellWhenUnseen();
    void conclude();

    QTextEdit *m_logView;
    QPointer<QProgressDialog> m_dialog;
    QPointer<QProgressBar> m_bar;
    QThread *m_thread = nullptr;
    std::function<void()> m_whenDone;
    std::atomic<bool> m_stopRequested = false;

    QMutex m_mutex; ///< guards the members below, shared with the working threads
    QStringList m_lines;
    std::optional<Progress> m_progress;
    bool m_deliveryQueued = false;
};
