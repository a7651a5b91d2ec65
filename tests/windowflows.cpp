// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"
#include "data/elevationaccess.h"
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
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>
#include <QTest>
#include <QThreadPool>
#include <QTimer>

#include <memory>

namespace
{

ElevationServer *server = nullptr;

} // namespace

// In place of the access that the program is built with.
ElevationAccess elevationAccess()
{
    return {server->url(), server->url(), std::chrono::milliseconds(20)};
}

/// What runs from the window: the batch, the sample file, the altitude fill and the settings.
class WindowFlowsTest : public QObject
{
    Q_OBJECT

public:
    static void initMain() { WindowDriver::prepareProcess(); }

private slots:
    void initTestCase();
    void init();
    void refusesInOrder();
    void runsABatchToItsEnd();
    void hidesACancelledBatch();
    void staysAliveDuringABatch();
    void waitsForItsBatchWhenClosed();
    void showsTheLogAsItIsWritten();
    void writesASampleFile_data();
    void writesASampleFile();
    void refusesASampleFile();
    void fillsAltitudes_data();
    void fillsAltitudes();
    void refusesAnAltitudeFill();
    void keepsSettings();
    void choosesFilesAndFolders();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString photos() const { return path(QStringLiteral("fotos")); }
    QString refusal();
    void writePhotos(int count, QSize size);
    void runBatch();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<WindowDriver> m_driver;
    ElevationServer m_server;
};

void WindowFlowsTest::initTestCase()
{
    server = &m_server;
}

void WindowFlowsTest::init()
{
    m_driver.reset();
    m_folder = std::make_unique<QTemporaryDir>();
    QDir().mkpath(photos());
    m_server.setAnswers({});
    m_driver = std::make_unique<WindowDriver>();
}

// What "Iniciar Proceso" says instead of starting.
QString WindowFlowsTest::refusal()
{
    m_driver->messages.clear();
    m_driver->acceptNextMessage();
    m_driver->click("startButton");
    return m_driver->messages.value(0);
}

void WindowFlowsTest::writePhotos(int count, QSize size)
{
    for (int i = 0; i < count; ++i)
        writePhoto(photos() + QStringLiteral("/%1.jpg").arg(i), plainImage(size));
}

// Starts a batch and waits for its closing box.
void WindowFlowsTest::runBatch()
{
    m_driver->check("logoCheck", false);
    m_driver->type("directoryEdit", photos());
    m_driver->acceptNextMessage();
    m_driver->click("startButton");
    QVERIFY(!m_driver->isEnabled("startButton"));
    QTRY_VERIFY_WITH_TIMEOUT(m_driver->isEnabled("startButton"), 60000);
    QCOMPARE(m_driver->messages, QStringList(QStringLiteral("Completado: El proceso ha finalizado.")));
}

void WindowFlowsTest::refusesInOrder()
{
    m_driver->click("txtRadio");
    m_driver->check("outputFolderCheck", true);
    m_driver->type("directoryEdit", path(QStringLiteral("nada")));
    QCOMPARE(refusal(), QStringLiteral("Error: Seleccione un directorio de fotos válido."));
    m_driver->type("directoryEdit", photos());
    QCOMPARE(refusal(), QStringLiteral("Error: Seleccione un archivo de logo válido."));
    m_driver->check("logoCheck", false);
    const QString noTable =
        QStringLiteral("Error: Seleccione un archivo txt válido (o cambie el modo a EXIF).");
    QCOMPARE(refusal(), noTable);
    m_driver->type("txtPathEdit", photos()); // a folder is no file
    QCOMPARE(refusal(), noTable);
    writeText(path(QStringLiteral("tabla.csv")), "");
    m_driver->type("txtPathEdit", path(QStringLiteral("tabla.csv")));
    const QString noOutput = QStringLiteral("Error: Seleccione una carpeta de salida válida.");
    QCOMPARE(refusal(), noOutput);
    m_driver->type("outputFolderEdit", path(QStringLiteral("nada")));
    QCOMPARE(refusal(), noOutput);
    QCOMPARE(m_driver->log(), QString());
    QVERIFY(m_driver->isEnabled("startButton"));
}

void WindowFlowsTest::runsABatchToItsEnd()
{
    writePhotos(3, {200, 150});
    m_driver->check("prefixCheck", true);
    m_driver->type("prefixEdit", QStringLiteral("P_"));
    runBatch();

    const QStringList log = m_driver->log().split(u'\n');
    QCOMPARE(log.constFirst(),
             QStringLiteral("Iniciando el proceso de renombrado y modificación de fotos..."));
    QCOMPARE(log.filter(QStringLiteral("Procesando: ")).size(), 3);
    QCOMPARE(log.mid(log.size() - 3), QStringList({QStringLiteral("Se procesaron 3 fotos en 0s."), QString(),
                                                   QStringLiteral("Proceso finalizado.")}));
    const QDir folder(photos());
    QVERIFY(folder.exists(QStringLiteral("P_19J 500000 6000000 (2).jpg")));
    QCOMPARE(QDir(photos() + QStringLiteral("/Backup")).entryList(QDir::Files).size(), 3);
    // The list holds the new names, so the preview finds its photo.
    QVERIFY(!m_driver->find<QLabel>("previewLabel")->pixmap().isNull());
    QVERIFY(m_driver->isEnabled("nextButton"));
    QVERIFY(!m_driver->window->findChild<QProgressDialog *>(QString(), Qt::FindDirectChildrenOnly) ||
            !m_driver->window->findChild<QProgressDialog *>()->isVisible());
}

void WindowFlowsTest::hidesACancelledBatch()
{
    writePhotos(12, {3000, 2000});
    bool cancelled = false;
    bool shownAgain = false;
    m_driver->onNextDialog([&](QWidget *dialog) {
        auto *progress = qobject_cast<QProgressDialog *>(dialog);
        QVERIFY(progress);
        QCOMPARE(progress->labelText(), QStringLiteral("Procesando fotos..."));
        auto *cancel = progress->findChild<QPushButton *>();
        QCOMPARE(cancel->text(), QStringLiteral("Cancelar"));
        cancel->click();
        cancelled = true;
        QVERIFY(!progress->isVisible());
        auto *watch = new QTimer(m_driver->window.get());
        connect(watch, &QTimer::timeout, progress,
                [progress, &shownAgain] { shownAgain |= progress->isVisible(); });
        watch->start(1);
    });
    m_driver->check("backupCheck", false);
    runBatch();
    QVERIFY(cancelled);
    QVERIFY(!shownAgain);
    QCOMPARE(m_driver->log().count(QStringLiteral("Metadatos escritos para ")), 12);
}

// Qt's painting takes threads from the global pool, which a batch must not keep.
void WindowFlowsTest::staysAliveDuringABatch()
{
    writePhotos(10, {3000, 2000});
    const int threads = QThreadPool::globalInstance()->maxThreadCount();
    QThreadPool::globalInstance()->setMaxThreadCount(1);
    int beats = 0;
    bool poolFree = false;
    QTimer timer;
    connect(&timer, &QTimer::timeout, m_driver->window.get(), [&] {
        ++beats;
        if (m_driver->isEnabled("startButton") || poolFree)
            return;
        QThreadPool::globalInstance()->start([&poolFree] { poolFree = true; });
        poolFree = QThreadPool::globalInstance()->waitForDone(0) || poolFree;
    });
    timer.start(10);
    runBatch();
    QThreadPool::globalInstance()->setMaxThreadCount(threads);
    QVERIFY2(beats >= 5, qPrintable(QString::number(beats)));
    QVERIFY(poolFree);
}

void WindowFlowsTest::waitsForItsBatchWhenClosed()
{
    writePhotos(6, {1600, 1200});
    m_driver->check("logoCheck", false);
    m_driver->type("directoryEdit", photos());
    m_driver->click("startButton");
    m_driver.reset();
    QCOMPARE(QDir(photos()).entryList({QStringLiteral("19J*")}, QDir::Files).size(), 6);
    for (const QString &name : QDir(photos()).entryList(QDir::Files))
        QVERIFY(QImage(photos() + u'/' + name).pixelColor(1500, 1100) !=
                QImage(photos() + u'/' + name).pixelColor(9, 9));
}

void WindowFlowsTest::showsTheLogAsItIsWritten()
{
    writePhoto(photos() + QStringLiteral("/<b>ladera & río.jpg"), plainImage({100, 100}));
    runBatch();
    QVERIFY2(m_driver->log().contains(QStringLiteral("\nProcesando: <b>ladera & río.jpg\n")),
             qPrintable(m_driver->log()));
}

void WindowFlowsTest::writesASampleFile_data()
{
    QTest::addColumn<bool>("fromExif");
    QTest::newRow("from EXIF") << true;
    QTest::newRow("placeholders") << false;
}

void WindowFlowsTest::writesASampleFile()
{
    QFETCH(bool, fromExif);
    writePhoto(photos() + QStringLiteral("/a.jpg"), plainImage({20, 20}), gpsTags());
    writePhoto(photos() + QStringLiteral("/b.PNG"), plainImage({20, 20}));
    const QString file = path(QStringLiteral("muestra.csv"));
    m_driver->click("txtRadio");
    m_driver->type("directoryEdit", photos());
    m_driver->check("sampleFromExifCheck", fromExif);
    m_driver->chooseInNextDialog(file);
    m_driver->click("createSampleButton");

    QCOMPARE(m_driver->find<QLineEdit>("txtPathEdit")->text(), file);
    const QString missing =
        QStringLiteral("Datos GPS no encontrados en EXIF para b.PNG. Usando coordenadas y orientación fijas");
    QCOMPARE(m_driver->log(), (fromExif ? missing + u'\n' : QString()) +
                                  QStringLiteral("Archivo de ejemplo creado en: ") + file);
    QCOMPARE(bytesOf(file).split('\n').constFirst(), coordinatesHeader().toUtf8());
    QStringList complaints;
    const CoordinatesTable table =
        readCoordinatesFile(file, [&complaints](const QString &line) { complaints.append(line); });
    QCOMPARE(complaints, QStringList());
    QCOMPARE(table.size(), 2);
    const UtmEntry a = table[QStringLiteral("a.jpg")];
    QCOMPARE(a.zoneLetter, fromExif ? 'G' : 'J');
    QCOMPARE(a.easting, fromExif ? 345093.0 : 500000.0);
    QCOMPARE(a.hasOrientation, fromExif);
    QCOMPARE(a.orientation, fromExif ? 90.0 : 0.0);
    QCOMPARE(a.altitude, fromExif ? 520.3 : 0.0);
    const QDateTime taken(QDate(2024, 3, 5), QTime(14, 7, 9));
    QCOMPARE(a.dateTime == taken, fromExif);
    const UtmEntry b = table[QStringLiteral("b.PNG")];
    QVERIFY(b.zone == 19 && b.zoneLetter == 'J' && !b.hasOrientation && !b.hasAltitude);
    QVERIFY(qAbs(b.dateTime.secsTo(QDateTime::currentDateTime())) < 60);
}

void WindowFlowsTest::refusesASampleFile()
{
    m_driver->click("txtRadio");
    for (const QString &folder : {QString(), path(QStringLiteral("nada"))}) {
        m_driver->type("directoryEdit", folder);
        m_driver->acceptNextMessage();
        m_driver->click("createSampleButton");
    }
    const QString message = QStringLiteral(
        "Error: Seleccione un directorio de fotos válido antes de crear el archivo de ejemplo.");
    QCOMPARE(m_driver->messages, QStringList({message, message}));

    m_driver->type("directoryEdit", photos());
    m_driver->chooseInNextDialog(QStringLiteral("/proc/muestra.csv"));
    m_driver->click("createSampleButton");
    QCOMPARE(m_driver->log(),
             QStringLiteral("Error al crear el archivo de ejemplo: no se pudo abrir el archivo."));
    QCOMPARE(m_driver->find<QLineEdit>("txtPathEdit")->text(), QStringLiteral("/proc/muestra.csv"));
}

void WindowFlowsTest::fillsAltitudes_data()
{
    QTest::addColumn<bool>("overwrite");
    QTest::addColumn<QByteArray>("first");
    QTest::newRow("overwrite") << true << QByteArray("100.00");
    QTest::newRow("keep") << false << QByteArray("7");
}

void WindowFlowsTest::fillsAltitudes()
{
    QFETCH(bool, overwrite);
    QFETCH(QByteArray, first);
    const QByteArray header = coordinatesHeader().toUtf8() + '\n';
    const QString file = path(QStringLiteral("tabla.csv"));
    writeText(file, header + "a.jpg;19;H;300000;6000000;;;7\nb.jpg;19;H;300000;6000000;;;\n");
    m_driver->click("txtRadio");
    m_driver->type("txtPathEdit", file);
    m_driver->check("overwriteAltitudeCheck", overwrite);
    m_driver->acceptNextMessage();
    m_driver->click("populateAltitudeButton");
    QVERIFY(!m_driver->isEnabled("populateAltitudeButton"));
    QTRY_VERIFY_WITH_TIMEOUT(m_driver->isEnabled("populateAltitudeButton"), 10000);

    QCOMPARE(bytesOf(file),
             header + "a.jpg;19;H;300000;6000000;;;" + first + "\nb.jpg;19;H;300000;6000000;;;100.00\n");
    QCOMPARE(m_driver->messages,
             QStringList(QStringLiteral("Completado: El proceso de relleno de altitud ha finalizado.\n"
                                        "El archivo CSV ha sido actualizado.")));
    const QString log = m_driver->log();
    QVERIFY(log.startsWith(QStringLiteral("Iniciando relleno de altitud desde API para el archivo: ") + file +
                           u'\n'));
    QVERIFY(log.endsWith(QLatin1String(" de 2 registros.\n\nRelleno de altitud finalizado.")));
    QCOMPARE(m_server.requests().size(), overwrite ? 2 : 1);
    QVERIFY(m_server.requests().constFirst().startsWith(QLatin1String("/v1/srtm30m?locations=")));
}

void WindowFlowsTest::refusesAnAltitudeFill()
{
    m_driver->click("txtRadio");
    for (const QString &file : {QString(), path(QStringLiteral("nada.csv"))}) {
        m_driver->type("txtPathEdit", file);
        m_driver->acceptNextMessage();
        m_driver->click("populateAltitudeButton");
    }
    const QString noFile = QStringLiteral("Error: Por favor, seleccione un archivo CSV válido.");
    QCOMPARE(m_driver->messages, QStringList({noFile, noFile}));

    Settings{ElevationProvider::Google, {}, 90}.save();
    m_driver = std::make_unique<WindowDriver>();
    writeText(path(QStringLiteral("tabla.csv")), "a;b\n");
    m_driver->click("txtRadio");
    m_driver->type("txtPathEdit", path(QStringLiteral("tabla.csv")));
    m_driver->acceptNextMessage();
    m_driver->click("populateAltitudeButton");
    Settings().save();
    QCOMPARE(m_driver->messages,
             QStringList(QStringLiteral(
                 "Error: No se ha configurado una clave de API para Google Elevation. Por favor, "
                 "añádala en Herramientas -> Configuración.")));
    QCOMPARE(m_server.requests(), QStringList());
}

void WindowFlowsTest::keepsSettings()
{
    const auto openDialog = [this](QDialogButtonBox::StandardButton end) {
        m_driver->onNextDialog([end](QWidget *dialog) {
            auto *key = dialog->findChild<QLineEdit *>(QStringLiteral("apiKeyEdit"));
            auto *provider = dialog->findChild<QComboBox *>(QStringLiteral("providerCombo"));
            QVERIFY(!key->isVisible());
            provider->setCurrentText(ElevationProvider::Google);
            QVERIFY(key->isVisible());
            key->setText(QStringLiteral(" clave "));
            dialog->findChild<QSpinBox *>(QStringLiteral("jpegQualitySpin"))->setValue(40);
            dialog->findChild<QDialogButtonBox *>()->button(end)->click();
        });
        QMetaObject::invokeMethod(m_driver->window.get(), "openSettingsDialog");
    };
    openDialog(QDialogButtonBox::Cancel);
    QCOMPARE(Settings::load().jpegQuality, 90);
    QCOMPARE(m_driver->log(), QString());

    openDialog(QDialogButtonBox::Ok);
    QCOMPARE(m_driver->log(), QStringLiteral("Configuración de salida y altitud actualizada."));
    const Settings stored = Settings::load();
    QCOMPARE(stored.altitudeProvider, ElevationProvider::Google);
    QCOMPARE(stored.googleApiKey, QStringLiteral(" clave "));
    QCOMPARE(stored.jpegQuality, 40);

    // The next batch saves with the new quality: coarse tables, whose first entry is above 12.
    writePhotos(1, {64, 64});
    runBatch();
    const QByteArray photo = bytesOf(photos() + QStringLiteral("/19J 500000 6000000.jpg"));
    Settings().save();
    const qsizetype table = photo.indexOf("\xff\xdb");
    QVERIFY(table > 0);
    QCOMPARE(static_cast<int>(photo[table + 5]), 20); // 16 × 100 / 80
}

void WindowFlowsTest::choosesFilesAndFolders()
{
    writePhoto(path(QStringLiteral("logo.png")), plainImage({10, 10}));
    writeText(path(QStringLiteral("tabla.csv")), "");
    m_driver->click("txtRadio");
    m_driver->check("outputFolderCheck", true);
    const struct {
        const char *button;
        const char *edit;
        QString choice;
        QString shown;
    } rows[] = {
        {"selectDirButton", "directoryEdit", photos(), photos()},
        {"selectLogoButton", "logoEdit", path(QStringLiteral("logo.png")), QStringLiteral("logo.png")},
        {"selectFontButton", "fontEdit", path(QStringLiteral("tabla.csv")), QStringLiteral("tabla.csv")},
        {"selectTxtButton", "txtPathEdit", path(QStringLiteral("tabla.csv")),
         path(QStringLiteral("tabla.csv"))},
        {"selectOutputButton", "outputFolderEdit", m_folder->path(), m_folder->path()},
    };
    for (const auto &row : rows) {
        m_driver->chooseInNextDialog(row.choice);
        m_driver->click(row.button);
        QCOMPARE(m_driver->find<QLineEdit>(row.edit)->text(), row.shown);
        m_driver->onNextDialog([](QWidget *dialog) { dialog->close(); });
        m_driver->click(row.button);
        QCOMPARE(m_driver->find<QLineEdit>(row.edit)->text(), row.shown);
    }
}

QTEST_MAIN(WindowFlowsTest)
#include "windowflows.moc"
