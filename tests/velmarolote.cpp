// SPDX-License-Identifier: GPL-3.0-or-later
#include "photofiles.h"

#include <QDir>
#include <QImageReader>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <unistd.h>

#ifdef Q_OS_LINUX
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#endif

namespace
{

// Permissions do not bind the administrator, as whom tests may run, unless the capabilities to pass over them
// are dropped. The user stays, since another may not be let into the folder of the executable.
void bindToPermissions(QProcess &process)
{
    process.setChildProcessModifier([] {
#ifdef Q_OS_LINUX
        for (const int capability : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH}) {
            if (geteuid() == 0 && prctl(PR_CAPBSET_DROP, capability) != 0)
                _exit(99);
        }
#endif
    });
}

// Lets `process` see the folder `what` at the place `where` too. Without leave to do so it ends with 77.
void bindFolder([[maybe_unused]] QProcess &process, [[maybe_unused]] const QString &what,
                [[maybe_unused]] const QString &where)
{
#ifdef Q_OS_LINUX
    process.setChildProcessModifier([what = QFile::encodeName(what), where = QFile::encodeName(where)] {
        if (unshare(geteuid() == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount(what.constData(), where.constData(), nullptr, MS_BIND, nullptr) != 0)
            _exit(77);
    });
#endif
}

} // namespace

/// The program velmaro-lote, run as a process.
class VelmaroLoteTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void refuses_data();
    void refuses();
    void informs();
    void startsWithTheWindowsDefaults();
    void takesProfileAndOptions();
    void keepsTheOriginalQuality();
    void tellsWhatWasLeft();
    void goesOnWithoutListeners();
    void knowsMountedFolders();
    void leavesReadOnlyPhotosWhole_data();
    void leavesReadOnlyPhotosWhole();
    void stampsCopiesOfReadOnlyPhotos();
    void survivesKills();

private:
    QString path(const char *name) const { return m_folder->filePath(QString::fromUtf8(name)); }
    QString photos() const { return path("fotos"); }
    void start(QProcess &process, const QStringList &arguments) const;
    int run(const QStringList &arguments);

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_output;
    QString m_errors;
};

void VelmaroLoteTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QDir().mkpath(photos());
}

void VelmaroLoteTest::start(QProcess &process, const QStringList &arguments) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_folder->path());
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VELMARO_LOTE), arguments);
}

int VelmaroLoteTest::run(const QStringList &arguments)
{
    QProcess process;
    start(process, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return -1;
    m_output = QString::fromUtf8(process.readAllStandardOutput());
    m_errors = QString::fromUtf8(process.readAllStandardError());
    return process.exitCode();
}

void VelmaroLoteTest::refuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const auto rows = [](const char *name, const QString &arguments, const QString &message) {
        QTest::newRow(name) << arguments.split(u'|') << message;
    };
    const QString logo = QStringLiteral("Seleccione un archivo de logo válido.");
    rows("no folder", QStringLiteral("--sin-logo"), QStringLiteral("Indique una carpeta"));
    rows("two folders", QStringLiteral("fotos|fotos"), QStringLiteral("Indique una carpeta"));
    rows("empty folder", QString(), QStringLiteral("Seleccione un directorio de fotos válido."));
    rows("missing folder", QStringLiteral("nada|--logo|nada.png"),
         QStringLiteral("Seleccione un directorio de fotos"));
    rows("missing logo", QStringLiteral("fotos|--logo|nada.png|--coordenadas|nada.csv"), logo);
    rows("folder as logo", QStringLiteral("fotos|--logo|fotos"), logo);
    rows("missing logo of the profile", QStringLiteral("fotos|--perfil|logo.json"), logo);
    rows("missing table", QStringLiteral("fotos|--coordenadas|nada.csv|--salida|nada"),
         QStringLiteral("Seleccione un archivo txt válido (o cambie el modo a EXIF)."));
    rows("missing output", QStringLiteral("fotos|--salida|nada"),
         QStringLiteral("Seleccione una carpeta de salida válida."));
    rows("missing profile", QStringLiteral("fotos|--perfil|nada.json"),
         QStringLiteral("No se pudo leer el perfil"));
    rows("profile without object", QStringLiteral("fotos|--perfil|lista.json"),
         QStringLiteral("No se pudo leer el perfil"));
    rows("unknown option", QStringLiteral("fotos|--nada"), QStringLiteral("nada"));
    rows("quality too high", QStringLiteral("fotos|--calidad|101"), QStringLiteral("calidad"));
    rows("quality no number", QStringLiteral("fotos|--calidad|alta"), QStringLiteral("calidad"));
    rows("no threads", QStringLiteral("fotos|--hilos|0"), QStringLiteral("hilos"));
}

void VelmaroLoteTest::refuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, message);
    writePhoto(photos() + QStringLiteral("/a.jpg"), plainImage({16, 16}));
    writeText(path("lista.json"), "[1]");
    writeText(path("logo.json"), R"({"logoPath": "/nada/logo.png"})");
    const QByteArray original = bytesOf(photos() + QStringLiteral("/a.jpg"));
    const QString before = QDir::currentPath();
    QDir::setCurrent(m_folder->path());
    const int status = run(arguments);
    QDir::setCurrent(before);
    QCOMPARE(status, 2);
    QVERIFY2(m_errors.contains(message), qPrintable(m_errors));
    QCOMPARE(m_output, QString());
    QCOMPARE(QDir(photos()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("a.jpg")));
    QCOMPARE(bytesOf(photos() + QStringLiteral("/a.jpg")), original);
}

void VelmaroLoteTest::informs()
{
    QCOMPARE(run({QStringLiteral("--help")}), 0);
    for (const char *option :
         {"--perfil <ARCHIVO>", "--coordenadas <ARCHIVO>", "--logo <IMAGEN>", "--sin-logo",
          "--salida <CARPETA>", "--subcarpetas", "--sin-renombrar", "--sin-respaldo", "--sin-incrustar",
          "--prefijo <TEXTO>", "--calidad <N>", "--hilos <N>", "CARPETA"})
        QVERIFY2(m_output.contains(QString::fromLatin1(option)), option);
    QCOMPARE(run({QStringLiteral("--version")}), 0);
    QVERIFY(m_output.startsWith(QLatin1String("velmaro-lote ")));
}

void VelmaroLoteTest::startsWithTheWindowsDefaults()
{
    writePhoto(photos() + QStringLiteral("/a.jpg"), plainImage({800, 600}, Qt::black), gpsTags());
    QCOMPARE(run({photos()}), 0);
    const QString result = photos() + QStringLiteral("/19G 345093 6297582.jpg");
    QVERIFY(QFile::exists(result));
    QVERIFY(QFile::exists(photos() + QStringLiteral("/Backup/a_backup.jpg")));
    QVERIFY(
        m_output.startsWith(QStringLiteral("Dibujando rosa con orientación 90.5\n\nProcesando: a.jpg\n")));
    QVERIFY(m_output.endsWith(QLatin1String("Se procesaron 1 fotos en 0s.\n")));
    const QImage image(result);
    QVERIFY(image.pixelColor(780, 580).lightness() > 60); // the box of the text, bottom right
    QVERIFY(image.pixelColor(20, 540).lightness() > 60);  // the disc of the rose, bottom left
    QVERIFY(image.pixelColor(30, 30).lightness() < 10);   // no logo
}

void VelmaroLoteTest::takesProfileAndOptions()
{
    QDir(photos()).mkpath(QStringLiteral("sub"));
    QDir().mkpath(path("salida"));
    writePhoto(photos() + QStringLiteral("/sub/á b.jpg"), plainImage({800, 600}, Qt::black), gpsTags());
    writePhoto(path("logo.png"), plainImage({50, 50}, Qt::red));
    writeText(path("tabla.csv"), "á b.jpg;19;H;300000;6000000;270;;10\n");
    writeText(path("perfil.json"),
              R"({"drawData": false, "addCompass": true, "compassRatio": 9, "compassStyle": 9,
                                       "logoRatio": 0.1, "logoPosition": "arriba-derecha", "renamePhotos": true})");
    const QStringList arguments{QStringLiteral("--perfil"),
                                path("perfil.json"),
                                QStringLiteral("--coordenadas"),
                                path("tabla.csv"),
                                QStringLiteral("--logo"),
                                path("logo.png"),
                                QStringLiteral("--salida"),
                                path("salida"),
                                QStringLiteral("--subcarpetas"),
                                QStringLiteral("--prefijo"),
                                QStringLiteral("P-"),
                                QStringLiteral("--calidad"),
                                QStringLiteral("30"),
                                QStringLiteral("--hilos"),
                                QStringLiteral("1"),
                                photos()};
    QCOMPARE(run(arguments), 0);
    const QString result = path("salida") + QStringLiteral("/sub/P-19H 300000 6000000.jpg");
    const QImage image(result);
    QCOMPARE(image.size(), QSize(800, 600));
    QVERIFY(image.pixelColor(750, 50).red() > 200);       // the logo, top right
    QVERIFY(image.pixelColor(780, 580).lightness() < 10); // no text
    QCOMPARE(tagOf(result, "Exif.GPSInfo.GPSAltitude"), "1000/100");
    QVERIFY(QImageReader(result).quality() < 0 || bytesOf(result).size() < 20000);
    QVERIFY(!QDir(photos()).exists(QStringLiteral("Backup")));

    QCOMPARE(run(arguments + QStringList({QStringLiteral("--sin-renombrar"),
                                          QStringLiteral("--sin-incrustar"), QStringLiteral("--sin-logo")})),
             0);
    const QString unnamed = path("salida") + QStringLiteral("/sub/á b.jpg");
    QCOMPARE(tagOf(unnamed, "Exif.GPSInfo.GPSAltitude"), "52025/100");
    QVERIFY(QImage(unnamed).pixelColor(750, 50).lightness() < 10);
}

// A JPEG keeps its tables, another format says that it could not.
void VelmaroLoteTest::keepsTheOriginalQuality()
{
    const QString jpeg = photos() + QStringLiteral("/a.jpg");
    writePhoto(jpeg, plainImage({800, 600}), gpsTags());
    writePhoto(photos() + QStringLiteral("/b.png"), plainImage({800, 600}));
    const auto tablesOf = [](const QByteArray &file) {
        return file.mid(file.lastIndexOf("\xff\xdb") - 69, 138);
    };
    const QByteArray tables = tablesOf(bytesOf(jpeg));
    QCOMPARE(run({photos(), QStringLiteral("--calidad"), QStringLiteral("original")}), 0);
    const QString result = photos() + QStringLiteral("/19G 345093 6297582.jpg");
    QCOMPARE(tablesOf(bytesOf(result)), tables);
    QVERIFY(QImage(result).pixelColor(780, 580) !=
            plainImage({1, 1}).pixelColor(0, 0)); // the box of the text
    const QString line = QStringLiteral("No se pudo dejar intacto lo que rodea al sello en ");
    QVERIFY(m_output.contains(line + QStringLiteral("19J 500000 6000000.jpg: se guarda con calidad 100.")));
    QCOMPARE(m_output.count(line), 1);
}

void VelmaroLoteTest::tellsWhatWasLeft()
{
    QDir(photos()).mkpath(QStringLiteral("sub"));
    writePhoto(photos() + QStringLiteral("/a.jpg"), plainImage({16, 16}));
    writeText(photos() + QStringLiteral("/sub/b.jpg"), "no image");
    QFile::copy(photos() + QStringLiteral("/a.jpg"), path("c"));
    const QByteArray unreadable = QFile::encodeName(photos()) + QByteArray("/\xf1.jpg");
    QCOMPARE(rename(QFile::encodeName(path("c")).constData(), unreadable.constData()), 0);
    writeText(photos() + QStringLiteral("/Backup"), "no folder");
    QCOMPARE(run({photos(), QStringLiteral("--subcarpetas")}), 1);
    const QString now = photos() + QStringLiteral("/sub/19J 500000 6000000.jpg");
    QCOMPARE(m_errors.section(u'\n', 1),
             QStringLiteral("Se pasó por alto, porque su nombre no es UTF-8: %1/\ufffd.jpg\n"
                            "Sin terminar: %1/sub/b.jpg (ahora %2): Error al abrir la imagen: %2\n"
                            "No se pudo guardar la copia original de 2 fotos.\n"
                            "Quedaron sin terminar 1 de 2 fotos.\n")
                 .arg(photos(), now));
    QVERIFY2(m_errors.startsWith(QLatin1String("Progreso: 1/2\n")), qPrintable(m_errors));
}

// Neither a reader of the log who goes away nor closed streams stop a run, or get into its files.
void VelmaroLoteTest::goesOnWithoutListeners()
{
    constexpr int count = 30;
    for (const char *way : {"| head -1", ">&-", "2>&- >&- <&-", "2>&1 | true", "> /dev/full"}) {
        for (int i = 0; i < count; ++i)
            writePhoto(photos() + QStringLiteral("/%1.jpg").arg(i), plainImage({64, 48}), gpsTags());
        QProcess shell;
        shell.start(
            QStringLiteral("bash"),
            {QStringLiteral("-c"), QStringLiteral("'%1' '%2' --sin-respaldo %3; exit ${PIPESTATUS[0]}")
                                       .arg(QStringLiteral(VELMARO_LOTE), photos(), QLatin1String(way))});
        QVERIFY(shell.waitForFinished());
        QCOMPARE(shell.exitCode(), QByteArray(way) == "> /dev/full" ? 1 : 0);
        const QStringList found = QDir(photos()).entryList(QDir::Files);
        QCOMPARE(found.size(), count);
        for (const QString &name : found) {
            const QByteArray contents = bytesOf(photos() + u'/' + name);
            QVERIFY2(name.startsWith(QLatin1String("19G")), way);
            QVERIFY2(contents.startsWith("\xff\xd8") && contents.endsWith("\xff\xd9"), way);
        }
        QDir(photos()).removeRecursively();
        QDir().mkpath(photos());
    }
}

// The folder of the photos, or one below, mounted at another place.
void VelmaroLoteTest::knowsMountedFolders()
{
    QDir().mkpath(photos() + QStringLiteral("/sub"));
    QDir().mkpath(path("salida"));
    const QStringList originals{QStringLiteral("/a.jpg"), QStringLiteral("/sub/a.jpg")};
    for (const QString &name : originals)
        writePhoto(photos() + name, plainImage({static_cast<int>(name.size()) * 8, 16}), gpsTags());
    const QByteArrayList before{bytesOf(photos() + originals[0]), bytesOf(photos() + originals[1])};
    for (const QString &mounted : originals) {
        QProcess process;
        bindFolder(process, QFileInfo(photos() + mounted).path(), path("salida"));
        start(process, {photos(), QStringLiteral("--salida"), path("salida"), QStringLiteral("--subcarpetas"),
                        QStringLiteral("--sin-renombrar")});
        QVERIFY(process.waitForFinished());
        if (process.exitCode() == 77)
            QSKIP("mounting is not allowed here");
        QCOMPARE(process.exitCode(), 1);
        QCOMPARE(QByteArrayList({bytesOf(photos() + originals[0]), bytesOf(photos() + originals[1])}),
                 before);
    }
}

void VelmaroLoteTest::leavesReadOnlyPhotosWhole_data()
{
    QTest::addColumn<bool>("folder");
    QTest::newRow("read-only photo") << false;
    QTest::newRow("read-only folder") << true;
}

void VelmaroLoteTest::leavesReadOnlyPhotosWhole()
{
    QFETCH(bool, folder);
    const QString photo = photos() + QStringLiteral("/a.jpg");
    writePhoto(photo, plainImage({16, 16}));
    const QByteArray original = bytesOf(photo);
    QFile::setPermissions(m_folder->path(), QFile::Permissions(0x7777));
    QFile::setPermissions(photos(), QFile::Permissions(folder ? 0x5555 : 0x7777));
    QFile::setPermissions(photo, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);

    QProcess process;
    bindToPermissions(process);
    start(process, {photos(), QStringLiteral("--sin-renombrar"), QStringLiteral("--sin-respaldo")});
    QVERIFY(process.waitForFinished());
    QFile::setPermissions(photos(), QFile::Permissions(0x7777));
    QCOMPARE(process.exitCode(), 1);
    QVERIFY(QString::fromUtf8(process.readAllStandardOutput())
                .contains(QLatin1String("Error guardando la imagen: ")));
    QCOMPARE(bytesOf(photo), original);
    QCOMPARE(QDir(photos()).entryList(QDir::Files), QStringList(QStringLiteral("a.jpg")));
}

// Photos straight from a write-protected memory card.
void VelmaroLoteTest::stampsCopiesOfReadOnlyPhotos()
{
    const QString photo = photos() + QStringLiteral("/a.jpg");
    writePhoto(photo, plainImage({16, 16}));
    QDir().mkpath(path("salida"));
    for (const QString &folder : {m_folder->path(), path("salida")})
        QFile::setPermissions(folder, QFile::Permissions(0x7777));
    QFile::setPermissions(photo, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    QProcess process;
    bindToPermissions(process);
    start(process, {photos(), QStringLiteral("--salida"), path("salida")});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitCode(), 0);
    QVERIFY(QFile::exists(path("salida/19J 500000 6000000.jpg")));
}

// Killed at any moment, a run in place leaves every photo whole, under its old name or its new one.
void VelmaroLoteTest::survivesKills()
{
    constexpr int kills = 20;
    constexpr int count = 8;
    for (int i = 0; i < count; ++i) {
        Tags tags = gpsTags();
        tags["Exif.GPSInfo.GPSLatitude"] = QByteArray::number(10 + i) + "/1 0/1 0/1";
        writePhoto(path("") + QStringLiteral("%1.jpg").arg(i),
                   plainImage({1200, 900}, QColor(20 * i, 90, 60)), tags);
    }
    int interrupted = 0;
    for (int kill = 0; kill < kills; ++kill) {
        QDir(photos()).removeRecursively();
        QDir().mkpath(photos());
        for (int i = 0; i < count; ++i)
            QFile::copy(path("") + QStringLiteral("%1.jpg").arg(i),
                        photos() + QStringLiteral("/%1.jpg").arg(i));
        QProcess process;
        start(process,
              {photos(), QStringLiteral("--sin-respaldo"), QStringLiteral("--hilos"), QStringLiteral("2")});
        QVERIFY(process.waitForStarted());
        if (!process.waitForFinished(30 + QRandomGenerator::global()->bounded(150))) {
            process.kill();
            process.waitForFinished();
            ++interrupted;
        }

        const QStringList found = QDir(photos()).entryList({QStringLiteral("*.jpg")}, QDir::Files);
        QCOMPARE(found.size(), count);
        QSet<QByteArray> positions;
        for (const QString &name : found) {
            const QString photo = photos() + u'/' + name;
            QVERIFY2(!QImage(photo).isNull(), qPrintable(photo));
            QVERIFY(bytesOf(photo).endsWith("\xff\xd9"));
            positions.insert(tagOf(photo, "Exif.GPSInfo.GPSLatitude"));
        }
        QCOMPARE(positions.size(), count);
    }
    QVERIFY(interrupted > 0);
}

QTEST_MAIN(VelmaroLoteTest)
#include "velmarolote.moc"
