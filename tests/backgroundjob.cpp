// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"

#include "app/logtext.h"

#include <QProgressDialog>
#include <QSemaphore>
#include <QTest>
#include <QTextEdit>
#include <QThreadPool>

class BackgroundJobTest : public QObject
{
    Q_OBJECT

private slots:
    void failedJobEndsAsUsual();
    void progressNeverGoesBack();
    void keepsTheOrderOfManyLines();
    void logShowsPlainText();
};

void BackgroundJobTest::failedJobEndsAsUsual()
{
    QWidget window;
    auto *log = new QTextEdit(&window);
    const int threads = QThreadPool::globalInstance()->activeThreadCount();
    bool done = false;
    auto *job = new BackgroundJob(QStringLiteral("Trabajo"), log, &window);
    job->start(
        [](const LogCallback &line, const ProgressCallback &) {
            line(QStringLiteral("antes"));
            throw std::runtime_error("fallo");
        },
        [&done] { done = true; });
    QTRY_VERIFY(done);
    QCOMPARE(log->toPlainText(), QStringLiteral("antes"));
    QTRY_COMPARE(QThreadPool::globalInstance()->activeThreadCount(), threads);
}

void BackgroundJobTest::progressNeverGoesBack()
{
    QWidget window;
    auto *log = new QTextEdit(&window);
    bool done = false;
    auto *job = new BackgroundJob(QStringLiteral("Trabajo"), log, &window);
    QPointer<QProgressDialog> dialog = job->dialog();
    QSemaphore shown;
    job->start(
        [&shown](const LogCallback &, const ProgressCallback &progress) {
            progress(0, 10);
            progress(10, 10);
            progress(9, 10); // overtaken on its way
            shown.tryAcquire(1, 10000);
        },
        [&done] { done = true; });
    QTRY_COMPARE(dialog->maximum(), 10);
    QTRY_COMPARE(dialog->value(), 10);
    shown.release();
    QTRY_VERIFY(done);
    QTRY_VERIFY(!dialog);
}

void BackgroundJobTest::keepsTheOrderOfManyLines()
{
    QWidget window;
    auto *log = new QTextEdit(&window);
    bool done = false;
    QSemaphore shown;
    auto *job = new BackgroundJob(QStringLiteral("Trabajo"), log, &window);
    job->start(
        [&shown](const LogCallback &line, const ProgressCallback &) {
            for (int i = 0; i < 10000; ++i)
                line(QStringLiteral("Metadatos escritos para %1.jpg").arg(i));
            shown.tryAcquire(1, 10000);
        },
        [&done] { done = true; });
    // All of them, although the job goes on.
    QTRY_COMPARE(log->document()->blockCount(), 10000);
    shown.release();
    QTRY_VERIFY(done);
    const QStringList lines = log->toPlainText().split(u'\n');
    QCOMPARE(lines.size(), 10000);
    for (int i = 0; i < lines.size(); ++i)
        QVERIFY(lines.at(i).endsWith(QStringLiteral(" %1.jpg").arg(i)));
}

void BackgroundJobTest::logShowsPlainText()
{
    QTextEdit view;
    const QStringList lines{QStringLiteral("<b>foto</b> &amp; <img src=\"x\">.jpg"), QStringLiteral("\nfin")};
    appendPlainLines(&view, {lines.first()});
    appendPlainLines(&view, {lines.last()});
    QCOMPARE(view.toPlainText(), lines.join(u'\n'));
}

QTEST_MAIN(BackgroundJobTest)
#include "backgroundjob.moc"
