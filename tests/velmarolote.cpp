// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photopart.h"
#include "support/batchfixture.h"

#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <unistd.h>

using namespace Qt::StringLiterals;

/// The program velmaro-lote, run as a process, with settings of its own, in a folder that paths are relative
/// to.
class VelmaroLoteTest : public BatchFixture
{
    Q_OBJECT

    QByteArray m_output; ///< of the last run

    QByteArray contents(const QByteArray &name) const { return bytesOf(path(name)); }

    // The exit status, and what else but the progress stands on standard error. `before` is what stands
    // before the program in the command line of the shell.
    QByteArray run(const QByteArray &arguments, const QByteArray &before = {})
    {
        static const QRegularExpression progress(u"Progreso: .*\n"_s);
        qputenv("XDG_CONFIG_HOME", m_folder->path().toUtf8());
        QProcess bash;
        bash.setWorkingDirectory(m_folder->path());
        const QByteArray command = "set -o pipefail; " + before + " " VELMARO_LOTE " " + arguments;
        bash.start(u"bash"_s, {u"-c"_s, QString::fromUtf8(command)});
        bash.waitForFinished(-1);
        m_output = bash.readAllStandardOutput().replace(m_folder->path().toUtf8(), ".");
        QString errors = QString::fromUtf8(bash.readAllStandardError()).replace(m_folder->path(), u"."_s);
        return QByteArray::number(bash.exitCode()) + ' ' + errors.remove(progress).trimmed().toUtf8();
    }

    // A small photo of one colour.
    void paint(const QByteArray &name, int hue, const Tags &tags = gpsTags())
    {
        writePhoto(photo(name), plainImage({64, 48}, QColor::fromHsv(hue, 255, 255)), tags);
    }

    // Thirty of as many colours, at three positions, in two folders, and their results in "una".
    void thirtyPhotos()
    {
        for (int i = 0; i < 30; ++i) {
            Tags tags = gpsTags();
            tags["Exif.GPSInfo.GPSLatitude"] = QByteArray::number(30 + i % 3) + "/1 0/1 0/1";
            paint((i % 2 ? "" : "sub/") + QByteArray::number(i) + ".JPG", i * 12, tags);
        }
        QCOMPARE(run("fotos --subcarpetas --salida una"), "0 ");
    }

    // The files below a folder, hidden ones included but for journals, and the hues of the pictures that end
    // as they should. Which of two photos at one position gets the higher number is left to chance.
    QByteArray results(const QByteArray &folder) const
    {
        QStringList found;
        QDirIterator files(path(folder), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QByteArray bytes = bytesOf(files.next());
            if (!files.fileName().startsWith(u".velmaro-diario-"))
                found.append(QDir(path(folder)).relativeFilePath(files.filePath()));
            if (bytes.endsWith("\xff\xd9"))
                found.append(u"~%1"_s.arg(QImage(files.filePath()).pixelColor(60, 2).hsvHue() / 3));
        }
        found.sort();
        return found.join(u' ').toUtf8();
    }

    // What is drawn on a black photo of 800 × 600, the first entry of its quantisation table, and its
    // altitude.
    QByteArray looks(const QByteArray &name) const
    {
        const QImage image(path(name));
        const QByteArray bytes = contents(name);
        const auto light = [&](int x, int y) {
            return image.pixelColor(x, y).lightness() > 60;
        };
        return QByteArray(light(780, 580) ? "text " : "") + (light(20, 540) ? "rose " : "") +
               (light(750, 50) ? "logo " : "") + QByteArray::number(bytes[bytes.indexOf("\xff\xdb") + 5]) +
               ' ' + tagOf(path(name), "Exif.GPSInfo.GPSAltitude");
    }

private slots:
    void init()
    {
        startOver();
        for (const char *folder : {"fotos/sub", "salida", "una"})
            QDir().mkpath(path(folder));
    }

    void refuses()
    {
        paint("a.jpg", 0);
        writeText(path("lista.json"), "[1]");
        writeText(path("logo.json"), R"({"logoPath": "/nada/logo.png"})");
        QFile::link(path("fotos"), path("enlace"));
        const QList<QPair<const char *, QByteArray>> cases = {
            // what is said, and to which arguments
            {"Indique una carpeta de fotos. Con --help se muestra la ayuda.", "--sin-logo|fotos fotos"},
            {"Seleccione un directorio de fotos válido.", "''|nada --logo nada.png"},
            {"Seleccione un archivo de logo válido.",
             "fotos --logo nada.png --coordenadas nada.csv|fotos --logo fotos|fotos --perfil logo.json"},
            {"Seleccione un archivo txt válido (o cambie el modo a EXIF).",
             "fotos --coordenadas nada.csv --salida nada"},
            {"Seleccione una carpeta de salida válida.", "fotos --salida nada"},
            {"No se pudo leer el perfil: nada.json", "fotos --perfil nada.json"},
            {"No se pudo leer el perfil: lista.json", "fotos --perfil lista.json"},
            {"La calidad debe ser un número entero de 1 a 100, u «original».",
             "fotos --calidad 101|fotos --calidad 0|fotos --calidad alta"},
            {"Los hilos deben ser un número entero de 1 en adelante.", "fotos --hilos 0"},
            {"La parte debe tener la forma K/N, con K de 1 a N.",
             "fotos --salida . --parte 3/2|fotos --salida . --parte 0/2|fotos --salida . --parte 1"},
            {"--parte solo se puede usar con --salida.", "fotos --parte 1/2"},
            {"--reanudar solo se puede usar con --salida.", "fotos --reanudar"},
            {"--parte necesita una carpeta de salida fuera de la carpeta de fotos.",
             "fotos --parte 1/2 --salida enlace|fotos --parte 1/2 --salida fotos/sub"},
            {"--reanudar con --subcarpetas necesita una carpeta de fotos fuera de la carpeta de salida.",
             "fotos --reanudar --subcarpetas --salida ."},
            {"El archivo existe y no es un mapa GeoJSON; no se reemplaza: logo.json",
             "fotos --geojson logo.json"},
            {"No se puede escribir el mapa GeoJSON en: nada/mapa", "fotos --geojson nada/mapa"},
        };
        for (const auto &[message, arguments] : cases) {
            for (const QByteArray &line : arguments.split('|'))
                QCOMPARE(run(line) + m_output, QByteArray("2 ") + message);
        }
        QVERIFY(run("fotos --nada").startsWith("2 "));
        QCOMPARE(run("fotos/sub --reanudar --salida fotos"), "0 "); // where no task looks for photos
        QCOMPARE(results("fotos"), "a.jpg ~0");
    }

    // The manual page knows the options that the help knows.
    void informs()
    {
        QCOMPARE(run("--help | options | diff - <(tr -d '\\\\' < $manual | options)",
                     "options() { grep -oE -- '--[a-z]+(-[a-z]+)*' | sort -u; };"
                     "manual='" VELMARO_SOURCES "/packaging/man/velmaro-lote.1.in';") +
                     m_output,
                 "0 ");
        QCOMPARE(run("--version") + m_output, "0 velmaro-lote " VELMARO_VERSION "\n");
    }

    void stampsWhatItIsAskedFor()
    {
        const QString photo = path("fotos/sub/á b.jpg");
        writePhoto(photo, plainImage({800, 600}, Qt::black), gpsTags());
        QFile::copy(photo, path("fotos/a.jpg"));
        writePhoto(path("logo.png"), plainImage({50, 50}, Qt::red));
        writeText(path("tabla.csv"), "á b.jpg;19;H;300000;6000000;270;;10\n");
        writeText(path("perfil.json"), R"({"logoRatio": 0.1, "logoPosition": "arriba-derecha",
            "drawData": false, "compassRatio": 9, "compassStyle": 9})");
        QCOMPARE(run("fotos"), "0 ");
        QCOMPARE(looks("fotos/19G 345093 6297582.jpg"), "text rose 3 52025/100");
        QVERIFY(m_output.startsWith("Dibujando rosa con orientación 90.5\n\nProcesando: a.jpg\n"));
        QVERIFY(m_output.endsWith("\nSe procesaron 1 fotos en 0s.\n"));

        QDir().mkpath(path("Velmaro"));
        writeText(path("Velmaro/Velmaro.conf"), "[output]\njpegQuality=40\n");
        const QByteArray options =
            "--perfil perfil.json --coordenadas tabla.csv --logo logo.png --salida salida "
            "--subcarpetas fotos/sub ";
        QCOMPARE(run(options + "--prefijo P- --calidad 32"), "0 ");
        QCOMPARE(looks("salida/P-19H 300000 6000000.jpg"), "logo 25 1000/100");
        QCOMPARE(run(options + "--sin-renombrar --sin-incrustar --sin-logo"), "0 ");
        QCOMPARE(looks("salida/á b.jpg"), "20 52025/100");

        // A JPEG keeps what surrounds the stamp, another format says that it could not.
        writePhoto(path("fotos/sub/b.png"), plainImage({800, 600}));
        QCOMPARE(run("fotos/sub --calidad original"), "0 ");
        QVERIFY(
            m_output.contains("\nNo se pudo dejar intacto lo que rodea al sello en 19J 500000 6000000.jpg: "
                              "se guarda con calidad 100.\n"));
    }

    void worksInThreadsAndTellsHowFarItIs()
    {
        for (int i = 0; i < 40; ++i)
            writePhoto(path("fotos/" + QByteArray::number(i) + ".jpg"), plainImage({1200, 900}));
        run("fotos --sin-respaldo --hilos 16 > registro 2> progreso & "
            "while ls /proc/$!/task | wc -l | grep -v '^0'; do sleep 0.01; done | sort -n | tail -1");
        QVERIFY2(m_output.toInt() > 16, m_output.constData());
        QCOMPARE(contents("progreso").count("Progreso"), 10);
        paint("sub/a.jpg", 0);
        run("fotos/sub' /dev/null", "script -qec '"); // on a terminal
        m_output.replace(QByteArray(40, '.'), "...").replace(QByteArray(40, '#'), "###");
        QVERIFY2(m_output.startsWith("\r[...] 0/1\r\x1b[KDibujando rosa con orientación 90.5\r\n\r[###] 1/1"
                                     "\r\x1b[K\r\nProcesando: a.jpg"),
                 m_output.constData());
    }

    void tellsWhatWasLeft()
    {
        paint("a.jpg", 0);
        writeText(path("fotos/Backup"), "no folder");
        QCOMPARE(run("fotos --sin-renombrar"), "1 No se pudo guardar la copia original de 1 fotos.");
        const QByteArray passedOver = "1 Se pasó por alto, porque su nombre no es UTF-8: ./fotos/\ufffd.jpg";
        QCOMPARE(run("fotos --salida salida", "cp fotos/a.jpg fotos/$'\\xf1.jpg';"), passedOver);
        writeText(path("fotos/sub/b.jpg"), "no image");
        QCOMPARE(run("fotos --subcarpetas; status=$?; rm fotos/$'\\xf1.jpg'; exit $status"),
                 passedOver + "\nSin terminar: ./fotos/sub/b.jpg (ahora ./fotos/sub/19J 500000 6000000.jpg): "
                              "Error al abrir la imagen: ./fotos/sub/19J 500000 6000000.jpg\n"
                              "No se pudo guardar la copia original de 2 fotos.\n"
                              "Quedaron sin terminar 1 de 2 fotos.");
    }

    // Of a write-protected photo, or one in a write-protected folder as on a memory card, only copies are
    // stamped. The administrator, as whom tests may run, is bound to permissions like others.
    void keepsToPermissions()
    {
        const QByteArray bound =
            geteuid() == 0 ? "setpriv --bounding-set=-dac_override,-dac_read_search" : "";
        const QByteArray inPlace = "fotos --sin-renombrar --sin-respaldo";
        paint("a.jpg", 90);
        const QByteArray original = contents("fotos/a.jpg");
        const QByteArray refused =
            "1 Sin terminar: ./fotos/a.jpg: Error escribiendo metadatos en a.jpg: permiso denegado\n"
            "Quedaron sin terminar 1 de 1 fotos.";
        QCOMPARE(run(inPlace, "chmod a-w fotos/a.jpg; " + bound), refused);
        QCOMPARE(run(inPlace, "chmod a-w fotos; " + bound), refused);
        QCOMPARE(run("fotos --salida salida; status=$?; chmod 755 fotos salida; exit $status",
                     "chmod u-r salida; " + bound),
                 "1 No se pudo asegurar en el disco la carpeta de salida: permiso denegado");
        QCOMPARE(results("fotos"), "a.jpg ~29");
        QCOMPARE(results("salida"), "19G 345093 6297582.jpg ~29");
        QVERIFY(run("fotos --salida salida --sin-renombrar",
                    "touch salida/a.jpg; chmod a-w salida/a.jpg; " + bound)
                    .endsWith("salida/a.jpg: permiso denegado\nQuedaron sin terminar 1 de 1 fotos."));
        QCOMPARE(contents("fotos/a.jpg"), original);
    }

    void makesTheSameInPartsAndWithoutListeners()
    {
        thirtyPhotos();
        QCOMPARE(run("fotos --subcarpetas --salida salida --hilos 1 --parte $number/3 & done; wait",
                     "for number in 1 2 3; do"),
                 "0 ");
        QCOMPARE(m_output.count("Metadatos escritos"), 30);
        QCOMPARE(results("salida"), results("una"));
        // Neither a reader of the log who goes away nor closed streams stop a run, or get into its files.
        for (const QByteArray way : {"| head -1", ">&-", "2>&- >&- <&-", "2>&1 | true", "> /dev/full"}) {
            const char *full = "1 No se pudo escribir el registro: no queda espacio en el disco";
            QCOMPARE(run("fotos --subcarpetas --salida salida " + way, "rm -rf salida/*;"),
                     way == "> /dev/full" ? full : "0 ");
            QCOMPARE(results("salida"), results("una"));
        }

        // Where the output folder ignores case, these would be one file: one task has to know of both.
        for (int count = 2; count < 9; ++count)
            QCOMPARE(PhotoPart({1, count}).holds(u"Día/Ñandú.JPG"_s),
                     PhotoPart({1, count}).holds(u"día/ñandú.jpg"_s));
        // The name of a photo is kept for its copy, which another task will bring.
        init();
        paint("b.jpg", 30);
        paint("19G 345093 6297582.jpg", 60);
        QCOMPARE(run("fotos --salida salida --parte 2/2; " VELMARO_LOTE " fotos --salida salida --parte 1/2"),
                 "0 ");
        QCOMPARE(results("salida"), "19G 345093 6297582 (1).jpg 19G 345093 6297582 (2).jpg ~19 ~9");
    }

    void goesOnWhereItWasKilled()
    {
        thirtyPhotos();
        const QByteArray task = "fotos --subcarpetas --salida salida --hilos 2 --reanudar --geojson mapa";
        QVERIFY(run(task, "ulimit -f 5;")
                    .endsWith("No se pudo escribir el diario: el archivo es demasiado grande"));
        int kills = 0;
        while (kills < 50 && run(task, "timeout -s KILL " + QByteArray::number(0.01 * (kills + 1))) != "0 ")
            ++kills;
        QVERIFY(kills > 0);
        // cut short in the last line of a photo
        QFile journal(path("salida/.velmaro-diario-1-de-1"));
        QVERIFY(journal.resize(bytesOf(journal.fileName()).lastIndexOf("\"fin\"") + 10));
        QCOMPARE(run(task), "0 ");
        QVERIFY2(m_output.contains("\nSe procesaron 1 fotos"), m_output.constData());
        QCOMPARE(results("salida"), results("una"));
        QCOMPARE(run(task) + m_output,
                 "0 Reanudando: 30 de 30 fotos ya estaban terminadas.\nSe procesaron 0 fotos en 0s.\n");
        QCOMPARE(contents("mapa").count("\"Feature\""), 30);
    }

    // What lies in the output folder after a task was broken off, and what becomes of it.
    void takesBackWhatWasHalfDone()
    {
        const QByteArray task = "fotos --salida salida --reanudar";
        paint("a.jpg", 90);
        QCOMPARE(run(task), "0 ");
        paint("19G 345093 6297582.jpg", 120, {}); // new, and called like that result
        paint("x.jpg", 30);
        paint("y.jpg", 60, {});
        // x was renamed, but not stamped yet; y was not renamed, since another photo has got that name; z,
        // which is no photo any more, bears both names, as on NFS. There are hidden files of the attempt
        // before and of a task that still works. The last line was cut short.
        const QByteArray brokenOff = R"(
            cp fotos/x.jpg salida/nuevo.jpg
            cp fotos/y.jpg salida
            cp fotos/a.jpg salida/z.jpg
            ln salida/z.jpg salida/dos.jpg
            touch salida/otra.jpg salida/.velmaro-0000000001234567
            touch salida/.velmaro-$(grep -Pom 1 'marca...\K\w+' salida/.velmaro-diario*)01234567
            tr -d '\n ' << END | tr \'\; '\042\n' >> salida/.velmaro-diario-1-de-1
                {'inicio':'x.jpg'}; {'foto':'x.jpg','de':'x.jpg','nombre':'nuevo.jpg'};
                {'inicio':'y.jpg'}; {'foto':'y.jpg','de':'y.jpg','nombre':'otra.jpg'};
                {'foto':'z.jpg','de':'z.jpg','nombre':'dos.jpg'}; {'fin':'y.j
END
            )";
        QCOMPARE(run(task, brokenOff), "0 ");
        // none of them behind the line that was cut short
        QCOMPARE(contents("salida/.velmaro-diario-1-de-1").count("\n{\"inicio\":"), 9);
        QCOMPARE(results("salida"),
                 ".velmaro-0000000001234567 19G 345093 6297582 (1).jpg 19G 345093 6297582.jpg "
                 "19J 500000 6000000 (1).jpg 19J 500000 6000000.jpg otra.jpg z.jpg ~19 ~29 ~29 ~40 ~9");
    }

    void refusesAnotherRun()
    {
        const QByteArray task = "--salida salida --reanudar --parte 1/2 fotos";
        QCOMPARE(run(task), "0 ");
        QCOMPARE(run(task, "flock -s salida/.velmaro-diario-1-de-2"),
                 "2 Otra tarea trabaja ya en esta parte: ./salida/.velmaro-diario-1-de-2");
        for (const QByteArray other : {" --parte 1/3", " --parte 2/2 --prefijo p", " --calidad 50", "/sub",
                                       " --coordenadas salida/.velmaro-diario-1-de-2", " --sin-incrustar"}) {
            const QByteArray reason = other == " --parte 1/3"
                                          ? "se repartió en otra cantidad de partes"
                                          : "es de otra carpeta de fotos o de otras opciones";
            QCOMPARE(run(task + other).split(')').first(), // advice follows
                     "2 El trabajo en esta carpeta de salida " + reason + " (.velmaro-diario-1-de-2");
        }
    }

    void drawsTheMap()
    {
        paint("a.jpg", 0);
        paint("b.jpg", 0, {{"Exif.Photo.DateTimeOriginal", "2024:03:05 14:07:10"}});
        QCOMPARE(run("fotos --salida salida --geojson mapa --hilos 1"), "0 ");
        QCOMPARE(contents("mapa").replace(m_folder->path().toUtf8(), ".").replace('"', '\''),
                 "{'type':'FeatureCollection','features':[\n"
                 "{'geometry':{'coordinates':[-70.66666667,-33.45,520.25],'type':'Point'},"
                 "'properties':{'altitud':520.25,'este':345093.459,'fecha':'2024-03-05T14:07:09',"
                 "'norte':6297581.872,'orientacion':90.5,'original':'./fotos/a.jpg',"
                 "'resultado':'./salida/19G 345093 6297582.jpg','zona':'19G'},'type':'Feature'},\n"
                 "{'geometry':null,'properties':{'altitud':null,'este':null,"
                 "'fecha':'2024-03-05T14:07:10','norte':null,'orientacion':null,"
                 "'original':'./fotos/b.jpg','resultado':'./salida/19J 500000 6000000.jpg',"
                 "'zona':null},'type':'Feature'}\n"
                 "]}\n");
    }
};

QTEST_MAIN(VelmaroLoteTest)
#include "velmarolote.moc"
