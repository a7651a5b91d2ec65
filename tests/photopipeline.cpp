// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/batchfixture.h"

#include <QDir>
#include <QDirIterator>
#include <QTest>

/// What a run makes of the photos of a folder.
class PhotoPipelineTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void tellsEveryStep();
    void takesRowsOfTheTable();
    void leavesPhotos();

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
               "c.jpg;18;€;700000;2000000;;;7\n");
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
Usando datos TXT: Zona 18, Easting: 700000, Northing: 2e+06, Altitud: 7
Renombrado: c.jpg a %1_18 700000 2000000.jpg
Generando nuevos metadatos EXIF desde datos TXT para %1_18 700000 2000000.jpg
Intentando escribir EXIF a (nativo): ROOT/%1_18 700000 2000000.jpg
Metadatos escritos para %1_18 700000 2000000.jpg
)");
    const auto byPhoto = [](const QString &text) { // in whatever order the folder has them
        QStringList blocks = text.split(QStringLiteral("\nProcesando: "));
        blocks.sort();
        return blocks;
    };
    QCOMPARE(m_log.takeLast(), QStringLiteral("Se procesaron 3 fotos en 0s."));
    QCOMPARE(byPhoto(m_log.join(u'\n').replace(m_root, QStringLiteral("ROOT")) + u'\n'), byPhoto(log));
    QCOMPARE(m_summary.finished, 2);
    QCOMPARE(tagOf(a, "Exif.GPSInfo.GPSAltitude"), "525/100");
    QCOMPARE(tagOf(a, "Exif.Photo.DateTimeOriginal"), "2020:02:03 04:05:06");
    QCOMPARE(tagOf(c, "Exif.GPSInfo.GPSAltitude"), "700/100");
    QCOMPARE(tagOf(c, "Exif.GPSInfo.GPSImgDirection"), ""); // the photo's own is gone
    QCOMPARE(tagOf(c, "Exif.Photo.DateTimeOriginal"), "2024:03:05 14:07:09");
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
    // May not lead out of the folder, nor end the name before the number that tells photos apart.
    for (const QString &prefix : {QStringLiteral("../"), QString(1, QChar(u'\0'))}) {
        m_options.prefix = prefix;
        QVERIFY(isLeft());
    }
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

QTEST_MAIN(PhotoPipelineTest)
#include "photopipeline.moc"
