// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/safewrite.h"

#include "photofiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <atomic>
#include <memory>
#include <vector>

/// Files are placed and replaced without ever taking another one's place.
class SafeWriteTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void placesOnlyUnderFreeNames();
    void givesOneNameToOneThread();
    void replacesInOneStep();
    void leavesStrangersAlone_data();
    void leavesStrangersAlone();

private:
    QString path(const char *name) const { return m_folder->filePath(QString::fromLatin1(name)); }
    QStringList names() const { return QDir(m_folder->path()).entryList(QDir::Files, QDir::Name); }

    std::unique_ptr<QTemporaryDir> m_folder;
    FilePlacer m_placer;
};

void SafeWriteTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    writeText(path("a"), "A");
    writeText(path("b"), "B");
}

void SafeWriteTest::placesOnlyUnderFreeNames()
{
    QCOMPARE(m_placer.rename(path("a"), path("b")), Placing::NameTaken);
    QCOMPARE(m_placer.copy(path("a"), path("b")), Placing::NameTaken);
    QCOMPARE(m_placer.rename(path("missing"), path("c")), Placing::Failed);
    QCOMPARE(m_placer.copy(path("missing"), path("c")), Placing::Failed);
    QCOMPARE(m_placer.rename(path("a"), path("no/folder")), Placing::Failed);
    QCOMPARE(m_placer.copy(path("a"), path("no/folder")), Placing::Failed);
    QCOMPARE(names(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(bytesOf(path("b")), "B");

    QCOMPARE(m_placer.copy(path("a"), path("c")), Placing::Done);
    QCOMPARE(m_placer.rename(path("b"), path("d")), Placing::Done);
    QCOMPARE(names(), QStringList({QStringLiteral("a"), QStringLiteral("c"), QStringLiteral("d")}));
    QCOMPARE(bytesOf(path("c")), "A");
    QCOMPARE(bytesOf(path("d")), "B");
}

void SafeWriteTest::givesOneNameToOneThread()
{
    constexpr int rounds = 200;
    constexpr int threadCount = 4;
    std::atomic<int> placed = 0;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int t = 0; t < threadCount; ++t) {
        for (int i = 0; i < rounds; ++i)
            writeText(m_folder->filePath(QStringLiteral("from %1 %2").arg(t).arg(i)), "x");
        threads.emplace_back(QThread::create([this, t, &placed] {
            for (int i = 0; i < rounds; ++i) {
                const QString from = m_folder->filePath(QStringLiteral("from %1 %2").arg(t).arg(i));
                const QString to = m_folder->filePath(QStringLiteral("to %1").arg(i));
                const Placing placing = i % 2 == 0 ? m_placer.rename(from, to) : m_placer.copy(from, to);
                placed += placing == Placing::Done ? 1 : 0;
            }
        }));
    }
    for (const auto &thread : threads)
        thread->start();
    for (const auto &thread : threads)
        thread->wait();

    QCOMPARE(placed.load(), rounds);
    // Only renamed files have left their old name, and no half copy stayed behind.
    QCOMPARE(QDir(m_folder->path()).entryList({QStringLiteral("to *")}, QDir::Files).size(), rounds);
    QCOMPARE(names().size(), 2 + rounds * threadCount + rounds / 2);
}

void SafeWriteTest::replacesInOneStep()
{
    QFile::setPermissions(path("a"), QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther);
    const QFile::Permissions permissions = QFile::permissions(path("a"));
    QString error;
    QVERIFY2(replaceContents(path("a"), "new", FileStamp::of(path("a")), &error), qPrintable(error));
    QCOMPARE(bytesOf(path("a")), "new");
    QCOMPARE(QFile::permissions(path("a")), permissions);
    QCOMPARE(names().size(), 2);
}

void SafeWriteTest::leavesStrangersAlone_data()
{
    QTest::addColumn<QString>("event");
    for (const char *event : {"changed", "replaced", "gone"})
        QTest::newRow(event) << QString::fromLatin1(event);
}

void SafeWriteTest::leavesStrangersAlone()
{
    QFETCH(QString, event);
    const FileStamp stamp = FileStamp::of(path("a"));
    QFile::remove(path("a"));
    if (event == QLatin1String("changed"))
        writeText(path("a"), "longer");
    else if (event == QLatin1String("replaced"))
        QVERIFY(QFile::rename(path("b"), path("a")));
    const QByteArray stranger = bytesOf(path("a"));
    if (event == QLatin1String("replaced")) {
        // As large as the photo was, and younger.
        QFile file(path("a"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(2), QFileDevice::FileModificationTime));
    }

    QString error;
    QVERIFY(!replaceContents(path("a"), "new", stamp, &error));
    QVERIFY(!error.isEmpty());
    QCOMPARE(QFile::exists(path("a")), event != QLatin1String("gone"));
    QCOMPARE(bytesOf(path("a")), stranger);
    QCOMPARE(QDir(m_folder->path()).entryList({QStringLiteral("a?*")}, QDir::Files).size(), 0);
}

QTEST_GUILESS_MAIN(SafeWriteTest)
#include "safewrite.moc"
