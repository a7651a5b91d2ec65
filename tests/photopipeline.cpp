// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/batchfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QTest>

namespace
{

const QString fixedName = QStringLiteral("19J 500000 6000000");

} // namespace

/// What a run makes of the photos of a folder.
class PhotoPipelineTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void tellsEveryStep();
    void takesRowsOfTheTable();
    void numbersNames();
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

void PhotoPipelineTest::tellsEveryStep()
{
    // In place, with everything that there is.
    writePhoto(m_root + QStringLiteral("/a.b.jpg"), plainImage({64, 48}), gpsTags());
    const QByteArray original = bytesOf(m_root + QStringLiteral("/a.b.jpg"));
    m_options.createBackup = true;
    m_options.addCompass = true;
    m_options.compassRatio = 0.3;
    run();
    const auto log = [this] {
        return m_log.join(u'\n').replace(m_folder->path(), QStringLiteral("DIR"));
    };
    QCOMPARE(log(), QStringLiteral(R"(Dibujando rosa con orientación 90.5

Procesando: a.b.jpg
Backup creado: DIR/fotos/Backup/a_backup.jpg
Intentando leer EXIF desde (nativo original): DIR/fotos/a.b.jpg
Lat: -33.45, Lon: -70.6667, Orientación: 90.5, Altitud: 520.25
Renombrado: a.b.jpg a 19G 345093 6297582.jpg
Intentando escribir EXIF a (nativo): DIR/fotos/19G 345093 6297582.jpg
Metadatos escritos para 19G 345093 6297582.jpg
Se procesaron 1 fotos en 0s.)"));
    QCOMPARE(files(),
             QStringList({QStringLiteral("19G 345093 6297582.jpg"), QStringLiteral("Backup/a_backup.jpg")}));
    QCOMPARE(bytesOf(m_root + QStringLiteral("/Backup/a_backup.jpg")), original);
    QVERIFY(bytesOf(m_root + QStringLiteral("/19G 345093 6297582.jpg")) != original);
    QCOMPARE(m_summary.finished, 1);

    // Into an output folder, with as little as possible; a structure that breaks off is no reason to stop.
    startOver();
    const QString photo = m_root + QStringLiteral("/a.jpg");
    writePhoto(photo, plainImage({64, 48}));
    writeText(photo, bytesOf(photo).insert(2, QByteArray("\xff\xe1\0\x0c"
                                                         "Exif\0\0MM\0*",
                                                         14)));
    const QByteArray damaged = bytesOf(photo);
    m_options.useOutputFolder = true;
    m_options.outputFolder = path(QStringLiteral("salida"));
    m_options.renamePhotos = false;
    m_options.drawData = true;
    run();
    QCOMPARE(log(), QStringLiteral(R"(
Procesando: a.jpg
Copiado a la carpeta de salida: DIR/salida/a.jpg
Intentando leer EXIF desde (nativo original): DIR/fotos/a.jpg
Error leyendo metadata original para a.jpg
Fecha de captura no encontrada en metadata para a.jpg. Usando fecha/hora actual.
Datos GPS no encontrados en EXIF para a.jpg. Usando coords fijas.
Intentando escribir EXIF a (nativo): DIR/salida/a.jpg
Metadatos escritos para a.jpg
Se procesaron 1 fotos en 0s.)"));
    QCOMPARE(bytesOf(photo), damaged);
    QVERIFY(bytesOf(m_options.outputFolder + QStringLiteral("/a.jpg")) != damaged);
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

    const QString a = m_root + QStringLiteral("/%1_18M 500000 1000001.jpg");
    const QString c = m_root + QStringLiteral("/%1_18 700000 2000000.jpg");
    const QString log = QStringLiteral(R"(
Procesando: a.jpg
Intentando leer EXIF desde (nativo original): ROOT/a.jpg
Usando datos TXT: Zona 18M, Easting: 500000, Northing: 1e+06, Orientación: 45, Altitud: -5.25
Usando fecha/hora del archivo TXT: 03/02/2020 04:05:06
Renombrado: a.jpg a %1_18M 500000 1000001.jpg
Generando nuevos metadatos EXIF desde datos TXT para %1_18M 500000 1000001.jpg
Intentando escribir EXIF a (nativo): ROOT/%1_18M 500000 1000001.jpg
Metadatos escritos para %1_18M 500000 1000001.jpg

Procesando: c.jpg
Intentando leer EXIF desde (nativo original): ROOT/c.jpg
Usando datos TXT: Zona 18, Easting: 700000, Northing: 2e+06
Renombrado: c.jpg a %1_18 700000 2000000.jpg
Generando nuevos metadatos EXIF desde datos TXT para %1_18 700000 2000000.jpg
Intentando escribir EXIF a (nativo): ROOT/%1_18 700000 2000000.jpg
Metadatos escritos para %1_18 700000 2000000.jpg
Se procesaron 3 fotos en 0s.)");
    QCOMPARE(m_log.join(u'\n').replace(m_root, QStringLiteral("ROOT")), log);
    QCOMPARE(m_summary.finished, 2);
    QCOMPARE(tagOf(a, "Exif.GPSInfo.GPSAltitude"), "525/100");
    QCOMPARE(tagOf(a, "Exif.Photo.DateTimeOriginal"), "2020:02:03 04:05:06");
    QCOMPARE(tagOf(c, "Exif.GPSInfo.GPSImgDirection"), ""); // the photo's own is gone
    QCOMPARE(tagOf(c, "Exif.Photo.DateTimeOriginal"), "2024:03:05 14:07:09");
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

void PhotoPipelineTest::leavesPhotos()
{
    const QString photo = m_root + QStringLiteral("/a.jpg");
    const auto isLeft = [&] {
        const QByteArray original = bytesOf(photo);
        run();
        return m_log == QStringList(QStringLiteral("Se procesaron 1 fotos en 0s.")) &&
               files() == QStringList(QStringLiteral("a.jpg")) && bytesOf(photo) == original &&
               m_summary.finished == 0;
    };
    writePhoto(photo, plainImage({16, 16}));
    m_options.usePrefix = true;
    m_options.prefix = QStringLiteral("../"); // may not lead out of the folder
    QVERIFY(isLeft());
    m_options.renamePhotos = false;
    m_options.useOutputFolder = true;
    m_options.outputFolder = path(QStringLiteral("file"));
    writeText(m_options.outputFolder, "");
    QVERIFY(isLeft());
    m_options.useOutputFolder = false;
    m_options.useExif = false; // and no table
    QVERIFY(isLeft());
    writeTable("A.jpg;19;H;1;2\n");
    QVERIFY(isLeft());
    m_options.useExif = true;
    writeText(photo, "no image at all");
    QVERIFY(isLeft());
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
