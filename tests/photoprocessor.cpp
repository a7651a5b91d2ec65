// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photoprocessor.h"

#include "files/folders.h"
#include "processing/photowalk.h"
#include "support/batchfixture.h"

#include <QTest>

#include <stdexcept>

using namespace Qt::StringLiterals;

/// The run over a folder: what it takes, and what it reports in which order.
class PhotoProcessorTest : public BatchFixture
{
    Q_OBJECT

    // The photos that a walk finds, sorted.
    QByteArray found(PhotoWalk walk, bool subfolders) const
    {
        QStringList photos = findPhotos(m_root, subfolders, walk);
        photos.sort();
        return photos.join(u' ').remove(m_root + u'/').toUtf8();
    }

private slots:
    void init() { startOver(); }

    void walks()
    {
        for (const char *name : {"FOTO.JPG", "b.tiff", "c.jpeg", "d.Png", "x_backup.jpg", ".x.jpg", "x.gif",
                                 "x.tif", "xjpg", "s/Backup/f.jpg", "s/Backup/f_backup.jpg",
                                 "s/Backup/f_backup(12).jpg", "s/Backup/t/g_backup.png", "s/e.jpg",
                                 "s/backup/h_backup.jpg", "Backup/g.jpg", ".h/h.jpg", "folder.jpg/i.jpg"})
            writeText(photo(name), "");
        for (const char *link : {"l.jpg", "s/l.jpg"})
            QVERIFY(QFile::link(photo("FOTO.JPG"), photo(link)));
        QVERIFY(QFile::link(photo("missing"), photo("to nothing.jpg")));

        const QByteArray own = "FOTO.JPG b.tiff c.jpeg d.Png ";
        const QByteArray below = own + "folder.jpg/i.jpg ";
        QCOMPARE(found(PhotoWalk::Batch, false), own + "x_backup.jpg");
        QCOMPARE(found(PhotoWalk::Batch, true),
                 below + "s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg x_backup.jpg");
        QCOMPARE(found(PhotoWalk::Preview, false), own + "l.jpg x_backup.jpg");
        QCOMPARE(found(PhotoWalk::Preview, true),
                 below + "l.jpg s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg s/l.jpg x_backup.jpg");
        QCOMPARE(found(PhotoWalk::Sample, false), own + "l.jpg x_backup.jpg");
        QCOMPARE(found(PhotoWalk::Sample, true), found(PhotoWalk::Batch, true));

        const QString before = QDir::currentPath();
        QDir::setCurrent(m_root);
        QCOMPARE(findPhotos(QString(), true, PhotoWalk::Batch), QStringList());
        QCOMPARE(findPhotos(u"s"_s, false, PhotoWalk::Batch), QStringList(photo("s/e.jpg")));
        QDir::setCurrent(before);
        QStringList passedOver;
        QCOMPARE(findPhotos(u"/missing"_s, true, PhotoWalk::Batch, &passedOver), QStringList());
        QCOMPARE(passedOver, {u"No se pudo leer la carpeta /missing: no existe el archivo o la carpeta"_s});
    }

    void reportsInOrder()
    {
        constexpr int count = 12;
        QList<QImage> images; // of many sizes, since they share buffers
        for (int i = 0; i < count; ++i) {
            images.append(plainImage({20 + 37 * i % 200, 10 + 7 * i}, QColor(20 * i, 90, 60)));
            writePhoto(photo(QByteArray::number(i) + ".png"), images[i]);
        }
        m_options.logoPath = photo("no logo.png");
        writeText(m_options.logoPath, "no image"); // also a photo, left without a line
        m_options.renamePhotos = false;
        m_options.txtPath = path(u"missing.csv"_s);
        m_options.fontPath = u"/missing.ttf"_s;
        BatchReport report = runBatch(m_root, m_options, 4);

        QCOMPARE(report.log.takeFirst(), u"Error al abrir el logo."_s);
        QCOMPARE(report.log.takeFirst(),
                 u"Error: No se pudo cargar la fuente personalizada desde: /missing.ttf"_s);
        QCOMPARE(report.log.takeLast(), u"Se procesaron 13 fotos en 0s."_s);
        // Every photo's lines stand together, the last of them with the name of the first.
        constexpr int linesPerPhoto = 6;
        QCOMPARE(report.log.size(), count * linesPerPhoto);
        for (int i = 0; i < report.log.size(); i += linesPerPhoto)
            QCOMPARE(report.log[i + linesPerPhoto - 1],
                     QString(report.log[i]).replace(u"\nProcesando: "_s, u"Metadatos escritos para "_s));

        for (int i = 0; i < count; ++i)
            QCOMPARE(QImage(photo(QByteArray::number(i) + ".png")).convertToFormat(images[i].format()),
                     images[i]);

        // 0 to 12 of 13, in any order after the first: the photo that was left is never counted
        QCOMPARE(report.progress.value(0), qMakePair(0, count + 1));
        std::sort(report.progress.begin(), report.progress.end());
        for (int i = 0; i <= count; ++i)
            QCOMPARE(report.progress.value(i), qMakePair(i, count + 1));
        QCOMPARE(report.progress.size(), count + 1);
    }

    void countsWhatBecameOfThePhotos()
    {
        QCOMPARE(runBatch(m_root, m_options).progress, (QList<QPair<int, int>>{{0, 0}}));

        writePhoto(photo("a.jpg"), plainImage({20, 10}));
        writePhoto(photo("b.png"), plainImage({66000, 1})); // too wide for a JPEG
        writePhoto(photo("d.jpg"), plainImage({20, 10}), gpsTags());
        m_options.addCompass = true;
        m_options.compassRatio = 0.2;
        const auto log = [](const QString &line) {
            if (line == u"Dibujando rosa con orientación 90.5"_s)
                throw std::runtime_error("no memory");
        };
        PhotoProcessor processor;
        processor.setOptions(m_options);
        processor.renamePhotosWithUTM(m_root, log, {});
        const PhotoProcessor::Summary summary = processor.summary();
        const QList<int> counts{summary.total, summary.finished, summary.left, summary.notSaved};
        QCOMPARE(counts, QList<int>({3, 1, 1, 1}));
        QStringList reasons;
        for (const PhotoProcessor::LeftPhoto &left : summary.leftPhotos)
            reasons.append(nameOf(left.path) + u": "_s + left.reason);
        reasons.sort();
        QCOMPARE(reasons.value(0).toUtf8(),
                 "b.png: Error guardando la imagen: Maximum supported image dimension is 65500 pixels");
        QCOMPARE(reasons.value(1).toUtf8(), "d.jpg: no memory");
    }

    void saysHowLongItTook()
    {
        QString texts;
        for (const qint64 ms : {999, 59999, 60000, 3599999, 3600000, 45125000})
            texts += elapsedText(ms) + u' ';
        QCOMPARE(texts, u"0s 59s 1m 00s 59m 59s 1h 00m 00s 12h 32m 05s "_s);
    }
};

QTEST_MAIN(PhotoProcessorTest)
#include "photoprocessor.moc"
