// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photoprocessor.h"

#include "photofiles.h"
#include "processing/photowalk.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

/// The run over a folder: what it takes, and what it reports in which order.
class PhotoProcessorTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void walks_data();
    void walks();
    void walksNoFolder();
    void reportsInOrder();
    void countsFinishedPhotos();
    void saysHowLongItTook_data();
    void saysHowLongItTook();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    void run(const ProcessOptions &options, int threads);

    std::unique_ptr<QTemporaryDir> m_folder;
    QStringList m_log;
    QList<QPair<int, int>> m_progress;
    PhotoProcessor::Summary m_summary;
};

void PhotoProcessorTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

void PhotoProcessorTest::run(const ProcessOptions &options, int threads)
{
    const BatchReport report = runBatch(m_folder->path(), options, threads);
    m_log = report.log;
    m_progress = report.progress;
    m_summary = report.summary;
}

void PhotoProcessorTest::walks_data()
{
    QTest::addColumn<PhotoWalk>("walk");
    QTest::addColumn<bool>("subfolders");
    QTest::addColumn<QStringList>("expected");

    const QStringList own{QStringLiteral("FOTO.JPG"), QStringLiteral("b.tiff"), QStringLiteral("c.jpeg"),
                          QStringLiteral("d.Png")};
    const QString link = QStringLiteral("link.jpg");
    const QStringList below{QStringLiteral("sub/Backup/f.jpg"), QStringLiteral("sub/e.jpg"),
                            QStringLiteral("sub/backup/h_backup.jpg"), QStringLiteral("sub/f_backup.jpg")};
    QTest::newRow("batch") << PhotoWalk::Batch << false << own;
    QTest::newRow("batch below") << PhotoWalk::Batch << true << own + below;
    QTest::newRow("preview") << PhotoWalk::Preview << false << own + QStringList(link);
    QTest::newRow("preview below") << PhotoWalk::Preview << true
                                   << own + QStringList({link, QStringLiteral("sub/link.jpg")}) + below;
    QTest::newRow("sample") << PhotoWalk::Sample << false << own + QStringList(link);
    QTest::newRow("sample below") << PhotoWalk::Sample << true << own + below;
}

void PhotoProcessorTest::walks()
{
    QFETCH(PhotoWalk, walk);
    QFETCH(bool, subfolders);
    QFETCH(QStringList, expected);
    QDir root(m_folder->path());
    for (const char *folder : {"sub/Backup/deep", "sub/backup", ".x"})
        root.mkpath(QString::fromLatin1(folder));
    root.mkpath(QStringLiteral("Backup"));
    root.mkpath(QStringLiteral("carpeta.jpg"));
    for (const char *name :
         {"FOTO.JPG", "b.tiff", "c.jpeg", "d.Png", "x.gif", "x.tif", "xjpg", "sub/e.jpg", "sub/Backup/f.jpg",
          "sub/Backup/f_backup.jpg", "sub/Backup/deep/f_backup(12).png", "sub/f_backup.jpg",
          "sub/backup/h_backup.jpg", ".x/i.jpg", ".j.jpg", "Backup/g.jpg"})
        writeText(path(QString::fromLatin1(name)), "");
    QVERIFY(QFile::link(path(QStringLiteral("FOTO.JPG")), path(QStringLiteral("link.jpg"))));
    QVERIFY(QFile::link(path(QStringLiteral("FOTO.JPG")), path(QStringLiteral("sub/link.jpg"))));

    QStringList found;
    for (const QString &photo : findPhotos(m_folder->path(), subfolders, walk)) {
        QVERIFY(QFileInfo(photo).isAbsolute());
        found.append(root.relativeFilePath(photo));
    }
    found.sort();
    expected.sort();
    QCOMPARE(found, expected);
}

void PhotoProcessorTest::walksNoFolder()
{
    writeText(path(QStringLiteral("a.jpg")), "");
    const QString before = QDir::currentPath();
    QDir::setCurrent(m_folder->path());
    QCOMPARE(findPhotos(QString(), true, PhotoWalk::Batch), QStringList());
    QCOMPARE(findPhotos(QStringLiteral("."), false, PhotoWalk::Batch).size(), 1);
    QDir::setCurrent(before);
    QCOMPARE(findPhotos(path(QStringLiteral("missing")), true, PhotoWalk::Batch), QStringList());
}

void PhotoProcessorTest::reportsInOrder()
{
    constexpr int count = 12;
    for (int i = 0; i < count; ++i)
        writePhoto(path(QStringLiteral("%1.jpg").arg(i)), plainImage({200, 100}));
    writeText(path(QStringLiteral("no logo.png")), "no image"); // also a photo, left without a line
    ProcessOptions options;
    options.useExif = true;
    options.txtPath = path(QStringLiteral("missing.csv"));
    options.logoPath = path(QStringLiteral("no logo.png"));
    options.fontPath = path(QStringLiteral("missing.ttf"));
    run(options, 4);

    QCOMPARE(m_log.value(0), QStringLiteral("Error al abrir el logo."));
    QCOMPARE(m_log.value(1),
             QStringLiteral("Error: No se pudo cargar la fuente personalizada desde: ") + options.fontPath);
    QCOMPARE(m_log.constLast(), QStringLiteral("Se procesaron 13 fotos en 0s."));
    // Every photo's lines stand together, the last of them with the name of the first.
    constexpr int linesPerPhoto = 6;
    QCOMPARE(m_log.size(), 3 + count * linesPerPhoto);
    for (int i = 2; i + linesPerPhoto < m_log.size(); i += linesPerPhoto) {
        QVERIFY(m_log[i].startsWith(QLatin1String("\nProcesando: ")));
        const QString name = m_log[i].section(QLatin1String(": "), 1);
        QCOMPARE(m_log[i + linesPerPhoto - 1], QStringLiteral("Metadatos escritos para ") + name);
    }

    QCOMPARE(m_progress.value(0), qMakePair(0, count + 1));
    QSet<int> done;
    for (const auto &[step, total] : std::as_const(m_progress)) {
        done.insert(step);
        QCOMPARE(total, count + 1);
    }
    QCOMPARE(m_progress.size(), count + 1);
    QCOMPARE(done.size(), count + 1); // 0 to 12, the photo that was left is never counted
    QVERIFY(!done.contains(count + 1));
}

void PhotoProcessorTest::countsFinishedPhotos()
{
    ProcessOptions options;
    options.useExif = true;
    run(options, 2);
    QCOMPARE(m_log, QStringList(QStringLiteral("Se procesaron 0 fotos en 0s.")));
    QCOMPARE(m_progress, (QList<QPair<int, int>>{{0, 0}}));

    writePhoto(path(QStringLiteral("a.jpg")), plainImage({20, 10}));
    writeText(path(QStringLiteral("b.jpg")), "no image");
    run(options, 2);
    QCOMPARE(m_summary.total, 2);
    QCOMPARE(m_summary.finished, 1);
}

void PhotoProcessorTest::saysHowLongItTook_data()
{
    QTest::addColumn<qint64>("ms");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << qint64(999) << QStringLiteral("0s");
    QTest::newRow("below a minute") << qint64(59999) << QStringLiteral("59s");
    QTest::newRow("a minute") << qint64(60000) << QStringLiteral("1m 00s");
    QTest::newRow("below an hour") << qint64(3599999) << QStringLiteral("59m 59s");
    QTest::newRow("an hour") << qint64(3600000) << QStringLiteral("1h 00m 00s");
    QTest::newRow("hours") << qint64(45125000) << QStringLiteral("12h 32m 05s");
}

void PhotoProcessorTest::saysHowLongItTook()
{
    QFETCH(qint64, ms);
    QTEST(elapsedText(ms), "text");
}

QTEST_MAIN(PhotoProcessorTest)
#include "photoprocessor.moc"
