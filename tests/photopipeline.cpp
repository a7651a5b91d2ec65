// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"
#include "processing/exifreader.h"
#include "processing/jpegheader.h"
#include "processing/photoprocessor.h"

#include <QDir>
#include <QDirIterator>
#include <QImageReader>
#include <QMutex>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace
{

const QString fixedName = QStringLiteral("19J 500000 6000000");
const QString chileName = QStringLiteral("19G 345093 6297582"); // 33° 27' S, 70° 40' W

QByteArray exifSegmentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? JpegHeader::read(file).exif : QByteArray();
}

} // namespace

/// What a run makes of the photos of a folder.
class PhotoPipelineTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void tellsEveryStepInPlace();
    void tellsEveryStepIntoOutputFolder();
    void takesRowsOfTheTable();
    void numbersNames();
    void leavesPhotos_data();
    void leavesPhotos();
    void mirrorsTheTree();
    void keepsEarlierResultsAndOriginals();
    void losesNoPhotoToANameRace();
    void keepsMetadata_data();
    void keepsMetadata();
    void writesFreshTagsOnUprightPixels();
    void stampsUpright_data();
    void stampsUpright();
    void savesByTheFinalSuffix_data();
    void savesByTheFinalSuffix();
    void staysAliveOnBadFiles();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    void writeTable(const QByteArray &rows);
    void run(int threads = 1);
    QStringList files(const QString &folder = {}) const;

    std::unique_ptr<QTemporaryDir> m_folder;
    ProcessOptions m_options;
    QStringList m_log;
    QString m_root;
    PhotoProcessor::Summary m_summary;
};

void PhotoPipelineTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_root = path(QStringLiteral("fotos"));
    QDir().mkpath(m_root);
    m_options = ProcessOptions();
    m_options.useExif = true;
    m_options.renamePhotos = true;
    m_options.jpegQuality = 95;
}

void PhotoPipelineTest::writeTable(const QByteArray &rows)
{
    m_options.useExif = false;
    m_options.txtPath = path(QStringLiteral("tabla.csv"));
    writeText(m_options.txtPath, rows);
}

void PhotoPipelineTest::run(int threads)
{
    m_log.clear();
    QMutex mutex;
    PhotoProcessor processor;
    processor.setOptions(m_options);
    processor.setThreadCount(threads);
    processor.renamePhotosWithUTM(m_root,
                                  [&](const QString &line) {
                                      const QMutexLocker locker(&mutex);
                                      m_log.append(line);
                                  },
                                  {});
    m_summary = processor.summary();
}

// The paths below a folder, relative to it, sorted.
QStringList PhotoPipelineTest::files(const QString &folder) const
{
    const QString root = folder.isEmpty() ? m_root : folder;
    QStringList found;
    QDirIterator iterator(root, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext())
        found.append(QDir(root).relativeFilePath(iterator.next()));
    found.sort();
    return found;
}

void PhotoPipelineTest::tellsEveryStepInPlace()
{
    const QString photo = m_root + QStringLiteral("/a.b.jpg");
    writePhoto(photo, plainImage({64, 48}), gpsTags());
    m_options.createBackup = true;
    m_options.addCompass = true;
    m_options.compassRatio = 0.3;
    const QByteArray original = bytesOf(photo);
    run();

    const QString result = m_root + u'/' + chileName + QStringLiteral(".jpg");
    QCOMPARE(m_log, QStringList({
                        QStringLiteral("Dibujando rosa con orientación 90.5"),
                        QStringLiteral("\nProcesando: a.b.jpg"),
                        QStringLiteral("Backup creado: ") + m_root + QStringLiteral("/Backup/a_backup.jpg"),
                        QStringLiteral("Intentando leer EXIF desde (nativo original): ") + photo,
                        QStringLiteral("Lat: -33.45, Lon: -70.6667, Orientación: 90.5, Altitud: 520.25"),
                        QStringLiteral("Renombrado: a.b.jpg a ") + chileName + QStringLiteral(".jpg"),
                        QStringLiteral("Intentando escribir EXIF a (nativo): ") + result,
                        QStringLiteral("Metadatos escritos para ") + chileName + QStringLiteral(".jpg"),
                        QStringLiteral("Se procesaron 1 fotos en 0s."),
                    }));
    QCOMPARE(files(),
             QStringList({chileName + QStringLiteral(".jpg"), QStringLiteral("Backup/a_backup.jpg")}));
    QCOMPARE(bytesOf(m_root + QStringLiteral("/Backup/a_backup.jpg")), original);
    QVERIFY(bytesOf(result) != original);
    QCOMPARE(m_summary.finished, 1);
}

void PhotoPipelineTest::tellsEveryStepIntoOutputFolder()
{
    const QString photo = m_root + QStringLiteral("/a.jpg");
    writePhoto(photo, plainImage({64, 48}));
    m_options.useOutputFolder = true;
    m_options.outputFolder = path(QStringLiteral("salida"));
    m_options.renamePhotos = false;
    m_options.drawData = true;
    const QByteArray original = bytesOf(photo);
    run();

    const QString result = m_options.outputFolder + QStringLiteral("/a.jpg");
    QCOMPARE(m_log,
             QStringList({
                 QStringLiteral("\nProcesando: a.jpg"),
                 QStringLiteral("Copiado a la carpeta de salida: ") + result,
                 QStringLiteral("Intentando leer EXIF desde (nativo original): ") + photo,
                 QStringLiteral(
                     "Fecha de captura no encontrada en metadata para a.jpg. Usando fecha/hora actual."),
                 QStringLiteral("Datos GPS no encontrados en EXIF para a.jpg. Usando coords fijas."),
                 QStringLiteral("Intentando escribir EXIF a (nativo): ") + result,
                 QStringLiteral("Metadatos escritos para a.jpg"),
                 QStringLiteral("Se procesaron 1 fotos en 0s."),
             }));
    QCOMPARE(bytesOf(photo), original);
    QVERIFY(bytesOf(result) != original);
}

void PhotoPipelineTest::takesRowsOfTheTable()
{
    for (const char *name : {"a.jpg", "b.jpg", "c.jpg"})
        writePhoto(m_root + u'/' + QString::fromLatin1(name), plainImage({64, 48}), gpsTags());
    writeTable("a.jpg;18;M;500000.4;1000000.6;45;2020-02-03 04:05:06;-5.25\n"
               "B.JPG;18;M;1;2\n"
               "c.jpg;18;€;700000;2000000\n");
    m_options.usePrefix = true;
    m_options.prefix = QStringLiteral("%1_");
    m_options.embedCsvInExif = true;
    run();

    const QString a = QStringLiteral("%1_18M 500000 1000001.jpg");
    const QString c = QStringLiteral("%1_18 700000 2000000.jpg");
    QCOMPARE(files(), QStringList({c, a, QStringLiteral("b.jpg")}));
    QVERIFY(m_log.contains(QStringLiteral(
        "Usando datos TXT: Zona 18M, Easting: 500000, Northing: 1e+06, Orientación: 45, Altitud: -5.25")));
    QVERIFY(m_log.contains(QStringLiteral("Usando datos TXT: Zona 18, Easting: 700000, Northing: 2e+06")));
    QVERIFY(m_log.contains(QStringLiteral("Usando fecha/hora del archivo TXT: 03/02/2020 04:05:06")));
    QVERIFY(m_log.contains(QStringLiteral("Generando nuevos metadatos EXIF desde datos TXT para ") + a));
    QCOMPARE(m_log.filter(QStringLiteral("b.jpg")), QStringList()); // left, and its lines with it
    QCOMPARE(m_log.constLast(), QStringLiteral("Se procesaron 3 fotos en 0s."));
    QCOMPARE(m_summary.finished, 2);

    QCOMPARE(tagOf(m_root + u'/' + a, "Exif.GPSInfo.GPSAltitude"), "525/100");
    QCOMPARE(tagOf(m_root + u'/' + a, "Exif.Photo.DateTimeOriginal"), "2020:02:03 04:05:06");
    QCOMPARE(tagOf(m_root + u'/' + c, "Exif.GPSInfo.GPSImgDirection"), ""); // the photo's own is gone
    QCOMPARE(tagOf(m_root + u'/' + c, "Exif.Photo.DateTimeOriginal"), "2024:03:05 14:07:09");
}

void PhotoPipelineTest::numbersNames()
{
    const QString jpg = QStringLiteral(".jpg");
    writePhoto(m_root + u'/' + fixedName + jpg, plainImage({16, 16}));
    QDir().mkpath(m_root + QStringLiteral("/Backup"));
    writeText(m_root + u'/' + QStringLiteral("Backup/") + fixedName + QStringLiteral("_backup.jpg"), "older");
    m_options.createBackup = true;
    run();
    QCOMPARE(files(), QStringList({fixedName + QStringLiteral(" (1).jpg"),
                                   QStringLiteral("Backup/") + fixedName + QStringLiteral("_backup(1).jpg"),
                                   QStringLiteral("Backup/") + fixedName + QStringLiteral("_backup.jpg")}));
    QCOMPARE(bytesOf(m_root + QStringLiteral("/Backup/") + fixedName + QStringLiteral("_backup.jpg")),
             "older");
}

void PhotoPipelineTest::leavesPhotos_data()
{
    QTest::addColumn<QString>("cause");
    for (const char *cause :
         {"no row", "no table", "no image", "no folder in output", "no way out by the prefix"})
        QTest::newRow(cause) << QString::fromLatin1(cause);
}

void PhotoPipelineTest::leavesPhotos()
{
    QFETCH(QString, cause);
    const QString photo = m_root + QStringLiteral("/a.jpg");
    writePhoto(photo, plainImage({16, 16}));
    m_options.renamePhotos = cause.contains(QLatin1String("prefix"));
    if (cause == QLatin1String("no row")) {
        writeTable("A.jpg;19;H;1;2\n");
    } else if (cause == QLatin1String("no table")) {
        m_options.useExif = false;
    } else if (cause == QLatin1String("no image")) {
        writeText(photo, "no image at all");
    } else if (cause == QLatin1String("no folder in output")) {
        m_options.useOutputFolder = true;
        m_options.outputFolder = path(QStringLiteral("file"));
        writeText(m_options.outputFolder, "");
    } else {
        m_options.usePrefix = true;
        m_options.prefix = QStringLiteral("../");
    }
    const QByteArray original = bytesOf(photo);
    run();
    QCOMPARE(m_log, QStringList(QStringLiteral("Se procesaron 1 fotos en 0s.")));
    QCOMPARE(files(), QStringList(QStringLiteral("a.jpg")));
    QCOMPARE(bytesOf(photo), original);
    QCOMPARE(m_summary.finished, 0);
}

void PhotoPipelineTest::mirrorsTheTree()
{
    const QString deep = QStringLiteral("uno/dos");
    QDir(m_root).mkpath(deep);
    QDir(m_root).mkpath(QStringLiteral("Backup"));
    writePhoto(m_root + QStringLiteral("/A.JPG"), plainImage({16, 16}));
    writePhoto(m_root + u'/' + deep + QStringLiteral("/b.png"), plainImage({16, 16}));
    writePhoto(m_root + QStringLiteral("/Backup/old.jpg"), plainImage({16, 16}));
    QVERIFY(QFile::link(m_root + QStringLiteral("/A.JPG"), m_root + QStringLiteral("/link.jpg")));
    m_options.includeSubfolders = true;
    m_options.useOutputFolder = true;
    m_options.outputFolder = path(QStringLiteral("salida"));
    const QStringList before = files();
    run();
    const QStringList results({fixedName + QStringLiteral(".jpg"),
                               QStringLiteral("uno/dos/") + fixedName + QStringLiteral(".jpg")});
    QCOMPARE(files(m_options.outputFolder), results);
    QCOMPARE(files(), before);

    // The same in place, with backups.
    m_options.useOutputFolder = false;
    m_options.createBackup = true;
    run();
    QCOMPARE(files(),
             QStringList({results[0], QStringLiteral("Backup/A_backup.JPG"), QStringLiteral("Backup/old.jpg"),
                          QStringLiteral("Backup/uno/dos/b_backup.png"), results[1]}));
    QCOMPARE(m_summary.total, 2);
}

void PhotoPipelineTest::keepsEarlierResultsAndOriginals()
{
    writePhoto(m_root + QStringLiteral("/a.jpg"), plainImage({16, 16}));
    m_options.renamePhotos = false;
    m_options.includeSubfolders = true;
    m_options.useOutputFolder = true;

    // A second run into an output folder inside the root replaces the copy and leaves the results out.
    m_options.outputFolder = m_root + QStringLiteral("/salida");
    run();
    const QStringList tree({QStringLiteral("a.jpg"), QStringLiteral("salida/a.jpg")});
    QCOMPARE(files(), tree);
    run();
    QCOMPARE(files(), tree);
    QCOMPARE(m_summary.total, 2);
    QCOMPARE(m_summary.finished, 1);

    // The root as output folder, also behind a link, would delete the photo before it is copied.
    const QByteArray original = bytesOf(m_root + QStringLiteral("/a.jpg"));
    QVERIFY(QFile::link(m_root, path(QStringLiteral("acceso"))));
    for (const QString &output : {m_root, path(QStringLiteral("acceso"))}) {
        m_options.outputFolder = output;
        run();
        QCOMPARE(bytesOf(m_root + QStringLiteral("/a.jpg")), original);
        QCOMPARE(m_summary.finished, 0);
    }

    // Nor may a photo of one folder replace a photo of another folder of the run.
    QDir(m_root).mkpath(QStringLiteral("fotos"));
    writePhoto(m_root + QStringLiteral("/fotos/a.jpg"), plainImage({20, 20}));
    m_options.outputFolder = m_folder->path();
    run();
    QCOMPARE(bytesOf(m_root + QStringLiteral("/a.jpg")), original);
    QVERIFY(QFile::exists(path(QStringLiteral("a.jpg"))));
}

void PhotoPipelineTest::losesNoPhotoToANameRace()
{
    constexpr int count = 300;
    QSet<QRgb> colours;
    for (int i = 0; i < count; ++i) {
        // The names of some photos are those that others will get.
        const QString name =
            i % 10 == 0 ? QStringLiteral("%1 (%2)").arg(fixedName).arg(i + 1) : QString::number(i);
        const QColor colour(i % 20 * 12, i / 20 * 16, 128);
        writePhoto(m_root + u'/' + name + QStringLiteral(".jpg"), plainImage({16, 16}, colour));
    }
    const auto colourCount = [this](const QString &folder) {
        QSet<QRgb> seen;
        for (const QString &name : files(folder)) {
            const QRgb pixel = QImage(folder + u'/' + name).pixel(8, 8);
            seen.insert(qRgb((qRed(pixel) + 6) / 12, (qGreen(pixel) + 8) / 16, 0));
        }
        return seen.size();
    };
    QCOMPARE(colourCount(m_root), count);

    m_options.useOutputFolder = true;
    m_options.outputFolder = path(QStringLiteral("salida"));
    run(8);
    QCOMPARE(m_summary.finished, count);
    QCOMPARE(files(m_options.outputFolder).size(), count);
    QCOMPARE(colourCount(m_options.outputFolder), count);

    m_options.useOutputFolder = false;
    run(8);
    QCOMPARE(m_summary.finished, count);
    QCOMPARE(files().size(), count);
    QCOMPARE(colourCount(m_root), count);
    QCOMPARE(files().filter(fixedName).size(), count);
}

void PhotoPipelineTest::keepsMetadata_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("embed");
    QTest::newRow("EXIF mode") << QStringLiteral("a.jpg") << false;
    QTest::newRow("fresh tags") << QStringLiteral("a.jpg") << true;
    QTest::newRow("TIFF") << QStringLiteral("a.tiff") << false;
    QTest::newRow("PNG") << QStringLiteral("a.png") << false;
}

void PhotoPipelineTest::keepsMetadata()
{
    QFETCH(QString, name);
    QFETCH(bool, embed);
    const QString photo = m_root + u'/' + name;
    Tags tags = gpsTags();
    tags.insert({{"Exif.Image.Make", "Cámara"},
                 {"Exif.Photo.UserComment", "charset=Ascii ladera norte"},
                 {"Iptc.Application2.Caption", "ladera"},
                 {"Xmp.dc.creator", "Ana"}});
    writePhoto(photo, plainImage({40, 30}), tags);
    const QByteArray exifSegment = exifSegmentOf(photo);
    m_options.renamePhotos = false;
    if (embed) {
        writeTable("a.jpg;19;H;300000;6000000\n");
        m_options.embedCsvInExif = true;
    }
    run();
    QCOMPARE(m_summary.finished, 1);
    QCOMPARE(exifSegmentOf(photo) == exifSegment, !embed); // maker notes depend on every byte
    QCOMPARE(tagOf(photo, "Iptc.Application2.Caption"), "ladera");
    QCOMPARE(tagOf(photo, "Xmp.dc.creator"), embed ? "" : "Ana");
    QCOMPARE(tagOf(photo, "Exif.Image.Make"), embed ? "" : tags.value("Exif.Image.Make"));
    QCOMPARE(tagOf(photo, "Exif.Photo.UserComment").isEmpty(), embed);
    const std::optional<GpsData> gps = readGps(photo);
    QVERIFY(gps.has_value());
    QVERIFY(qAbs(gps->latitude - (embed ? -36.12 : -33.45)) < 0.01);
    QCOMPARE(QImage(photo).size(), QSize(40, 30));
}

void PhotoPipelineTest::writesFreshTagsOnUprightPixels()
{
    QImage image = plainImage({40, 30}, Qt::black);
    image.setPixelColor(0, 0, Qt::white);
    const QString photo = m_root + QStringLiteral("/a.png");
    writePhoto(photo, image, {{"Exif.Image.Orientation", "6"}});
    writeTable("a.png;19;H;300000;6000000\n");
    m_options.embedCsvInExif = true;
    m_options.renamePhotos = false;
    run();
    const QImage result(photo);
    QCOMPARE(result.size(), QSize(30, 40));
    QCOMPARE(result.pixelColor(29, 0), QColor(Qt::white)); // turned clockwise
    QCOMPARE(tagOf(photo, "Exif.Image.Orientation"), "");
}

void PhotoPipelineTest::stampsUpright_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<bool>("fresh");
    for (int orientation = 1; orientation <= 8; ++orientation) {
        QTest::addRow("%d kept", orientation) << orientation << false;
        QTest::addRow("%d fresh", orientation) << orientation << true;
    }
}

// Whatever the orientation, a viewer shows the same stamp at the same place.
void PhotoPipelineTest::stampsUpright()
{
    QFETCH(int, orientation);
    QFETCH(bool, fresh);
    m_options.renamePhotos = false;
    m_options.drawData = true;
    m_options.bgText = true;
    m_options.fontColor = Qt::red;
    m_options.fontSizeRatio = 0.05;
    m_options.dtPosition = Corner::TopRight;
    m_options.coordsPosition = Corner::BottomLeft;
    if (fresh) {
        writeTable("a.jpg;19;H;300000;6000000;;2024-03-05 14:07:09\nb.jpg;19;H;300000;6000000;;2024-03-05 "
                   "14:07:09\n");
        m_options.embedCsvInExif = true;
    }
    const bool swapped = orientation >= 5;
    Tags tags = gpsTags();
    writePhoto(m_root + QStringLiteral("/a.jpg"), plainImage({400, 300}), tags);
    tags.insert("Exif.Image.Orientation", QByteArray::number(orientation));
    writePhoto(m_root + QStringLiteral("/b.jpg"), plainImage(swapped ? QSize(300, 400) : QSize(400, 300)),
               tags);
    run();

    const auto shown = [this](const char *name) {
        QImageReader reader(m_root + QString::fromLatin1(name));
        reader.setAutoTransform(true);
        return reader.read();
    };
    const QImage plain = shown("/a.jpg");
    const QImage turned = shown("/b.jpg");
    QCOMPARE(turned.size(), plain.size());
    QVERIFY(plain.pixelColor(390, 20) != plain.pixelColor(200, 150)); // the box of the date
    qint64 difference = 0;
    for (int y = 0; y < plain.height(); ++y) {
        for (int x = 0; x < plain.width(); ++x)
            difference += qAbs(qGray(plain.pixel(x, y)) - qGray(turned.pixel(x, y)));
    }
    QVERIFY2(difference < 3 * plain.width() * plain.height(), qPrintable(QString::number(difference)));
    QCOMPARE(tagOf(m_root + QStringLiteral("/b.jpg"), "Exif.Image.Orientation"),
             fresh ? QByteArray() : QByteArray::number(orientation));
}

void PhotoPipelineTest::savesByTheFinalSuffix_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("rename");
    QTest::addColumn<QByteArray>("format");
    QTest::newRow("PNG to JPEG") << QStringLiteral("a.png") << true << QByteArray("jpeg");
    QTest::newRow("TIFF to JPEG") << QStringLiteral("a.TIFF") << true << QByteArray("jpeg");
    QTest::newRow("PNG stays") << QStringLiteral("a.png") << false << QByteArray("png");
    QTest::newRow("TIFF stays") << QStringLiteral("a.tiff") << false << QByteArray("tiff");
    QTest::newRow("JPEG by its long name") << QStringLiteral("a.JPEG") << false << QByteArray("jpeg");
}

void PhotoPipelineTest::savesByTheFinalSuffix()
{
    QFETCH(QString, name);
    QFETCH(bool, rename);
    QImage image(16, 16, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    if (name.startsWith(QLatin1String("a.J")))
        image = plainImage({16, 16}, Qt::white).convertToFormat(QImage::Format_Grayscale8);
    const QString path = m_root + u'/' + name;
    QVERIFY(image.save(path));
    m_options.renamePhotos = rename;
    run();

    const QString result = rename ? m_root + u'/' + fixedName + QStringLiteral(".jpg") : path;
    QTEST(QImageReader(result).format(), "format");
    const QImage saved(result);
    QVERIFY(!saved.isGrayscale() || saved.format() != QImage::Format_Grayscale8);
    if (!saved.hasAlphaChannel())
        QCOMPARE(saved.pixelColor(8, 8), QColor(Qt::white)); // what was transparent lies on white
}

void PhotoPipelineTest::staysAliveOnBadFiles()
{
    writePhoto(path(QStringLiteral("whole.jpg")), plainImage({600, 400}), gpsTags());
    const QByteArray whole = bytesOf(path(QStringLiteral("whole.jpg")));
    const auto sizeClaim = [&whole](char high, char low) {
        QByteArray forged = whole;
        const qsizetype frame = forged.indexOf("\xff\xc0");
        for (const int side : {5, 7}) {
            forged[frame + side] = high;
            forged[frame + side + 1] = low;
        }
        return forged;
    };
    const QMap<QString, QByteArray> bad{
        {QStringLiteral("empty.jpg"), {}},
        {QStringLiteral("text.jpg"), "no image"},
        {QStringLiteral("head.jpg"), whole.left(20)},
        {QStringLiteral("zero.jpg"), sizeClaim(0, 0)},
        {QStringLiteral("huge.jpg"), sizeClaim('\x75', '\x30')}, // 30,000 by 30,000
    };
    for (auto file = bad.begin(); file != bad.end(); ++file)
        writeText(m_root + u'/' + file.key(), file.value());
    m_options.renamePhotos = false;
    run(2);
    QCOMPARE(m_log, QStringList(QStringLiteral("Se procesaron %1 fotos en 0s.").arg(bad.size())));
    for (auto file = bad.begin(); file != bad.end(); ++file)
        QCOMPARE(bytesOf(m_root + u'/' + file.key()), file.value());
}

QTEST_MAIN(PhotoPipelineTest)
#include "photopipeline.moc"
