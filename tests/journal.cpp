// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photopart.h"
#include "support/lotefixture.h"

#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

/// Work that is shared out among tasks of velmaro-lote, and tasks that go on after they were broken off.
class JournalTest : public LoteFixture
{
    Q_OBJECT

private slots:
    void init();
    void partsMakeTheWholeRun();
    void goesOnWhereItWasKilled();
    void takesBackWhatWasHalfDone();
    void refusesAnotherRun();
    void drawsTheMap();

private:
    QString results(const QString &folder) const;
    QJsonArray features(const QString &map) const;
};

namespace
{

Tags tagsAt(int degrees)
{
    Tags tags = gpsTags();
    tags["Exif.GPSInfo.GPSLatitude"] = QByteArray::number(degrees) + "/1 0/1 0/1";
    return tags;
}

const QString journalName = QStringLiteral("salida/.velmaro-diario-1-de-1");

} // namespace

// Thirty photos of as many colours, at three positions, in two folders.
void JournalTest::init()
{
    startOver();
    for (const char *folder : {"fotos/sub", "salida", "una"})
        QDir().mkpath(path(QString::fromLatin1(folder)));
    for (int i = 0; i < 30; ++i) {
        writePhoto(
            path(QStringLiteral("fotos/%1%2.JPG").arg(i % 2 ? QString() : QStringLiteral("sub/")).arg(i)),
            plainImage({64, 48}, QColor::fromHsv(i * 12, 255, 255)), tagsAt(30 + i % 3));
    }
}

// The names in a folder, hidden ones included but for journals, and the hues of the pictures. Which of two
// photos at one position gets the higher number is left to chance.
QString JournalTest::results(const QString &folder) const
{
    QStringList names;
    QList<int> hues;
    QDirIterator files(path(folder), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        if (QFileInfo(file).fileName().startsWith(QLatin1String(".velmaro-diario-")))
            continue;
        names.append(QDir(path(folder)).relativeFilePath(file));
        const QImage image(file);
        hues.append(image.isNull() ? -1 : image.pixelColor(60, 2).hsvHue() / 3);
    }
    std::sort(names.begin(), names.end());
    std::sort(hues.begin(), hues.end());
    QString text = names.join(u'\n');
    for (const int hue : std::as_const(hues))
        text += QStringLiteral(" %1").arg(hue);
    return text;
}

QJsonArray JournalTest::features(const QString &map) const
{
    return QJsonDocument::fromJson(bytesOf(path(map))).object().value(u"features").toArray();
}

void JournalTest::partsMakeTheWholeRun()
{
    // Where the output folder ignores case, these would be one file: one task has to know of both.
    for (int count = 2; count < 9; ++count) {
        for (int number = 1; number <= count; ++number) {
            const PhotoPart part{number, count};
            QCOMPARE(part.holds(QStringLiteral("Día/Ñandú.JPG")),
                     part.holds(QStringLiteral("día/ñandú.jpg")));
        }
    }

    QCOMPARE(run("fotos --subcarpetas --salida una"), 0);
    QProcess tasks[3];
    for (int i = 0; i < 3; ++i)
        start(tasks[i],
              QStringLiteral("fotos --subcarpetas --salida salida --hilos 1 --parte %1/3").arg(i + 1));
    int photos = 0;
    for (QProcess &task : tasks) {
        QVERIFY(task.waitForFinished());
        QCOMPARE(task.exitCode(), 0);
        photos += int(task.readAllStandardOutput().count("Metadatos escritos"));
    }
    QCOMPARE(photos, 30);
    QCOMPARE(results(QStringLiteral("salida")), results(QStringLiteral("una")));
}

void JournalTest::goesOnWhereItWasKilled()
{
    QCOMPARE(run("fotos --subcarpetas --salida una"), 0);
    const char *task = "fotos --subcarpetas --salida salida --hilos 2 --reanudar --geojson mapa.geojson";
    int kills = 0;
    for (int attempt = 0; attempt < 100; ++attempt) {
        QProcess process;
        start(process, QString::fromUtf8(task));
        if (process.waitForFinished(10 + 5 * attempt))
            break;
        process.kill();
        process.waitForFinished();
        ++kills;
    }
    QVERIFY(kills > 0);
    QCOMPARE(run(task), 0);
    QCOMPARE(results(QStringLiteral("salida")), results(QStringLiteral("una")));
    QCOMPARE(features(QStringLiteral("mapa.geojson")).size(), 30);

    // cut short in the last line of a photo
    QFile journal(path(journalName));
    QVERIFY(journal.resize(bytesOf(path(journalName)).lastIndexOf("\"fin\"") + 10));
    QCOMPARE(run(task), 0);
    QVERIFY2(m_output.contains(QLatin1String("\nSe procesaron 1 fotos")), qPrintable(m_output));
    QCOMPARE(results(QStringLiteral("salida")), results(QStringLiteral("una")));
    QCOMPARE(run(task), 0);
    QVERIFY2(m_output.startsWith(QLatin1String("Reanudando: 30 de 30 fotos ya estaban terminadas.\n"
                                               "Se procesaron 0 fotos")),
             qPrintable(m_output));
    QCOMPARE(features(QStringLiteral("mapa.geojson")).size(), 30);
}

// What lies in the output folder after a task was broken off, and what becomes of it.
void JournalTest::takesBackWhatWasHalfDone()
{
    const char *task = "fotos --salida salida --reanudar";
    QCOMPARE(run(task), 0);
    const QString before = results(QStringLiteral("salida"));
    const auto addToJournal = [this](const QByteArray &lines) {
        QFile journal(path(journalName));
        return journal.open(QIODevice::Append) && journal.write(lines) == lines.size();
    };
    const QByteArray first = bytesOf(path(journalName));
    const QByteArray mark =
        QJsonDocument::fromJson(first.left(first.indexOf('\n'))).object()[u"marca"].toString().toLatin1();

    // renamed, but not stamped yet
    writePhoto(path("fotos/x.jpg"), plainImage({64, 48}), tagsAt(40));
    QVERIFY(QFile::copy(path("fotos/x.jpg"), path("salida/nuevo.jpg")));
    // not renamed, since another photo has got that name
    writePhoto(path("fotos/y.jpg"), plainImage({64, 48}), tagsAt(41));
    QVERIFY(QFile::copy(path("fotos/y.jpg"), path("salida/y.jpg")));
    writeText(path("salida/otra.jpg"), "otra");
    const QByteArray lines =
        "{'inicio':'x.jpg'}\n{'foto':'x.jpg','de':'x.jpg','nombre':'nuevo.jpg'}\n"
        "{'inicio':'y.jpg'}\n{'foto':'y.jpg','de':'y.jpg','nombre':'otra.jpg'}\n{'fin':'y.j";
    QVERIFY(addToJournal(QByteArray(lines).replace('\'', '"')));
    // hidden files of the attempt before and of a task that still works
    writeText(
        path(QStringLiteral("salida/.velmaro-") + QString::fromLatin1(mark) + QStringLiteral("01234567")),
        "half");
    writeText(path("salida/.velmaro-0000000001234567"), "half");

    QCOMPARE(run(task), 0);
    QCOMPARE(bytesOf(path(journalName)).count("\n{\"fotos\":"), 1); // behind the line that was cut short
    QCOMPARE(bytesOf(path("salida/otra.jpg")), QByteArray("otra"));
    QCOMPARE(bytesOf(path("salida/.velmaro-0000000001234567")), QByteArray("half"));
    for (const char *name : {"salida/otra.jpg", "salida/.velmaro-0000000001234567",
                             "salida/19G 357730 5570912.jpg", "salida/19F 359828 5459905.jpg"})
        QVERIFY2(QFile::remove(path(QString::fromLatin1(name))),
                 qPrintable(results(QStringLiteral("salida"))));
    QCOMPARE(results(QStringLiteral("salida")), before);
}

void JournalTest::refusesAnotherRun()
{
    QCOMPARE(run("fotos --salida salida --reanudar --parte 1/2"), 0);
    const QString before = results(QStringLiteral("salida"));
    const auto refusal = [this](const char *arguments) {
        return run(arguments) == 2 ? m_errors : QStringLiteral("not refused");
    };
    QVERIFY(refusal("fotos --salida salida --reanudar --parte 1/3")
                .contains(QLatin1String("otra cantidad de partes")));
    QVERIFY(refusal("fotos --salida salida --reanudar --parte 2/2 --prefijo p")
                .contains(QLatin1String("otras opciones")));
    QVERIFY(refusal("fotos --salida salida --reanudar --parte 2/2 --calidad 50")
                .contains(QLatin1String("otras opciones")));

    const int journal = ::open(qPrintable(path("salida/.velmaro-diario-1-de-2")), O_RDWR);
    QVERIFY(::flock(journal, LOCK_EX | LOCK_NB) == 0);
    QVERIFY(refusal("fotos --salida salida --reanudar --parte 1/2").contains(QLatin1String("Otra tarea")));
    ::close(journal);
    QCOMPARE(results(QStringLiteral("salida")), before);
}

void JournalTest::drawsTheMap()
{
    QVERIFY(QDir(path("fotos/sub")).removeRecursively());
    QVERIFY(QDir(path("fotos")).removeRecursively());
    QDir().mkpath(path("fotos"));
    writePhoto(path("fotos/a.jpg"), plainImage({64, 48}), gpsTags());
    writePhoto(path("fotos/b.jpg"), plainImage({64, 48}),
               {{"Exif.Photo.DateTimeOriginal", "2024:03:05 14:07:10"}});
    writeText(path("perfil.json"), "{}");
    QCOMPARE(run("fotos --salida salida --geojson perfil.json"), 2);
    QVERIFY2(m_errors.contains(QLatin1String("no es un mapa GeoJSON")), qPrintable(m_errors));
    for (int time = 0; time < 2; ++time) {
        QCOMPARE(run("fotos --salida salida --geojson mapa.geojson --hilos 1"), 0);
        QDir(path("salida")).removeRecursively();
        QDir().mkpath(path("salida"));
    }
    QByteArray map = bytesOf(path("mapa.geojson"));
    map.replace(m_folder->path().toUtf8(), ".");
    map.replace('"', '\'');
    QCOMPARE(map,
             QByteArray("{'type':'FeatureCollection','features':[\n"
                        "{'geometry':{'coordinates':[-70.66666667,-33.45,520.25],'type':'Point'},"
                        "'properties':{'altitud':520.25,'este':345093.459,'fecha':'2024-03-05T14:07:09',"
                        "'norte':6297581.872,'orientacion':90.5,'original':'./fotos/a.jpg',"
                        "'resultado':'./salida/19G 345093 6297582.jpg','zona':'19G'},'type':'Feature'},\n"
                        "{'geometry':null,'properties':{'altitud':null,'este':null,"
                        "'fecha':'2024-03-05T14:07:10','norte':null,'orientacion':null,"
                        "'original':'./fotos/b.jpg','resultado':'./salida/19J 500000 6000000.jpg',"
                        "'zona':null},'type':'Feature'}\n"
                        "]}\n"));
}

QTEST_MAIN(JournalTest)
#include "journal.moc"
