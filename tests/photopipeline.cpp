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
    void leavesPhotos_data();
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

QTEST_MAIN(PhotoPipelineTest)
#include "photopipeline.moc"
