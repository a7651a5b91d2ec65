// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"
#include "data/settings.h"
#include "photofiles.h"
#include "support/elevationserver.h"
#include "support/windowdriver.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

/// What runs from the window: the batch, the sample file, the altitude fill and the settings.
class WindowFlowsTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void init();
    void cleanup() { m_driver.reset(); }
    void refusesInOrder();
    void runsABatchToItsEnd();
    void tellsWhatWasNotDone();
    void hidesACancelledBatch();
    void closesAfterItsBatch();
    void breaksOffItsBatchAtTheEnd();
    void writesASampleFile();
    void fillsAltitudes();
    void breaksOffAnAltitudeFill();
    void refusesAnAltitudeFill();
    void keepsSettings();

private:
    QString path(const char *name) const { return m_driver->path(QString::fromLatin1(name)); }
    QStringList photoNames() const { return QDir(m_driver->photos()).entryList(QDir::Files, QDir::Name); }

    ElevationServer m_server;
    std::unique_ptr<WindowDriver> m_driver;
};

void WindowFlowsTest::init()
{
    m_server.setAnswers({});
    m_driver = std::make_unique<WindowDriver>(
        ElevationAccess{m_server.url(), m_server.url(), std::chrono::milliseconds(20)});
}

void WindowFlowsTest::refusesInOrder()
{
    m_driver->click("txtRadio");
    m_driver->check("outputFolderCheck", true);
    writeText(path("tabla.csv"), "");
    const QString noTable = QStringLiteral("Seleccione un archivo txt válido (o cambie el modo a EXIF).");
    const QString noOutput = QStringLiteral("Seleccione una carpeta de salida válida.");
    for (const auto &[edit, text, message] :
         {std::tuple{"directoryEdit", path("nada"),
                     QStringLiteral("Seleccione un directorio de fotos válido.")},
          {"directoryEdit", m_driver->photos(), QStringLiteral("Seleccione un archivo de logo válido.")},
          {"txtPathEdit", QString(), noTable},
          {"txtPathEdit", m_driver->photos(), noTable}, // a folder is no file
          {"txtPathEdit", path("tabla.csv"), noOutput},
          {"outputFolderEdit", path("nada"), noOutput}}) {
        m_driver->check("logoCheck", qstrcmp(edit, "directoryEdit") == 0);
        m_driver->type(edit, text);
        QCOMPARE(m_driver->messageOf("startButton"), QStringLiteral("Error: ") + message);
    }
    QCOMPARE(m_driver->log(), QString());
    QVERIFY(m_driver->isEnabled("startButton"));
}

void WindowFlowsTest::runsABatchToItsEnd()
{
    m_driver->writePhotos(2, {200, 150});
    writePhoto(m_driver->photos() + QStringLiteral("/<b>ladera & río.jpg"), plainImage({100, 100}),
               gpsTags());
    m_driver->check("prefixCheck", true);
    m_driver->type("prefixEdit", QStringLiteral("P "));
    m_driver->runBatch();

    QCOMPARE(m_driver->messages, QStringList(QStringLiteral("Completado: El proceso ha finalizado.")));
    const QString log = m_driver->log();
    QVERIFY(
        log.startsWith(QStringLiteral("Iniciando el proceso de renombrado y modificación de fotos...\n")));
    QVERIFY(log.contains(QStringLiteral("\nProcesando: <b>ladera & río.jpg\n"))); // as it is written
    QVERIFY(log.endsWith(QStringLiteral("\nSe procesaron 3 fotos en 0s.\n\nProceso finalizado.")));
    QCOMPARE(m_driver->status(), QStringLiteral("Terminadas 3 de 3 fotos."));
    QCOMPARE(photoNames().filter(QStringLiteral("P 19")).size(), 3);
    // The list holds the new names.
    QVERIFY(m_driver->find<QLabel>("photoCaption")->text().startsWith(QStringLiteral("P 19")));
    QVERIFY(!m_driver->preview().isNull());
    QTRY_VERIFY(!m_driver->window->findChild<QProgressDialog *>());
}

void WindowFlowsTest::tellsWhatWasNotDone()
{
    m_driver->runBatch();
    QCOMPARE(m_driver->status(), QStringLiteral("No había fotos que procesar."));
    m_driver->writePhotos(2, {20, 15});
    writePhoto(m_driver->photos() + QStringLiteral("/z.png"), plainImage({66000, 1})); // too wide for a JPEG
    writeText(m_driver->photos() + QStringLiteral("/Backup"), "in the way");
    writeText(path("tabla.csv"), "1.jpg;19;H;300000;6000000\nz.png;19;H;1;2\n");
    m_driver->click("txtRadio");
    m_driver->type("txtPathEdit", path("tabla.csv"));
    m_driver->runBatch();
    const QString told =
        QStringLiteral("Terminadas 1 de 3 fotos; 1 sin procesar, 1 sin guardar, 3 sin copia de seguridad.");
    QCOMPARE(m_driver->status(), told);
    QStringList details = m_driver->window->statusBar()->toolTip().split(u'\n');
    details.sort();
    QCOMPARE(details.join(u'|'),
             QStringLiteral(
                 "0.jpg: Coordenadas UTM no encontradas en archivo TXT para 0.jpg|Copias de seguridad que no "
                 "se pudieron hacer: 3|z.png: Error guardando la imagen: Maximum supported image dimension "
                 "is 65500 pixels"));
    m_driver->type("directoryEdit", path("nada")); // nothing but the next run takes the place of it
    QCOMPARE(m_driver->status(), told);
}

void WindowFlowsTest::hidesACancelledBatch()
{
    m_driver->writePhotos(8, {3000, 2000});
    m_driver->check("backupCheck", false);
    // The painting and scaling of Qt needs a thread of the global pool meanwhile.
    const int threads = QThreadPool::globalInstance()->maxThreadCount();
    QThreadPool::globalInstance()->setMaxThreadCount(1);
    bool shownAgain = false;
    bool poolFree = false;
    QString goesOn;
    m_driver->onNextDialog([&](QWidget *dialog) {
        auto *progress = qobject_cast<QProgressDialog *>(dialog);
        QVERIFY(progress);
        progress->setMinimumDuration(0); // else Qt itself keeps it hidden for four seconds
        auto *cancel = progress->findChild<QPushButton *>();
        QCOMPARE(progress->labelText() + cancel->text(), QStringLiteral("Procesando fotos...Cancelar"));
        cancel->click();
        auto *watch = new QTimer(progress);
        connect(watch, &QTimer::timeout, progress, [&, progress] {
            shownAgain = shownAgain || progress->isVisible();
            poolFree = poolFree || QThreadPool::globalInstance()->tryStart([] {});
            if (m_driver->status().contains(QStringLiteral(" de 8 ")))
                goesOn = m_driver->status().left(21);
        });
        watch->start(1);
    });
    m_driver->runBatch();
    QThreadPool::globalInstance()->setMaxThreadCount(threads);
    QVERIFY(!shownAgain && poolFree);
    QVERIFY2(goesOn.startsWith(QStringLiteral("El proceso continúa:")) ||
                 goesOn.startsWith(QStringLiteral("Term")),
             qPrintable(goesOn));
    QCOMPARE(m_driver->status(), QStringLiteral("Terminadas 8 de 8 fotos."));
}

void WindowFlowsTest::closesAfterItsBatch()
{
    m_driver->writePhotos(2, {400, 300});
    m_driver->onNextDialog([this](QWidget *progress) {
        progress->close();
        m_driver->window->close();
        QVERIFY(m_driver->window->isVisible());
        QVERIFY2(m_driver->status().contains(QStringLiteral("se cerrará al terminar")),
                 qPrintable(m_driver->status()));
    });
    m_driver->runBatch();
    QVERIFY(!m_driver->window->isVisible());
    QCOMPARE(photoNames().filter(QStringLiteral("19")).size(), 2);
}

void WindowFlowsTest::breaksOffItsBatchAtTheEnd()
{
    m_driver->writePhotos(40, {2000, 1500});
    const QStringList before = photoNames();
    m_driver->check("logoCheck", false);
    m_driver->check("backupCheck", false);
    m_driver->type("directoryEdit", m_driver->photos());
    m_driver->preview();
    m_driver->click("startButton");
    QTest::qWait(100);
    m_driver->window.reset();
    // What was taken up is finished, the rest untouched.
    const QStringList after = photoNames();
    QCOMPARE(after.size(), before.size());
    QVERIFY(after.filter(QStringLiteral("19")).size() < 40);
    for (const QString &name : after) {
        const QImage photo(m_driver->photos() + u'/' + name);
        const bool stamped = photo.pixelColor(1900, 1400) != photo.pixelColor(9, 9);
        QVERIFY2(stamped != before.contains(name), qPrintable(name));
    }
}

void WindowFlowsTest::writesASampleFile()
{
    const QString refusal = QStringLiteral(
        "Error: Seleccione un directorio de fotos válido antes de crear el archivo de ejemplo.");
    for (const QString &folder : {QString(), path("nada")}) {
        m_driver->type("directoryEdit", folder);
        QCOMPARE(m_driver->messageOf("createSampleButton"), refusal);
    }
    writePhoto(m_driver->photos() + QStringLiteral("/a.jpg"), plainImage({20, 20}), gpsTags());
    writePhoto(m_driver->photos() + QStringLiteral("/b.PNG"), plainImage({20, 20}));
    m_driver->type("directoryEdit", m_driver->photos());
    m_driver->choose("createSampleButton", {});
    m_driver->choose("createSampleButton", QStringLiteral("/proc/muestra.csv"));
    QCOMPARE(m_driver->textOf("txtPathEdit"), QStringLiteral("/proc/muestra.csv"));
    for (const bool fromExif : {true, false}) {
        m_driver->check("sampleFromExifCheck", fromExif);
        m_driver->choose("createSampleButton", path(fromExif ? "exif.csv" : "fija.csv"));
    }
    QCOMPARE(m_driver->textOf("txtPathEdit"), path("fija.csv"));
    QCOMPARE(
        m_driver->log(),
        QStringLiteral("Error al crear el archivo de ejemplo: no se pudo abrir el archivo.\n"
                       "Datos GPS no encontrados en EXIF para b.PNG. Usando coordenadas y orientación fijas\n"
                       "Archivo de ejemplo creado en: %1\nArchivo de ejemplo creado en: %2")
            .arg(path("exif.csv"), path("fija.csv")));
    // Where there is no date, it is now: the minute may change meanwhile.
    const auto lines = [this](const char *file) {
        const QString now = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH"));
        QStringList list = QString::fromUtf8(bytesOf(path(file))).split(u'\n').mid(0, 3);
        list.replaceInStrings(QRegularExpression(now + QStringLiteral("[0-9:]+")), QStringLiteral("now"))
            .sort();
        return list.join(u'|');
    };
    QCOMPARE(lines("exif.csv"), QStringLiteral("a.jpg;19;G;345093;6297581;90;2024-03-05T14:07:09;520.3|"
                                               "b.PNG;19;J;500000;6000000;;now;|") +
                                    coordinatesHeader());
    QCOMPARE(lines("fija.csv"),
             QStringLiteral("a.jpg;19;J;500000;6000000;;now;|b.PNG;19;J;500000;6000000;;now;|") +
                 coordinatesHeader());
}

void WindowFlowsTest::fillsAltitudes()
{
    const QByteArray header = coordinatesHeader().toUtf8() + '\n';
    m_driver->writePhotos(1, {200, 150});
    m_driver->type("directoryEdit", m_driver->photos());
    m_driver->click("txtRadio");
    for (const bool overwrite : {false, true}) {
        writeText(path("tabla.csv"),
                  header + "0.jpg;19;H;300000;6000000;;;7\nb.jpg;19;H;300000;6000000;;;\n");
        m_driver->type("txtPathEdit", path("tabla.csv"));
        m_driver->check("overwriteAltitudeCheck", overwrite);
        const QImage before = m_driver->preview();
        QCOMPARE(m_driver->messageOf("populateAltitudeButton"), QString());
        QVERIFY(!m_driver->isEnabled("populateAltitudeButton"));
        QTRY_VERIFY_WITH_TIMEOUT(m_driver->isEnabled("populateAltitudeButton"), 10000);
        QCOMPARE(m_driver->messages.join(u'|'),
                 QStringLiteral("Completado: El proceso de relleno de altitud ha finalizado.\n"
                                "El archivo CSV ha sido actualizado."));
        QCOMPARE(bytesOf(path("tabla.csv")), header + "0.jpg;19;H;300000;6000000;;;" +
                                                 (overwrite ? "100.00" : "7") +
                                                 "\nb.jpg;19;H;300000;6000000;;;100.00\n");
        QCOMPARE(m_driver->preview() != before, overwrite); // it is drawn anew
    }
    QCOMPARE(m_server.requests().size(), 3);
    QVERIFY(m_driver->log().startsWith(
        QStringLiteral("Iniciando relleno de altitud desde API para el archivo: %1\n")
            .arg(path("tabla.csv"))));
    QVERIFY(m_driver->log().endsWith(QStringLiteral(" de 2 registros.\n\nRelleno de altitud finalizado.")));
}

void WindowFlowsTest::breaksOffAnAltitudeFill()
{
    const QByteArray table =
        coordinatesHeader().toUtf8() + "\na;19;H;300000;6000000\nb;19;H;300000;6000000\n";
    m_server.setAnswers({{R"({"status": "OK", "results": [{"elevation": 1}]})"}, {"{}", 200, 5000}});
    writeText(path("tabla.csv"), table);
    m_driver->type("txtPathEdit", path("tabla.csv"));
    m_driver->click("populateAltitudeButton");
    QTRY_COMPARE(m_server.requests().size(), 2); // the second waits
    QElapsedTimer timer;
    timer.start();
    m_driver->window->close();
    QVERIFY(!m_driver->window->isVisible());
    m_driver->window.reset();
    QVERIFY(timer.elapsed() < 4000);
    QCOMPARE(bytesOf(path("tabla.csv")), table);
}

void WindowFlowsTest::refusesAnAltitudeFill()
{
    const QString noFile = QStringLiteral("Error: Por favor, seleccione un archivo CSV válido.");
    for (const QString &file : {QString(), path("nada.csv"), m_driver->photos()}) {
        m_driver->type("txtPathEdit", file);
        QCOMPARE(m_driver->messageOf("populateAltitudeButton"), noFile);
    }
    const auto restartWithKey = [this](const QString &key) {
        Settings{ElevationProvider::Google, key, 90}.save();
        init();
        Settings().save();
        writeText(path("tabla.csv"), "a;b\na.jpg;19;H;300000;6000000\n");
        m_driver->type("txtPathEdit", path("tabla.csv"));
    };
    restartWithKey({});
    QCOMPARE(m_driver->messageOf("populateAltitudeButton"),
             QStringLiteral("Error: No se ha configurado una clave de API para Google Elevation. Por favor, "
                            "añádala en Herramientas -> Configuración."));
    QCOMPARE(m_server.requests(), QStringList());
    restartWithKey(QStringLiteral("clave"));
    m_driver->messageOf("populateAltitudeButton");
    QTRY_VERIFY_WITH_TIMEOUT(m_driver->isEnabled("populateAltitudeButton"), 20000);
    QVERIFY(m_server.requests().value(0).endsWith(QStringLiteral("&key=clave")));
}

void WindowFlowsTest::keepsSettings()
{
    const auto openDialog = [this](QDialogButtonBox::StandardButton end) {
        m_driver->onNextDialog([end](QWidget *dialog) {
            dialog->findChild<QComboBox *>()->setCurrentText(ElevationProvider::Google);
            dialog->findChild<QLineEdit *>(QStringLiteral("apiKeyEdit"))->setText(QStringLiteral(" clave "));
            dialog->findChild<QSpinBox *>()->setValue(40);
            dialog->findChild<QDialogButtonBox *>()->button(end)->click();
        });
        m_driver->window->menuBar()->actions().at(1)->menu()->actions().at(0)->trigger();
        const Settings stored = Settings::load();
        return QString(stored.altitudeProvider + stored.googleApiKey + QString::number(stored.jpegQuality));
    };
    QCOMPARE(openDialog(QDialogButtonBox::Cancel), QStringLiteral("OpenTopoData90"));
    QCOMPARE(m_driver->log(), QString());
    QCOMPARE(openDialog(QDialogButtonBox::Ok), QStringLiteral("Google Elevation clave 40"));
    QCOMPARE(m_driver->log(), QStringLiteral("Configuración de salida y altitud actualizada."));
    QCOMPARE(m_driver->window->currentRequest().options().jpegQuality, 40);
    Settings().save();
}

QTEST_MAIN(WindowFlowsTest)
#include "windowflows.moc"
