// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/lotefixture.h"

#include <QRegularExpression>
#include <QTest>

#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace
{

// Permissions do not bind the administrator, as whom tests may run, unless the capabilities to pass over them
// are dropped. The user stays, since another may not be let into the folder of the executable.
void bindToPermissions(QProcess &process)
{
    process.setChildProcessModifier([] {
        for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
            if (geteuid() == 0 && prctl(PR_CAPBSET_DROP, capability) != 0)
                _exit(99);
        }
    });
}

// Lets `process` see the folder `what` at the place `where` too. Without leave to do so it ends with 77.
void bindFolder(QProcess &process, const QString &what, const QString &where)
{
    process.setChildProcessModifier([what = QFile::encodeName(what), where = QFile::encodeName(where)] {
        if (unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(what.constData(), where.constData(), nullptr, MS_BIND, nullptr) != 0)
            _exit(77);
    });
}

// Of the first quantisation table; 16 × 50 / quality, below 50.
int firstTableEntry(const QByteArray &jpeg)
{
    return jpeg[jpeg.indexOf("\xff\xdb") + 5];
}

} // namespace

/// The program velmaro-lote, run as a process.
class VelmaroLoteTest : public LoteFixture
{
    Q_OBJECT

private slots:
    void init();
    void refuses();
    void informs();
    void startsWithTheWindowsDefaults();
    void takesProfileAndOptions();
    void worksInThreads();
    void keepsTheOriginalQuality();
    void tellsWhatWasLeft();
    void goesOnWithoutListeners();
    void knowsMountedFolders();
    void keepsToPermissions();

private:
    QStringList photos() const
    {
        return QDir(path("fotos")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
};

void VelmaroLoteTest::init()
{
    startOver();
    for (const char *folder : {"fotos/sub", "salida"})
        QDir().mkpath(path(folder));
}

void VelmaroLoteTest::refuses()
{
    writePhoto(path("fotos/a.jpg"), plainImage({16, 16}));
    writeText(path("lista.json"), "[1]");
    writeText(path("logo.json"), R"({"logoPath": "/nada/logo.png"})");
    QFile::link(path("fotos"), path("enlace"));
    const QByteArray original = contents("fotos/a.jpg");
    const QList<QPair<const char *, const char *>> cases = {
        {"--sin-logo", "Indique una carpeta"},
        {"fotos fotos", "Indique una carpeta"},
        {"''", "Seleccione un directorio de fotos válido."},
        {"nada --logo nada.png", "Seleccione un directorio de fotos válido."},
        {"fotos --logo nada.png --coordenadas nada.csv", "Seleccione un archivo de logo válido."},
        {"fotos --logo fotos", "Seleccione un archivo de logo válido."},
        {"fotos --perfil logo.json", "Seleccione un archivo de logo válido."},
        {"fotos --coordenadas nada.csv --salida nada",
         "Seleccione un archivo txt válido (o cambie el modo a EXIF)."},
        {"fotos --salida nada", "Seleccione una carpeta de salida válida."},
        {"fotos --perfil nada.json", "No se pudo leer el perfil"},
        {"fotos --perfil lista.json", "No se pudo leer el perfil"},
        {"fotos --nada", "nada"},
        {"fotos --calidad 101", "La calidad debe ser"},
        {"fotos --calidad 0", "La calidad debe ser"},
        {"fotos --calidad alta", "La calidad debe ser"},
        {"fotos --hilos 0", "Los hilos deben ser"},
        {"fotos --salida . --parte 3/2", "forma K/N"},
        {"fotos --parte 1/2", "--parte solo se puede usar con --salida."},
        {"fotos --reanudar", "--reanudar solo se puede usar con --salida."},
        {"fotos --parte 1/2 --salida enlace", "fuera de la carpeta de fotos"},
        {"fotos --reanudar --subcarpetas --salida .", "fuera de la carpeta de salida"},
        {"fotos --geojson logo.json", "no es un mapa GeoJSON"},
        {"fotos --geojson nada/mapa.geojson", "el mapa GeoJSON"},
    };
    for (const auto &[arguments, message] : cases) {
        QCOMPARE(run(arguments), 2);
        QVERIFY2(m_errors.contains(QString::fromUtf8(message)), qPrintable(m_errors));
        QCOMPARE(m_output, QString());
        QCOMPARE(photos().join(u' ').toUtf8(), "a.jpg sub");
        QCOMPARE(contents("fotos/a.jpg"), original);
    }
}

// The help, the manual page and the completion know the same options.
void VelmaroLoteTest::informs()
{
    static const QRegularExpression form(QStringLiteral("--[a-z]+(-[a-z]+)*( <)?"));
    const auto optionsIn = [](const QString &text, const QString &end) {
        QSet<QString> options;
        for (auto match = form.globalMatch(text); match.hasNext();) {
            if (const QString option = match.next().captured(); option.endsWith(end))
                options.insert(option.section(u' ', 0, 0));
        }
        return options;
    };
    const auto sourceOf = [](const char *file) {
        return QString::fromUtf8(
            bytesOf(QStringLiteral(VELMARO_SOURCES "/packaging/") + QString::fromUtf8(file)));
    };
    QCOMPARE(run("--help"), 0);
    const QSet<QString> options = optionsIn(m_output, {});
    QVERIFY(options.size() > 10);
    QCOMPARE(optionsIn(sourceOf("man/velmaro-lote.1.in").remove(u'\\'), {}), options);
    for (const QString &option : optionsIn(m_output, QStringLiteral("<")))
        QVERIFY2(sourceOf("velmaro-lote.bash").contains(QRegularExpression(option + QStringLiteral("\\b"))),
                 qPrintable(option));
    QCOMPARE(run("--version"), 0);
    QVERIFY(m_output.startsWith(QLatin1String("velmaro-lote ")));
}

void VelmaroLoteTest::startsWithTheWindowsDefaults()
{
    writePhoto(path("fotos/a.jpg"), plainImage({800, 600}, Qt::black), gpsTags());
    writePhoto(path("fotos/sub/b.jpg"), plainImage({80, 60}));
    QCOMPARE(run("fotos"), 0);
    QCOMPARE(photos(), QStringList({QStringLiteral("19G 345093 6297582.jpg"), QStringLiteral("Backup"),
                                    QStringLiteral("sub")}));
    QVERIFY(
        m_output.startsWith(QStringLiteral("Dibujando rosa con orientación 90.5\n\nProcesando: a.jpg\n")));
    QVERIFY(m_output.endsWith(QLatin1String("Se procesaron 1 fotos en 0s.\n")));
    const QImage image(path("fotos/19G 345093 6297582.jpg"));
    QVERIFY(image.pixelColor(780, 580).lightness() > 60); // the box of the text, bottom right
    QVERIFY(image.pixelColor(20, 540).lightness() > 60);  // the disc of the rose, bottom left
    QVERIFY(image.pixelColor(30, 30).lightness() < 10);   // no logo
}

void VelmaroLoteTest::takesProfileAndOptions()
{
    writePhoto(path("fotos/sub/á b.jpg"), plainImage({800, 600}, Qt::black), gpsTags());
    writePhoto(path("logo.png"), plainImage({50, 50}, Qt::red));
    writeText(path("tabla.csv"), "á b.jpg;19;H;300000;6000000;270;;10\n");
    writeText(path("perfil.json"),
              R"({"drawData": false, "compassRatio": 9, "compassStyle": 9, "logoRatio": 0.1,
                                       "logoPosition": "arriba-derecha"})");
    QDir().mkpath(path("Velmaro"));
    writeText(path("Velmaro/Velmaro.conf"), "[output]\njpegQuality=40\n");
    QCOMPARE(run("--perfil perfil.json --coordenadas tabla.csv --logo logo.png --salida salida --subcarpetas "
                 "--prefijo P- --calidad 32 fotos"),
             0);
    const QString result = path("salida/sub/P-19H 300000 6000000.jpg");
    const QImage image(result);
    QVERIFY(image.pixelColor(750, 50).red() > 200);       // the logo, top right
    QVERIFY(image.pixelColor(780, 580).lightness() < 10); // no text
    QCOMPARE(tagOf(result, "Exif.GPSInfo.GPSAltitude"), "1000/100");
    QCOMPARE(firstTableEntry(bytesOf(result)), 25);
    QCOMPARE(photos(), QStringList(QStringLiteral("sub")));

    QCOMPARE(run("--perfil perfil.json --coordenadas tabla.csv --logo logo.png --salida salida --subcarpetas "
                 "--sin-renombrar --sin-incrustar --sin-logo fotos"),
             0);
    const QString unnamed = path("salida/sub/á b.jpg");
    QCOMPARE(tagOf(unnamed, "Exif.GPSInfo.GPSAltitude"), "52025/100");
    QVERIFY(QImage(unnamed).pixelColor(750, 50).lightness() < 10);
    QCOMPARE(firstTableEntry(bytesOf(unnamed)), 20); // the stored quality
}

void VelmaroLoteTest::worksInThreads()
{
    for (int i = 0; i < 40; ++i)
        writePhoto(path(QStringLiteral("fotos/%1.jpg").arg(i)), plainImage({1200, 900}));
    qsizetype threads[2] = {0, 0};
    QByteArray errors;
    for (const bool many : {false, true}) {
        QProcess process;
        start(process, QStringLiteral("fotos --sin-respaldo --hilos ") +
                           (many ? QStringLiteral("16") : QStringLiteral("1")));
        while (!process.waitForFinished(5)) {
            const QDir tasks(QStringLiteral("/proc/%1/task").arg(process.processId()));
            threads[many] = qMax(threads[many], tasks.entryList().size());
        }
        errors = process.readAllStandardError();
    }
    QCOMPARE(errors.count("Progreso"), 10);
    QVERIFY2(threads[1] - threads[0] > 8, qPrintable(QString::number(threads[1])));
}

// A JPEG keeps its tables, another format says that it could not.
void VelmaroLoteTest::keepsTheOriginalQuality()
{
    const QString jpeg = path("fotos/a.jpg");
    writePhoto(jpeg, plainImage({800, 600}), gpsTags());
    writePhoto(path("fotos/b.png"), plainImage({800, 600}));
    const auto tablesOf = [](const QByteArray &file) {
        return file.mid(file.lastIndexOf("\xff\xdb") - 69, 138);
    };
    const QByteArray tables = tablesOf(bytesOf(jpeg));
    QCOMPARE(run("fotos --calidad original"), 0);
    const QString result = path("fotos/19G 345093 6297582.jpg");
    QCOMPARE(tablesOf(bytesOf(result)), tables);
    QVERIFY(QImage(result).pixelColor(780, 580) !=
            plainImage({1, 1}).pixelColor(0, 0)); // the box of the text
    const QString line = QStringLiteral("No se pudo dejar intacto lo que rodea al sello en ");
    QVERIFY(m_output.contains(line + QStringLiteral("19J 500000 6000000.jpg: se guarda con calidad 100.")));
    QCOMPARE(m_output.count(line), 1);
}

void VelmaroLoteTest::tellsWhatWasLeft()
{
    writePhoto(path("fotos/a.jpg"), plainImage({16, 16}));
    writeText(path("fotos/Backup"), "no folder");
    QCOMPARE(run("fotos --sin-renombrar"), 1); // for want of the copy alone
    QFile::copy(path("fotos/a.jpg"), path("c"));
    const QByteArray unreadable = QFile::encodeName(path("fotos")) + QByteArray("/\xf1.jpg");
    QCOMPARE(rename(QFile::encodeName(path("c")).constData(), unreadable.constData()), 0);
    QCOMPARE(run("fotos --salida salida"), 1); // for the photo that was passed over
    writeText(path("fotos/sub/b.jpg"), "no image");
    QCOMPARE(run("fotos --subcarpetas"), 1);
    QCOMPARE(m_errors.remove(m_folder->path() + u'/'),
             QStringLiteral(
                 "Progreso: 1/2\n"
                 "Se pasó por alto, porque su nombre no es UTF-8: fotos/\ufffd.jpg\n"
                 "Sin terminar: fotos/sub/b.jpg (ahora fotos/sub/19J 500000 6000000.jpg): Error al abrir "
                 "la imagen: fotos/sub/19J 500000 6000000.jpg\n"
                 "No se pudo guardar la copia original de 2 fotos.\n"
                 "Quedaron sin terminar 1 de 2 fotos.\n"));
}

// Neither a reader of the log who goes away nor closed streams stop a run, or get into its files.
void VelmaroLoteTest::goesOnWithoutListeners()
{
    constexpr int count = 30;
    for (const char *way : {"| head -1", ">&-", "2>&- >&- <&-", "2>&1 | true", "> /dev/full"}) {
        startOver();
        QDir().mkpath(path("fotos"));
        for (int i = 0; i < count; ++i)
            writePhoto(path(QStringLiteral("fotos/%1.jpg").arg(i)), plainImage({64, 48}), gpsTags());
        QProcess shell;
        shell.start(QStringLiteral("bash"),
                    {QStringLiteral("-c"),
                     QStringLiteral("'%1' '%2' --sin-respaldo %3; exit ${PIPESTATUS[0]}")
                         .arg(QStringLiteral(VELMARO_LOTE), path("fotos"), QLatin1String(way))});
        QVERIFY(shell.waitForFinished());
        const bool full = QByteArray(way) == "> /dev/full";
        QCOMPARE(shell.exitCode(), full ? 1 : 0);
        QCOMPARE(shell.readAllStandardError().contains(
                     "No se pudo escribir el registro: no queda espacio en el disco\n"),
                 full);
        QCOMPARE(photos().filter(QStringLiteral("19G")).size(), count);
        for (const QString &name : photos()) {
            const QByteArray photo = bytesOf(path("fotos/") + name);
            QVERIFY2(photo.startsWith("\xff\xd8") && photo.endsWith("\xff\xd9"), way);
        }
    }
}

// The folder of the photos, or one below, mounted at another place.
void VelmaroLoteTest::knowsMountedFolders()
{
    writePhoto(path("fotos/a.jpg"), plainImage({48, 16}), gpsTags());
    writePhoto(path("fotos/sub/a.jpg"), plainImage({80, 16}), gpsTags());
    const QByteArrayList before{contents("fotos/a.jpg"), contents("fotos/sub/a.jpg")};
    for (const char *mounted : {"fotos", "fotos/sub"}) {
        QProcess process;
        bindFolder(process, path(mounted), path("salida"));
        start(process, QStringLiteral("fotos --salida salida --subcarpetas --sin-renombrar"));
        const int status = finish(process);
        if (status == 77)
            QSKIP("mounting is not allowed here");
        QCOMPARE(status, 1);
        QCOMPARE(QByteArrayList({contents("fotos/a.jpg"), contents("fotos/sub/a.jpg")}), before);
    }
}

// Of a write-protected photo, or one in a write-protected folder as on a memory card, only copies are
// stamped.
void VelmaroLoteTest::keepsToPermissions()
{
    writePhoto(path("fotos/a.jpg"), plainImage({16, 16}));
    const QByteArray original = contents("fotos/a.jpg");
    QFile::setPermissions(path("fotos/a.jpg"), QFile::Permissions(0x4444));
    for (const char *open : {"", "salida"})
        QFile::setPermissions(path(open), QFile::Permissions(0x7777));
    const QList<QPair<int, const char *>> cases = {{0x7777, "fotos --sin-renombrar --sin-respaldo"},
                                                   {0x5555, "fotos --sin-renombrar --sin-respaldo"},
                                                   {0x5555, "fotos --salida salida"}};
    for (const auto &[permissions, arguments] : cases) {
        QFile::setPermissions(path("fotos"), QFile::Permissions(permissions));
        QProcess process;
        bindToPermissions(process);
        start(process, QString::fromUtf8(arguments));
        const bool copies = QByteArray(arguments).contains("salida");
        QCOMPARE(finish(process), copies ? 0 : 1);
        QCOMPARE(m_output.contains(QLatin1String("Error guardando la imagen: permiso denegado")), !copies);
        QCOMPARE(contents("fotos/a.jpg"), original);
        QCOMPARE(photos().join(u' ').toUtf8(), "a.jpg sub");
        QCOMPARE(QFile::exists(path("salida/19J 500000 6000000.jpg")), copies);
    }
    QFile::setPermissions(path("fotos"), QFile::Permissions(0x7777));
}

QTEST_MAIN(VelmaroLoteTest)
#include "velmarolote.moc"
