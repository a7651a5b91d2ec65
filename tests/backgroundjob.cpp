// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/backgroundjob.h"

#include "app/logtext.h"

#include <QProgressDialog>
#include <QScrollBar>
#include <QSemaphore>
#include <QTest>
#include <QTextEdit>

class BackgroundJobTest : public QObject
{
    Q_OBJECT

private slots:
    void deliversWhileItRunsAndEndsAsUsual();
    void logFollowsItsEnd();
};

// Many lines in their order, as they are written, and progress that never goes back, while the job still
// runs; then it fails.
void BackgroundJobTest::deliversWhileItRunsAndEndsAsUsual()
{
    QWidget window;
    auto *log = new QTextEdit(&window);
    bool done = false;
    QSemaphore shown;
    auto *job = new BackgroundJob(QStringLiteral("Trabajo"), log, &window);
    const QPointer<QProgressDialog> dialog = job->dialog();
    QStringList lines;
    for (int i = 0; i < 10000; ++i)
        lines.append(QStringLiteral("<b>%1</b> &amp;").arg(i));
    job->start(
        [&](const LogCallback &line, const ProgressCallback &progress, const StopRequest &) {
            progress(0, 10);
            progress(10, 10);
            progress(9, 10); // overtaken on its way
            for (const QString &text : lines)
                line(text);
            shown.tryAcquire(1, 10000);
            throw std::runtime_error("fallo");
        },
        [&done] { done = true; });
    QTRY_COMPARE(log->document()->blockCount(), 10000);
    QCOMPARE(dialog->value() * 100 + dialog->maximum(), 1010);
    QVERIFY(!done);
    shown.release();
    QTRY_VERIFY(done);
    QTRY_VERIFY(!dialog);
    QVERIFY(log->toPlainText() == lines.join(u'\n'));
}

// Also in a view that got lower since; not when the user has scrolled up.
void BackgroundJobTest::logFollowsItsEnd()
{
    QTextEdit view;
    followEnd(&view);
    view.resize(200, 200);
    view.show();
    const QScrollBar *bar = view.verticalScrollBar();
    const auto append = [&view] {
        appendPlainLines(&view, QStringList(20, QStringLiteral("línea")));
    };
    append();
    view.resize(200, 80);
    QTRY_VERIFY(bar->maximum() > 0 && bar->value() == bar->maximum());
    append();
    QTRY_COMPARE(bar->value(), bar->maximum());
    view.verticalScrollBar()->setValue(10);
    append();
    QCoreApplication::processEvents();
    QCOMPARE(bar->value(), 10);
}

QTEST_MAIN(BackgroundJobTest)
#include "backgroundjob.moc"
