// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"

#include "app/logtext.h"

#include <QMutexLocker>
#include <QProgressBar>
#include <QProgressDialog>
#include <QTextEdit>
#include <QThread>
#include <QTimer>

#include <utility>

namespace
{

// The log of a large batch comes at its end; laying out more lines than these in one go would be felt.
constexpr qsizetype linesAtOnce = 250;

} // namespace

BackgroundJob::BackgroundJob(const QString &label, QTextEdit *logView, QWidget *window)
    : QObject(window)
    , m_logView(logView)
    , m_dialog(new QProgressDialog(label, QStringLiteral("Cancelar"), 0, 0, window))
    , m_bar(new QProgressBar(m_dialog))
{
    m_dialog->setWindowModality(Qt::WindowModal);
    m_dialog->setAutoClose(false);
    m_bar->setRange(0, 0);
    m_dialog->setBar(m_bar);
    m_dialog->show();
    connect(m_dialog, &QProgressDialog::canceled, this, &BackgroundJob::tellWhenUnseen);
}

BackgroundJob::~BackgroundJob()
{
    m_stopRequested = true;
    if (m_thread)
        m_thread->wait();
}

QProgressDialog *BackgroundJob::dialog() const
{
    return m_dialog;
}

void BackgroundJob::start(const Work &work, const std::function<void()> &whenDone)
{
    m_whenDone = whenDone;
    m_thread = QThread::create([this, work] {
        try {
            work([this](const QString &line) { log(line); },
                 [this](int done, int total) { progress(done, total); },
                 [this] { return m_stopRequested.load(); });
        } catch (...) { // its end counts, however it came
        }
    });
    m_thread->setParent(this);
    connect(m_thread, &QThread::finished, this, &BackgroundJob::conclude);
    m_thread->start();
}

void BackgroundJob::log(const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    m_lines.append(line);
    queueDelivery();
}

void BackgroundJob::progress(int done, int total)
{
    const QMutexLocker locker(&m_mutex);
    // Reports of several threads may overtake each other.
    m_progress = Progress{m_progress ? std::max(m_progress->done, done) : done, total};
    queueDelivery();
}

void BackgroundJob::queueDelivery()
{
    if (std::exchange(m_deliveryQueued, true))
        return;
    QMetaObject::invokeMethod(
        this, [this] { deliverInTurns(); }, Qt::QueuedConnection);
}

bool BackgroundJob::deliver()
{
    QStringList lines;
    std::optional<Progress> progress;
    bool complete = false;
    {
        const QMutexLocker locker(&m_mutex);
        complete = m_lines.size() <= linesAtOnce;
        lines = complete ? std::exchange(m_lines, {}) : m_lines.first(linesAtOnce);
        if (!complete)
            m_lines.remove(0, linesAtOnce);
        progress = m_progress;
        m_deliveryQueued = !complete;
    }
    appendPlainLines(m_logView, lines);
    if (progress)
        showProgress(*progress);
    return complete;
}

void BackgroundJob::deliverInTurns()
{
    // A timer, unlike a posted event, lets the window's other events have their turn.
    if (!deliver())
        QTimer::singleShot(0, this, &BackgroundJob::deliverInTurns);
}

// The bar is moved directly: QProgressDialog::setValue() handles events inside (so that a flood of updates
// nests) and shows a cancelled dialog again.
void BackgroundJob::showProgress(const Progress &progress)
{
    if (!m_bar)
        return;
    if (m_bar->maximum() == 0)
        m_bar->setRange(0, progress.total);
    m_bar->setValue(progress.done);
    tellWhenUnseen();
}

void BackgroundJob::tellWhenUnseen()
{
    if (!m_dialog || !m_dialog->wasCanceled())
        return;
    Progress known;
    {
        const QMutexLocker locker(&m_mutex);
        known = m_progress.value_or(Progress());
    }
    emit goesOnUnseen(known.done, known.total);
}

void BackgroundJob::conclude()
{
    if (!deliver()) {
        QTimer::singleShot(0, this, &BackgroundJob::conclude);
        return;
    }
    if (m_dialog) {
        m_dialog->disconnect(this); // closing it counts as cancelling
        m_dialog->close();
        m_dialog->deleteLater();
        m_dialog = nullptr;
    }
    m_whenDone();
    deleteLater();
}
