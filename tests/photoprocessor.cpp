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

        const auto found = [this](PhotoWalk walk, bool subfolders) {
            QStringList photos = findPhotos(m_root, subfolders, walk);
            photos.sort();
            return photos.join(u' ').remove(m_root + u'/');
        };
        const QString own = u"FOTO.JPG b.tiff c.jpeg d.Png "_s;
        const QString below = own + u"folder.jpg/i.jpg "_s;
        QCOMPARE(found(PhotoWalk::Batch, false), own + u"x_backup.jpg"_s);
        QCOMPARE(found(PhotoWalk::Batch, true),
                 below + u"s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg x_backup.jpg"_s);
        QCOMPARE(found(PhotoWalk::Preview, false), own + u"l.jpg x_backup.jpg"_s);
        QCOMPARE(found(PhotoWalk::Preview, true),
                 below + u"l.jpg s/Backup/f.jpg s/backup/h_backup.jpg s/e.jpg s/l.jpg x_backup.jpg"_s);
        QCOMPARE(found(PhotoWalk::Sample, false) + found(PhotoWalk::Sample, true),
                 found(PhotoWalk::Preview, false) + found(PhotoWalk::Batch, true));

        QDir::setCurrent(m_root);
        QCOMPARE(findPhotos(QString(), true, PhotoWalk::Batch), QStringList());
        QCOMPARE(findPhotos(u"s"_s, false, PhotoWalk::Batch), QStringList(photo("s/e.jpg")));
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
        m_options.txtPath = path("missing.csv");
        m_options.fontPath = u"/missing.ttf"_s;
        BatchReport report = runBatch(m_root, m_options, 4);

        // Every photo's lines stand together, the last of them with the name of the first.
        constexpr int linesPerPhoto = 6;
        for (int i = 2; i < 2 + count * linesPerPhoto; i += linesPerPhoto)
            QCOMPARE(report.log.value(i + linesPerPhoto - 1),
                     report.log.value(i).replace(u"\nProcesando: "_s, u"Metadatos escritos para "_s));
        report.log.remove(2, count * linesPerPhoto);
        QCOMPARE(report.log.join(u'|').toUtf8(),
                 "Error al abrir el logo.|"
                 "Error: No se pudo cargar la fuente personalizada desde: /missing.ttf|"
                 "Se procesaron 13 fotos en 0s.");

        for (int i = 0; i < count; ++i)
            QCOMPARE(QImage(photo(QByteArray::number(i) + ".png")).convertToFormat(images[i].format()),
                     images[i]);

        // 0 to 12 of 13, in any order after the first: the photo that was left is never counted
        QString progress = QString::number(report.progress.value(0).first) + u':';
        std::sort(report.progress.begin(), report.progress.end());
        for (const auto &[done, total] : std::as_const(report.progress))
            progress += u" %1/%2"_s.arg(done).arg(total);
        QCOMPARE(progress, u"0: 0/13 1/13 2/13 3/13 4/13 5/13 6/13 7/13 8/13 9/13 10/13 11/13 12/13"_s);
    }

    void tellsWhatBecameOfThePhotosAndHowLongItTook()
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
        QStringList told;
        for (const PhotoProcessor::LeftPhoto &left : summary.leftPhotos)
            told.append(nameOf(left.path) + u": "_s + left.reason);
        told.sort();
        for (const auto count : {summary.total, summary.finished, summary.left, summary.notSaved})
            told.append(QString::number(count));
        QCOMPARE(told.join(u'|').toUtf8(),
                 "b.png: Error guardando la imagen: Maximum supported image dimension is 65500 pixels|"
                 "d.jpg: no memory|3|1|1|1");

        QString times;
        for (const qint64 ms : {999, 59999, 60000, 3599999, 3600000, 45125000})
            times += elapsedText(ms) + u' ';
        QCOMPARE(times, u"0s 59s 1m 00s 59m 59s 1h 00m 00s 12h 32m 05s "_s);
    }
};

QTEST_MAIN(PhotoProcessorTest)
#include "photoprocessor.moc"
