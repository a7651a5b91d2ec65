// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photoprocessor.h"

#include "processing/photowalk.h"
#include "support/batchfixture.h"

#include <QRegularExpression>
#include <QTest>

/// The run over a folder: what it takes, and what it reports in which order.
class PhotoProcessorTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void walks();
    void reportsInOrder();
    void countsWhatBecameOfThePhotos();
    void saysHowLongItTook();

private:
    QByteArray found(PhotoWalk walk, bool subfolders) const;
};

// The photos that a walk finds, sorted.
QByteArray PhotoProcessorTest::found(PhotoWalk walk, bool subfolders) const
{
    QStringList paths;
    for (const QString &photo : findPhotos(m_root, subfolders, walk))
        paths.append(photo.mid(m_root.size() + 1));
    paths.sort();
    return paths.join(u' ').toUtf8();
}

void PhotoProcessorTest::walks()
{
    for (const char *name :
         {"FOTO.JPG", "b.tiff", "c.jpeg", "d.Png", "x_backup.jpg", ".x.jpg", "x.gif", "x.tif", "xjpg",
          "s/Backup/f.jpg", "s/Backup/f_backup.jpg", "s/Backup/f_backup(12).jpg", "s/Backup/t/g_backup.png",
          "s/e.jpg", "s/backup/h_backup.jpg", "Backup/g.jpg", ".h/h.jpg", "folder.jpg/i.jpg"}) {
        const QFileInfo file(m_root + u'/' + QString::fromLatin1(name));
        QDir().mkpath(file.path());
        writeText(file.filePath(), "");
    }
    for (const char *link : {"l.jpg", "s/l.jpg"})
        QVERIFY(QFile::link(m_root + QStringLiteral("/FOTO.JPG"), m_root + u'/' + QString::fromLatin1(link)));

    const QByteArray own = "FOTO.JPG b.tiff c.jpeg d.Png ";
    const QByteArray below = "folder.jpg/i.jpg ";
    QCOMPARE(found(PhotoWalk::Batch, false), own + "x_backup.jpg");
    QCOMPARE(found(PhotoWalk::Batch, true),
             own + below + "s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg x_backup.jpg");
    QCOMPARE(found(PhotoWalk::Preview, false), own + "l.jpg x_backup.jpg");
    QCOMPARE(found(PhotoWalk::Preview, true),
             own + below + "l.jpg s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg s/l.jpg x_backup.jpg");
    QCOMPARE(found(PhotoWalk::Sample, false), own + "l.jpg x_backup.jpg");
    QCOMPARE(found(PhotoWalk::Sample, true),
             own + below + "s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg x_backup.jpg");

    const QString before = QDir::currentPath();
    QDir::setCurrent(m_root);
    QCOMPARE(findPhotos(QString(), true, PhotoWalk::Batch), QStringList());
    QCOMPARE(findPhotos(QStringLiteral("s"), false, PhotoWalk::Batch),
             QStringList(m_root + QStringLiteral("/s/e.jpg")));
    QDir::setCurrent(before);
    QCOMPARE(findPhotos(path(QStringLiteral("missing")), true, PhotoWalk::Batch), QStringList());
}

void PhotoProcessorTest::reportsInOrder()
{
    constexpr int count = 12;
    for (int i = 0; i < count; ++i)
        writePhoto(m_root + QStringLiteral("/%1.jpg").arg(i), plainImage({200, 100}));
    m_options.logoPath = m_root + QStringLiteral("/no logo.png");
    writeText(m_options.logoPath, "no image"); // also a photo, left without a line
    m_options.renamePhotos = false;
    m_options.txtPath = path(QStringLiteral("missing.csv"));
    m_options.fontPath = path(QStringLiteral("missing.ttf"));
    const BatchReport report = runBatch(m_root, m_options, 4);

    QCOMPARE(report.log.first(2),
             QStringList({QStringLiteral("Error al abrir el logo."),
                          QStringLiteral("Error: No se pudo cargar la fuente personalizada desde: ") +
                              m_options.fontPath}));
    QCOMPARE(report.log.constLast(), QStringLiteral("Se procesaron 13 fotos en 0s."));
    // Every photo's lines stand together, the last of them with the name of the first.
    constexpr int linesPerPhoto = 6;
    QCOMPARE(report.log.size(), 3 + count * linesPerPhoto);
    for (int i = 2; i + linesPerPhoto < report.log.size(); i += linesPerPhoto)
        QCOMPARE(report.log[i + linesPerPhoto - 1],
                 QString(report.log[i])
                     .replace(QStringLiteral("\nProcesando: "), QStringLiteral("Metadatos escritos para ")));

    // 0 to 12 of 13, in any order after the first: the photo that was left is never counted
    QList<QPair<int, int>> progress = report.progress;
    QCOMPARE(progress.value(0), qMakePair(0, count + 1));
    std::sort(progress.begin(), progress.end());
    QCOMPARE(progress.size(), count + 1);
    QCOMPARE(progress.constLast(), qMakePair(count, count + 1));
}

void PhotoProcessorTest::countsWhatBecameOfThePhotos()
{
    QCOMPARE(runBatch(m_root, m_options).progress, (QList<QPair<int, int>>{{0, 0}}));

    writePhoto(m_root + QStringLiteral("/a.jpg"), plainImage({20, 10}));
    writePhoto(m_root + QStringLiteral("/b.png"), plainImage({66000, 1})); // too wide for a JPEG
    writeText(m_root + QStringLiteral("/c.jpg"), "no image");
    writeText(m_root + QStringLiteral("/Backup"), "in the way of the copies");
    m_options.createBackup = true;
    const PhotoProcessor::Summary summary = runBatch(m_root, m_options).summary;
    QCOMPARE(QStringLiteral("%1 %2 %3 %4 %5")
                 .arg(summary.total)
                 .arg(summary.finished)
                 .arg(summary.left)
                 .arg(summary.notSaved)
                 .arg(summary.backupsFailed),
             QStringLiteral("3 1 1 1 3"));
    QStringList left;
    for (const PhotoProcessor::LeftPhoto &photo : summary.leftPhotos)
        left.append(photo.path.mid(m_root.size()) + u' ' + photo.nowAt.mid(m_root.size()) + u' ' +
                    photo.reason);
    left.sort();
    static const QRegularExpression numbers(QStringLiteral(" \\(\\d\\)")); // by the order of the walk
    QCOMPARE(
        left.join(u'\n').remove(m_root).remove(numbers).toUtf8(),
        "/b.png /19J 500000 6000000.jpg Error guardando la imagen: Maximum supported image dimension is "
        "65500 pixels\n/c.jpg /19J 500000 6000000.jpg Error al abrir la imagen: /19J 500000 6000000.jpg");
}

void PhotoProcessorTest::saysHowLongItTook()
{
    const QList<QPair<qint64, const char *>> cases = {
        {999, "0s"},          {59999, "59s"},          {60000, "1m 00s"},
        {3599999, "59m 59s"}, {3600000, "1h 00m 00s"}, {45125000, "12h 32m 05s"}};
    for (const auto &[ms, text] : cases)
        QCOMPARE(elapsedText(ms).toUtf8(), text);
}

QTEST_MAIN(PhotoProcessorTest)
#include "photoprocessor.moc"
