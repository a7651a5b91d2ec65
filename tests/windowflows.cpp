// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"
#include "data/elevationaccess.h"
#include "photofiles.h"
#include "windowdriver.h"

#include <QDir>
#include <QProgressDialog>
#include <QSpinBox>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>

namespace
{

// An elevation service on the loopback interface, which answers every request with the same body.
class ElevationServer : public QTcpServer
{
public:
    QByteArrayList requests; ///< the request lines

    ElevationServer()
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        });
        if (!listen(QHostAddress::LocalHost))
            qFatal("no loopback server");
    }

private:
    void serve(QTcpSocket *socket)
    {
        const QByteArray request = socket->peek(65536);
        if (!request.contains("\r\n\r\n"))
            return;
        socket->readAll();
        requests.append(request.left(request.indexOf('\r')));
        const QByteArray body = R"({"status": "OK", "results": [{"elevation": 812.346}]})";
        socket->write("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: " +
                      QByteArray::number(body.size()) + "\r\n\r\n" + body);
        socket->disconnectFromHost();
    }
};

QString serverUrl;

// The dialog of the job that runs, or null.
QProgressDialog *dialogOf(const Window &window)
{
    return window.findChild<QProgressDialog *>(text("progressDialog"));
}

} // namespace

ElevationAccess elevationAccess()
{
    return {serverUrl, serverUrl, std::chrono::milliseconds(1)};
}

class WindowFlowsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void refusals();
    void wholeBatch();
    void cancelOnlyHides();
    void closedWindowWaitsForTheBatch();
    void sampleFile_data();
    void sampleFile();
    void altitudeFill_data();
    void altitudeFill();
    void altitudeFillRefusals();
    void settingsReachTheRun();

private:
    void writePhotos(int count, QSize size = {320, 240});

    QTemporaryDir m_settings;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void WindowFlowsTest::initTestCase()
{
    isolateWindow(m_settings.path());
}

void WindowFlowsTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QSettings(text("Velmaro"), text("Velmaro")).clear();
}

void WindowFlowsTest::writePhotos(int count, QSize size)
{
    for (int i = 0; i < count; ++i)
        writePhoto(m_dir->filePath(QStringLiteral("foto%1.jpg").arg(i)), plainImage(size), gpsTags());
}

void WindowFlowsTest::refusals()
{
    const QString absent = m_dir->filePath(text("nada"));
    Window window;
    window.type("directoryEdit", absent);
    window.check("logoCheck", true);
    window.check("txtRadio", true);
    window.check("outputFolderCheck", true);
    window.type("outputFolderEdit", absent);
    const QString logo = m_dir->filePath(text("logo.png"));
    QVERIFY(plainImage({8, 8}).save(logo));
    const QString table = m_dir->filePath(text("t.csv"));
    writeText(table, coordinatesHeader().toUtf8());

    // Each refusal hides the next until its cause is gone.
    DialogDriver driver;
    window.click("startButton");
    window.type("directoryEdit", m_dir->path());
    window.click("startButton");
    driver.chooseFile(logo);
    window.click("selectLogoButton");
    window.click("startButton");
    window.type("txtPathEdit", m_dir->path()); // a folder is no coordinates file
    window.click("startButton");
    window.type("txtPathEdit", table);
    window.click("startButton");
    window.type("outputFolderEdit", QString());
    window.click("startButton");
    const QString file = text("Error: Seleccione un archivo txt válido (o cambie el modo a EXIF).");
    const QString output = text("Error: Seleccione una carpeta de salida válida.");
    QCOMPARE(driver.boxes,
             (QStringList{text("Error: Seleccione un directorio de fotos válido."),
                          text("Error: Seleccione un archivo de logo válido."), file, file, output, output}));
    QCOMPARE(window.log(), QString());
    QVERIFY(window.enabled("startButton") && !dialogOf(window));
}

void WindowFlowsTest::wholeBatch()
{
    writePhotos(3);
    Window window;
    window.type("directoryEdit", m_dir->path());
    DialogDriver driver;
    window.click("startButton");
    QVERIFY(!window.enabled("startButton"));
    QVERIFY(dialogOf(window)->isVisible());
    QCOMPARE(dialogOf(window)->maximum(), 0);
    // The options are those of the moment of the click.
    window.check("renameCheck", false);

    QTRY_VERIFY(window.enabled("startButton"));
    QCOMPARE(driver.boxes, QStringList{text("Completado: El proceso ha finalizado.")});
    const QStringList log = window.log().split(u'\n');
    QCOMPARE(log.first(), text("Iniciando el proceso de renombrado y modificación de fotos..."));
    QVERIFY(log.at(log.size() - 3).startsWith(text("Se procesaron 3 fotos en ")));
    QCOMPARE(log.at(log.size() - 2), QString());
    QCOMPARE(log.last(), text("Proceso finalizado."));
    QTRY_VERIFY(!dialogOf(window));

    const QDir dir(m_dir->path());
    QCOMPARE(QDir(dir.filePath(text("Backup"))).entryList(QDir::Files).size(), 3);
    const QStringList renamed = dir.entryList(QDir::Files);
    QCOMPARE(renamed.size(), 3);
    for (const QString &name : renamed)
        QVERIFY2(!name.startsWith(text("foto")), qPrintable(name));
    QVERIFY(window.enabled("nextButton")); // the list has been rebuilt from the new names
    QVERIFY(!window.preview().isNull());
}

void WindowFlowsTest::cancelOnlyHides()
{
    writePhotos(8, {1600, 1200});
    Window window;
    window.type("directoryEdit", m_dir->path());
    DialogDriver driver;
    bool cancelled = false;
    bool shownAgain = false;
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        QProgressDialog *dialog = dialogOf(window);
        if (!dialog)
            return;
        shownAgain |= cancelled && dialog->isVisible();
        if (!cancelled) {
            dialog->setMinimumDuration(0); // so that it would come up again at once
            dialog->findChild<QPushButton *>()->click();
            cancelled = true;
            QVERIFY(!dialog->isVisible() && !window.enabled("startButton"));
        }
    });
    watch.start(1);
    window.click("startButton");
    QTRY_VERIFY_WITH_TIMEOUT(window.enabled("startButton"), 60000);
    QVERIFY(cancelled && !shownAgain);
    QCOMPARE(driver.boxes, QStringList{text("Completado: El proceso ha finalizado.")});
    QVERIFY(window.log().contains(text("Se procesaron 8 fotos en ")));
}

void WindowFlowsTest::closedWindowWaitsForTheBatch()
{
    writePhotos(4, {1600, 1200});
    {
        Window window;
        window.type("directoryEdit", m_dir->path());
        window.click("startButton");
    }
    QCOMPARE(QDir(m_dir->filePath(text("Backup"))).entryList(QDir::Files).size(), 4);
    QVERIFY(QDir(m_dir->path()).entryList({text("foto*")}, QDir::Files).isEmpty());
}

void WindowFlowsTest::sampleFile_data()
{
    QTest::addColumn<bool>("fromExif");
    QTest::newRow("from EXIF") << true;
    QTest::newRow("placeholders") << false;
}

void WindowFlowsTest::sampleFile()
{
    QFETCH(bool, fromExif);
    writePhotos(1);
    writePhoto(m_dir->filePath(text("sin.jpg")), plainImage({32, 24}));
    QVERIFY(QDir(m_dir->path()).mkdir(text("sub")));
    writePhoto(m_dir->filePath(text("sub/dentro.jpg")), plainImage({32, 24}));
    const QString path = m_dir->filePath(text("ejemplo"));

    Window window;
    DialogDriver driver;
    window.click("createSampleButton");
    QCOMPARE(driver.boxes, QStringList{text("Error: Seleccione un directorio de fotos válido antes de crear "
                                            "el archivo de ejemplo.")});
    window.type("directoryEdit", m_dir->path());
    window.check("sampleFromExifCheck", fromExif);
    driver.chooseFile(path);
    window.click("createSampleButton");
    QCOMPARE(window.get<QLineEdit>("txtPathEdit")->text(), path);
    const QString withoutGps = text("Datos GPS no encontrados en EXIF para sin.jpg. Usando coordenadas y "
                                    "orientación fijas\n");
    QCOMPARE(window.log(),
             (fromExif ? withoutGps : QString()) + text("Archivo de ejemplo creado en: ") + path);

    QStringList complaints;
    const CoordinatesTable table =
        readCoordinatesFile(path, [&complaints](const QString &line) { complaints.append(line); });
    QCOMPARE(table.keys(), (QStringList{text("foto0.jpg"), text("sin.jpg")}));
    const UtmEntry photo = table.value(text("foto0.jpg"));
    const UtmPosition expected =
        fromExif ? latLonToUtm(-33.45, -70.0 - 40.0 / 60) : UtmPosition{19, 'J', 5e5, 6e6};
    QCOMPARE(photo.zone, expected.zone);
    QCOMPARE(photo.zoneLetter, expected.zoneLetter);
    QCOMPARE(photo.easting, std::floor(expected.easting));
    QCOMPARE(photo.northing, std::floor(expected.northing));
    QCOMPARE(photo.hasOrientation && photo.orientation == 90, fromExif);
    QCOMPARE(photo.dateTime.date() == QDate(2024, 3, 5), fromExif);
    QVERIFY(!table.value(text("sin.jpg")).hasAltitude);
    QVERIFY(qAbs(table.value(text("sin.jpg")).dateTime.secsTo(QDateTime::currentDateTime())) < 60);
}

void WindowFlowsTest::altitudeFill_data()
{
    QTest::addColumn<bool>("overwrite");
    QTest::newRow("overwriting") << true;
    QTest::newRow("only the missing ones") << false;
}

void WindowFlowsTest::altitudeFill()
{
    QFETCH(bool, overwrite);
    ElevationServer server;
    serverUrl = QStringLiteral("http://127.0.0.1:%1").arg(server.serverPort());
    const QString path = m_dir->filePath(text("t.csv"));
    const QByteArray start = coordinatesHeader().toUtf8() + "\nfoto0.jpg;19;H;345678;6298766;90;;0\n";
    writeText(path, start + "b.jpg;19;H;345678;6298766;;;\n");
    writePhotos(1);

    Window window;
    window.type("directoryEdit", m_dir->path());
    window.check("txtRadio", true);
    window.type("txtPathEdit", path);
    window.check("overwriteAltitudeCheck", overwrite);
    const QImage before = window.preview();
    DialogDriver driver;
    window.click("populateAltitudeButton");
    QVERIFY(!window.enabled("populateAltitudeButton"));
    QTRY_VERIFY_WITH_TIMEOUT(window.enabled("populateAltitudeButton"), 10000);
    QCOMPARE(driver.boxes, QStringList{text("Completado: El proceso de relleno de altitud ha finalizado.\n"
                                            "El archivo CSV ha sido actualizado.")});
    QCOMPARE(server.requests.size(), overwrite ? 2 : 1);
    QVERIFY(server.requests.first().startsWith("GET /v1/srtm30m?locations=-33."));
    const CoordinatesTable table = readCoordinatesFile(path, [](const QString &) {});
    QCOMPARE(table.value(text("b.jpg")).altitude, 812.35);
    QCOMPARE(table.value(text("foto0.jpg")).altitude, overwrite ? 812.35 : 0.0);
    QVERIFY(window.log().startsWith(text("Iniciando relleno de altitud desde API para el archivo: ") + path));
    QVERIFY(window.log().endsWith(text("\n\nRelleno de altitud finalizado.")));
    QCOMPARE(window.preview() != before, overwrite); // the preview draws the new altitude
}

void WindowFlowsTest::altitudeFillRefusals()
{
    Window window;
    DialogDriver driver;
    window.type("txtPathEdit", m_dir->path());
    window.click("populateAltitudeButton");
    const QString path = m_dir->filePath(text("t.csv"));
    writeText(path, coordinatesHeader().toUtf8());
    window.type("txtPathEdit", path);
    driver.answers.append([](QWidget *dialog) {
        dialog->findChild<QComboBox *>(text("providerCombo"))->setCurrentIndex(1);
        QMetaObject::invokeMethod(dialog, "accept");
    });
    QVERIFY(QMetaObject::invokeMethod(&window, "openSettingsDialog"));
    window.click("populateAltitudeButton");
    QCOMPARE(
        driver.boxes,
        (QStringList{text("Error: Por favor, seleccione un archivo CSV válido."),
                     text("Error: No se ha configurado una clave de API para Google Elevation. Por favor, "
                          "añádala en Herramientas -> Configuración.")}));
    QCOMPARE(window.log(), text("Configuración de salida y altitud actualizada."));
}

void WindowFlowsTest::settingsReachTheRun()
{
    QImage noise(400, 300, QImage::Format_RGB32);
    for (int y = 0; y < noise.height(); ++y) {
        for (int x = 0; x < noise.width(); ++x)
            noise.setPixelColor(x, y, QColor((x * 37 + y * 91) % 256, (x * y) % 256, (x * 13) % 256));
    }
    const QString photo = m_dir->filePath(text("a.jpg"));
    const auto sizeAfterRunWith = [&](int quality, QDialog::DialogCode answer) {
        writePhoto(photo, noise, gpsTags());
        Window window;
        window.check("renameCheck", false);
        window.type("directoryEdit", m_dir->path());
        DialogDriver driver;
        driver.answers.append([quality, answer](QWidget *dialog) {
            dialog->findChild<QSpinBox *>(text("jpegQualitySpin"))->setValue(quality);
            qobject_cast<QDialog *>(dialog)->done(answer);
        });
        QMetaObject::invokeMethod(&window, "openSettingsDialog");
        window.click("startButton");
        [&] {
            QTRY_VERIFY(window.enabled("startButton"));
        }();
        return QFileInfo(photo).size();
    };
    const qint64 usual = sizeAfterRunWith(1, QDialog::Rejected);
    const qint64 coarse = sizeAfterRunWith(10, QDialog::Accepted);
    QVERIFY2(coarse < usual / 2, qPrintable(QStringLiteral("%1 %2").arg(coarse).arg(usual)));
    QCOMPARE(QSettings(text("Velmaro"), text("Velmaro")).value(text("output/jpegQuality")).toInt(), 10);
}

QTEST_MAIN(WindowFlowsTest)
#include "windowflows.moc"
