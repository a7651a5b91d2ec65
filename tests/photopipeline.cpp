// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/batchfixture.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

/// What a run makes of the photos of a folder.
class PhotoPipelineTest : public BatchFixture
{
    Q_OBJECT

    QString m_photo;

    // Runs: the log and, last, the files that are then in the folder.
    QString told()
    {
        run();
        const QStringList files = QDir(m_root).entryList(QDir::Files | QDir::Hidden, QDir::Name);
        return (m_log + files).join(u'\n').replace(m_folder->path(), u"DIR"_s);
    }

private slots:
    void init()
    {
        startOver();
        m_photo = m_root + u"/a.b.jpg"_s;
        Tags tags = gpsTags();
        tags.insert("Exif.Image.Orientation", "6"); // fresh tags turn it
        writePhoto(m_photo, plainImage({64, 48}), tags);
    }

    void tellsEveryStep()
    {
        // In place, with everything that there is.
        const QByteArray original = bytesOf(m_photo);
        m_options.createBackup = true;
        m_options.addCompass = true;
        m_options.compassRatio = 0.3;
        QCOMPARE(told(), uR"(Dibujando rosa con orientación 90.5

Procesando: a.b.jpg
Backup creado: DIR/fotos/Backup/a_backup.jpg
Intentando leer EXIF desde (nativo original): DIR/fotos/a.b.jpg
Lat: -33.45, Lon: -70.6667, Orientación: 90.5, Altitud: 520.25
Renombrado: a.b.jpg a 19G 345093 6297582.jpg
Intentando escribir EXIF a (nativo): DIR/fotos/19G 345093 6297582.jpg
Metadatos escritos para 19G 345093 6297582.jpg
Se procesaron 1 fotos en 0s.
19G 345093 6297582.jpg)"_s);
        QCOMPARE(bytesOf(m_root + u"/Backup/a_backup.jpg"_s), original);

        // Into an output folder, with as little as possible; a broken structure is no reason to stop.
        init();
        writePhoto(m_photo, plainImage({64, 48}));
        const QByteArray damaged = bytesOf(m_photo).insert(2, "\xff\xe1\0\fExif\0\0MM\0*"_ba);
        writeText(m_photo, damaged);
        m_options.useOutputFolder = true;
        m_options.outputFolder = path(u"salida"_s);
        QDir().mkpath(m_options.outputFolder);
        writeText(path(u"salida/a.b.jpg"_s), "of an earlier run");
        m_options.renamePhotos = false;
        m_options.lossless = true;
        QCOMPARE(told(), uR"(
Procesando: a.b.jpg
Copiado a la carpeta de salida: DIR/salida/a.b.jpg
Intentando leer EXIF desde (nativo original): DIR/fotos/a.b.jpg
Error leyendo metadata original para a.b.jpg
Fecha de captura no encontrada en metadata para a.b.jpg. Usando fecha/hora actual.
Datos GPS no encontrados en EXIF para a.b.jpg. Usando coords fijas.
Intentando escribir EXIF a (nativo): DIR/salida/a.b.jpg
Metadatos escritos para a.b.jpg
Se procesaron 1 fotos en 0s.
a.b.jpg)"_s);
        QCOMPARE(bytesOf(m_photo), damaged);
        QCOMPARE(bytesOf(path(u"salida/a.b.jpg"_s)), damaged); // replaced, though nothing has changed
    }

    void takesRowsOfTheTable()
    {
        m_options.addCompass = m_options.usePrefix = true;
        m_options.prefix = u"%1_"_s;
        m_options.embedCsvInExif = true;
        writeTable("a.b.jpg;18;M;500000.4;1000000.6;145.25;2020-02-03 04:05:06;-5.25\n");
        const QRegularExpression steps(u"rosa|TXT|Renombrado"_s);
        run();
        QCOMPARE(m_log.filter(steps).join(u'\n'), uR"(Dibujando rosa con orientación 145.25
Usando datos TXT: Zona 18M, Easting: 500000, Northing: 1e+06, Orientación: 145.25, Altitud: -5.25
Usando fecha/hora del archivo TXT: 03/02/2020 04:05:06
Renombrado: a.b.jpg a %1_18M 500000 1000001.jpg
Generando nuevos metadatos EXIF desde datos TXT para %1_18M 500000 1000001.jpg)"_s);
        const auto tags = [this](const QString &name) {
            QByteArray text;
            for (const char *key :
                 {"Exif.GPSInfo.GPSImgDirection", "Exif.GPSInfo.GPSAltitude", "Exif.Photo.DateTimeOriginal"})
                text += tagOf(m_root + u'/' + name, key) + ' ';
            return text;
        };
        QCOMPARE(tags(u"%1_18M 500000 1000001.jpg"_s), "14525/100 525/100 2020:02:03 04:05:06 ");

        // What a row leaves out is not the photo's own, but for the date.
        m_options.usePrefix = false;
        writeTable("%1_18M 500000 1000001.jpg;18;€;700000;2000000;;;7\n");
        run();
        QCOMPARE(m_log.filter(steps).join(u'\n'),
                 uR"(Usando datos TXT: Zona 18, Easting: 700000, Northing: 2e+06, Altitud: 7
Renombrado: %1_18M 500000 1000001.jpg a 18 700000 2000000.jpg
Generando nuevos metadatos EXIF desde datos TXT para 18 700000 2000000.jpg)"_s);
        QCOMPARE(tags(u"18 700000 2000000.jpg"_s), " 700/100 2020:02:03 04:05:06 ");
    }

    void leavesPhotos()
    {
        const auto isLeft = [this] {
            const QByteArray original = bytesOf(m_photo);
            return told() == u"Se procesaron 1 fotos en 0s.\na.b.jpg"_s && bytesOf(m_photo) == original &&
                   m_summary.finished == 0;
        };
        m_options.usePrefix = true;
        // May not lead out of the folder, nor end the name before the number that tells photos apart.
        for (const QString &prefix : {u"../"_s, u"\0"_s}) {
            m_options.prefix = prefix;
            QVERIFY(isLeft());
        }
        m_options.renamePhotos = false;
        m_options.useOutputFolder = true;
        m_options.outputFolder = path(u"file"_s);
        writeText(m_options.outputFolder, "");
        QVERIFY(isLeft());
        m_options.useOutputFolder = false;
        m_options.useExif = false; // and no table
        QVERIFY(isLeft());
        writeTable("A.B.jpg;19;H;1;2\n");
        QVERIFY(isLeft());
    }
};

QTEST_MAIN(PhotoPipelineTest)
#include "photopipeline.moc"
