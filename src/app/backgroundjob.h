// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"

#include <QFutureWatcher>
#include <QMutex>
#include <QPointer>
#include <QStringList>

#include <functional>
#include <optional>

class QProgressBar;
class QProgressDialog;
class QTextEdit;

/// A long job on the global thread pool that shows its log and progress in a window.
///
/// The window owns the job; the job deletes itself after its end. Whatever the job reports waits in a list
/// until the window's event loop comes to it: however much is reported, at most one delivery waits there, and
/// it takes along what has gathered. The dialog's "Cancelar" hides it for good; the job runs to its end.
///
/// Lives in the GUI thread. Destroying it waits for the end of the job.
class BackgroundJob : public QFutureWatcher<void>
{
public:
    using Work = std::function<void(const LogCallback &log, const ProgressCallback &progress)>;

    /// Shows the progress dialog, with the text `label`, as a busy indicator in front of `window`.
    BackgroundJob(const QString &label, QTextEdit *logView, QWidget *window);
    ~BackgroundJob() override;

    /// Null after the end of the job.
    QProgressDialog *dialog() const;

    /// Runs `work` on a pool thread. Its callbacks may be called from any thread until it returns. Afterwards
    /// (also when it throws) everything still waiting is delivered, the dialog closed and `whenDone` called
    /// on the GUI thread.
    void start(const Work &work, const std::function<void()> &whenDone);

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
    void conclude();

    QTextEdit *m_logView;
    QPointer<QProgressDialog> m_dialog;
    QPointer<QProgressBar> m_bar;
    std::function<void()> m_whenDone;

    QMutex m_mutex; ///< guards the members below, shared with the working threads
    QStringList m_lines;
    std::optional<Progress> m_progress;
    bool m_deliveryQueued = false;
};
