// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photoprocessor.h"

#include "data/altitudefill.h"
#include "processing/imagefile.h"
#include "processing/photopipeline.h"
#include "processing/photowalk.h"
#include "render/fontregistry.h"

#include <QDir>
#include <QElapsedTimer>
#include <QHash>
#include <QMutex>
#include <QThread>
#include <QThreadPool>

#include <algorithm>
#include <atomic>
#include <latch>

namespace
{

// The log lines of the photos, one slot for each, handed out in the order in which the tasks start.
class LogSlots
{
public:
    explicit LogSlots(int total)
        : m_slots(static_cast<size_t>(total))
    {
    }

    size_t take() { return m_next.fetch_add(1); }
    void fill(size_t slot, const QStringList &lines) { m_slots[slot] = lines; }

    void flush(const LogCallback &log) const
    {
        for (const QStringList &lines : m_slots) {
            for (const QString &line : lines)
                log(line);
        }
    }

private:
    std::vector<QStringList> m_slots;
    std::atomic<size_t> m_next = 0;
};

struct PhotoResult {
    PhotoPipeline::Outcome outcome;
    QString reason; ///< why it was not finished
};

PhotoResult processGuarded(PhotoPipeline &pipeline)
{
    try {
        const PhotoPipeline::Outcome outcome = pipeline.process();
        QString reason = pipeline.failure(outcome);
        if (outcome == PhotoPipeline::Outcome::Left && !pipeline.file().trouble().isEmpty())
            reason += QStringLiteral(": ") + pipeline.file().trouble();
        return {outcome, reason};
    } catch (const std::exception &exception) {
        return {PhotoPipeline::Outcome::Left, QString::fromUtf8(exception.what())};
    }
}

// What becomes of the photos of a run. Safe to use from several threads.
class SummaryCounter
{
public:
    SummaryCounter(const QStringList &photos, int finishedBefore)
        : m_photos(photos)
    {
        m_summary.total = static_cast<int>(photos.size()) + finishedBefore;
        m_summary.finished = finishedBefore;
    }

    void count(const PhotoResult &result, const PhotoFile &file)
    {
        const QMutexLocker locker(&m_mutex);
        m_summary.backupsFailed += file.backupFailed() ? 1 : 0;
        switch (result.outcome) {
        case PhotoPipeline::Outcome::Finished:
            ++m_summary.finished;
            return;
        case PhotoPipeline::Outcome::Left:
            ++m_summary.left;
            break;
        case PhotoPipeline::Outcome::NotSaved:
            ++m_summary.notSaved;
            break;
        }
        m_leftPhotos.insert(file.sourcePath(), {file.sourcePath(), file.nowAt(), result.reason});
    }

    PhotoProcessor::Summary summary() const
    {
        PhotoProcessor::Summary summary = m_summary;
        for (const QString &photo : m_photos) {
            if (const auto left = m_leftPhotos.constFind(photo); left != m_leftPhotos.constEnd())
                summary.leftPhotos.append(*left);
        }
        return summary;
    }

private:
    const QStringList &m_photos;
    QMutex m_mutex;
    PhotoProcessor::Summary m_summary;
    QHash<QString, PhotoProcessor::LeftPhoto> m_leftPhotos;
};

// Calls `task` for every photo, on `threads` threads of the pool to which Qt hands out what is painted: its
// own threads paint by themselves, while any other thread gives large areas away bit by bit, and waits. One
// more thread stays free for what the window paints meanwhile. A single photo is done here and now.
template <typename Task>
void mapPhotos(const QStringList &photos, int threads, const Task &task)
{
    std::atomic<qsizetype> next = 0;
    const auto work = [&] {
        for (qsizetype at = next++; at < photos.size(); at = next++)
            task(photos[at]);
    };
    if (photos.size() <= 1)
        return work();
    QThreadPool *pool = QThreadPool::globalInstance();
    pool->setMaxThreadCount(std::max(pool->maxThreadCount(), threads + 1));
    std::latch working(threads);
    for (int thread = 0; thread < threads; ++thread) {
        pool->start([&] {
            work();
            working.count_down();
        });
    }
    working.wait();
}

// The photos of a part that are still to be done, and how many of it are not.
struct Share {
    QStringList photos;
    int finishedBefore = 0;
};

Share shareOf(const QStringList &photos, const QDir &root, const PhotoPart &part, Journal *journal,
              RunFiles &files)
{
    Share share;
    for (const QString &photo : photos) {
        const QString relative = root.relativeFilePath(photo);
        if (!part.holds(relative))
            continue;
        if (!journal || !journal->isFinished(relative)) {
            share.photos.append(photo);
            continue;
        }
        ++share.finishedBefore;
        files.noLongerAwaited(photo);
    }
    if (journal) {
        for (const QJsonObject &feature : journal->finished())
            files.claim(resultOf(feature));
    }
    return share;
}

QImage loadedLogo(const QString &path, PixelBuffers &buffers, const LogCallback &log)
{
    if (path.isEmpty())
        return {};
    const QImage logo = readImage(path, buffers);
    if (logo.isNull())
        log(QStringLiteral("Error al abrir el logo."));
    return logo;
}

QString loadedFontFamily(const QString &fontPath, const LogCallback &log)
{
    if (fontPath.isEmpty())
        return {};
    const std::optional<QString> family = registeredFontFamily(fontPath);
    if (!family)
        log(QStringLiteral("Error: No se pudo cargar la fuente personalizada desde: ") + fontPath);
    return family.value_or(QString());
}

// The photos of a run on their way: what each is done with, and what there is to tell of them.
class Batch
{
public:
    Batch(const BatchRun &run, const Share &share, const ProgressCallback &progress,
          const PhotoProcessor::FinishedCallback &onFinished)
        : m_run(run)
        , m_progress(progress)
        , m_onFinished(onFinished)
        , m_total(static_cast<int>(share.photos.size()))
        , m_lines(m_total)
        , m_counter(share.photos, share.finishedBefore)
    {
    }

    // From any thread.
    void process(const QString &photo)
    {
        const size_t slot = m_lines.take();
        PhotoPipeline pipeline(m_run, photo);
        const PhotoResult result = processGuarded(pipeline);
        m_counter.count(result, pipeline.file());
        if (result.outcome == PhotoPipeline::Outcome::Finished)
            recordFinished(pipeline);
        if (result.outcome == PhotoPipeline::Outcome::Left)
            return;
        const int done = m_done.fetch_add(1) + 1;
        if (m_progress)
            m_progress(done, m_total);
        m_lines.fill(slot, pipeline.lines());
    }

    PhotoProcessor::Summary summary() const { return m_counter.summary(); }
    void flushLines() const { m_lines.flush(m_run.log); }

private:
    Q_DISABLE_COPY_MOVE(Batch)

    void recordFinished(const PhotoPipeline &pipeline) const
    {
        if (!m_run.journal && !m_onFinished)
            return;
        const MapPoint point = pipeline.mapPoint();
        if (m_onFinished)
            m_onFinished(point);
        if (m_run.journal &&
            m_run.journal->finish(QDir(m_run.directory).relativeFilePath(point.source), mapFeature(point)))
            m_run.files.noLongerAwaited(point.source);
    }

    const BatchRun &m_run;
    const ProgressCallback &m_progress;
    const PhotoProcessor::FinishedCallback &m_onFinished;
    const int m_total;
    std::atomic<int> m_done = 0;
    LogSlots m_lines;
    SummaryCounter m_counter;
};

} // namespace

PhotoProcessor::PhotoProcessor(QObject *parent)
    : QObject(parent)
{
}

void PhotoProcessor::setOptions(const ProcessOptions &options)
{
    m_options = options;
}

const ProcessOptions &PhotoProcessor::options() const
{
    return m_options;
}

void PhotoProcessor::setThreadCount(int threads)
{
    m_threadCount = threads;
}

void PhotoProcessor::setCoordinatesTable(const CoordinatesTable &table)
{
    m_table = table;
}

void PhotoProcessor::setStopRequest(const StopRequest &stopRequested)
{
    m_stopRequested = stopRequested;
}

void PhotoProcessor::setPart(const PhotoPart &part)
{
    m_part = part;
}

void PhotoProcessor::setJournal(Journal *journal)
{
    m_journal = journal;
}

void PhotoProcessor::setFinishedCallback(const FinishedCallback &callback)
{
    m_onFinished = callback;
}

PhotoProcessor::Summary PhotoProcessor::summary() const
{
    return m_summary;
}

void PhotoProcessor::renamePhotosWithUTM(const QString &directory, const LogCallback &log,
                                         const ProgressCallback &progress)
{
    QStringList passedOver;
    const QDir root(QDir(directory).absolutePath());
    const QStringList found =
        findPhotos(directory, m_options.includeSubfolders, PhotoWalk::Batch, &passedOver);
    RunFiles files(m_options, root.path(), found);
    const Share share = shareOf(found, root, m_part, m_journal, files);
    const int total = static_cast<int>(share.photos.size());
    if (share.finishedBefore > 0) {
        log(QStringLiteral("Reanudando: %1 de %2 fotos ya estaban terminadas.")
                .arg(share.finishedBefore)
                .arg(total + share.finishedBefore));
    }
    PixelBuffers buffers;
    const Logo logo(loadedLogo(m_options.logoPath, buffers, log));
    std::optional<CoordinatesTable> table;
    if (!m_options.useExif && !m_options.txtPath.isEmpty())
        table = m_table ? *m_table : readCoordinatesFile(m_options.txtPath, log);

    QElapsedTimer timer;
    timer.start();
    if (progress)
        progress(0, total);
    const BatchRun run{m_options,
                       log,
                       root.path(),
                       table,
                       OverlayResources{&logo, loadedFontFamily(m_options.fontPath, log)},
                       files,
                       buffers,
                       m_journal};
    Batch batch(run, share, progress, m_onFinished);
    mapPhotos(share.photos, m_threadCount > 0 ? m_threadCount : QThread::idealThreadCount(),
              [&](const QString &photo) {
                  if (!m_stopRequested || !m_stopRequested())
                      batch.process(photo);
              });

    m_summary = batch.summary();
    m_summary.passedOver = passedOver;
    m_summary.notSynced = files.finish();
    batch.flushLines();
    log(QStringLiteral("Se procesaron %1 fotos en %2.").arg(total).arg(elapsedText(timer.elapsed())));
}

CoordinatesTable PhotoProcessor::readCoordinatesFile(const QString &path, const LogCallback &log)
{
    return ::readCoordinatesFile(path, log);
}

void PhotoProcessor::fillAltitudesFromApi(const QString &csvPath, const QString &provider,
                                          const QString &apiKey, bool overwrite, const LogCallback &log,
                                          const ProgressCallback &progress)
{
    ::fillAltitudesFromApi(csvPath, provider, apiKey, overwrite, log, progress);
}

QString elapsedText(qint64 ms)
{
    const auto padded = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    const qint64 hours = ms / 3600000;
    const qint64 minutes = (ms % 3600000) / 60000;
    const qint64 seconds = (ms % 60000) / 1000;
    if (hours >= 1)
        return QStringLiteral("%1h %2m %3s").arg(QString::number(hours), padded(minutes), padded(seconds));
    if (ms >= 60000)
        return QStringLiteral("%1m %2s").arg(QString::number(minutes), padded(seconds));
    return QStringLiteral("%1s").arg(seconds);
}
