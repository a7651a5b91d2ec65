// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/batchfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QTest>

namespace
{

const QString fixedName = QStringLiteral("19J 500000 6000000");
const QString chileName = QStringLiteral("19G 345093 6297582"); // 33° 27' S, 70° 40' W

} // namespace

/// What a run makes of the photos of a folder.
class PhotoPipelineTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void tellsEveryStepInPlace();
    void tellsEveryStepIntoOutputFolder();
    void takesRowsOfTheTable();
    void numbersNames();
    void leavesPhotos_data();
    void leavesPhotos();
    void mirrorsTheTree();
    void keepsEarlierResultsAndOriginals();
    void losesNoPhotoToANameRace();

private:
    QStringList files(const QString &folder = {}) const;
};

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
    const QStringList tree({QStringLiteral("a.jpg"), QStringLiteral("salida/.velmaro-resultados"),
                            QStringLiteral("salida/a.jpg")});
    QCOMPARE(files(), tree);
    run();
    QCOMPARE(files(), tree);
    QCOMPARE(m_summary.total, 2);
    QCOMPARE(m_summary.finished, 1);

    // What lies there and is no result, or was changed since, is an original.
    writePhoto(m_root + QStringLiteral("/salida/a.jpg"), plainImage({32, 16}));
    run();
    QCOMPARE(QImage(m_root + QStringLiteral("/salida/a.jpg")).width(), 32);
    QCOMPARE(m_summary.finished, 0);

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

QTEST_MAIN(PhotoPipelineTest)
#include "photopipeline.moc"
