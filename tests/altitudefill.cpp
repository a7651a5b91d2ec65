// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/altitudefill.h"

#include "data/settings.h"
#include "photofiles.h"
#include "support/elevationserver.h"

#include <QElapsedTimer>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

/// The altitude column, filled from a service that is really asked over HTTP.
class AltitudeFillTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void tellsEveryStep();
    void takesAnswers_data();
    void takesAnswers();
    void goesOnAfterNetworkErrors();
    void asksBothServices_data();
    void asksBothServices();
    void fillsTheRightColumn_data();
    void fillsTheRightColumn();
    void skipsLines_data();
    void skipsLines();
    void leavesTheFileOnFailure_data();
    void leavesTheFileOnFailure();
    void pausesAfterEveryRequest();

private:
    void fill(const QByteArray &contents, bool overwrite = true);

    QTemporaryDir m_folder;
    ElevationServer m_server;
    ElevationAccess m_access;
    QString m_provider;
    QString m_key;
    QString m_path;
    QStringList m_log;
    QList<QPair<int, int>> m_progress;
};

namespace
{

const QByteArray header =
    "nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud\n";
const QByteArray row = "a.jpg;19;H;345092.6;6297582.4;1;;";

ElevationServer::Answer altitude(double metres)
{
    return {R"({"status": "OK", "results": [{"elevation": )" + QByteArray::number(metres) + "}]}"};
}

} // namespace

void AltitudeFillTest::init()
{
    m_server.setAnswers({});
    m_access = {m_server.url(), m_server.url(), std::chrono::milliseconds(1)};
    m_provider = ElevationProvider::OpenTopoData;
    m_key.clear();
    m_path = m_folder.filePath(QStringLiteral("tabla.csv"));
}

void AltitudeFillTest::fill(const QByteArray &contents, bool overwrite)
{
    writeText(m_path, contents);
    m_log.clear();
    m_progress.clear();
    fillAltitudesFromApi(
        m_path, m_provider, m_key, overwrite, [this](const QString &line) { m_log.append(line); },
        [this](int done, int total) {
            m_progress.append({done, total});
        },
        m_access);
}

void AltitudeFillTest::tellsEveryStep()
{
    const QByteArray answer = R"({"results": [{"elevation": 1523.456}], "status": "OK"})";
    m_server.setAnswers({{answer}});
    fill("nombre;zona;letra;easting;northing\n á%1.jpg; 19 ; H ;345092.6;6297582.4\nb.jpg;19;H\n");

    const QString location = QStringLiteral("-33.44999725,-70.66667586");
    const QString line = QString::fromUtf8(" á%1.jpg; 19 ; H ;345092.6;6297582.4");
    QCOMPARE(
        m_log,
        QStringList({
            QStringLiteral("DEBUG: Abriendo CSV: ") + m_path,
            QStringLiteral("DEBUG: N° de líneas leídas: 3"),
            QStringLiteral("DEBUG: Header columns: nombre,zona,letra,easting,northing,altitud"),
            QStringLiteral("DEBUG: Índice de columna altitud: 5"),
            QStringLiteral("DEBUG: Procesando línea 1: ") + line,
            QStringLiteral("DEBUG: Columnas en línea 1: size=5, ") + QString(line).replace(u';', u','),
            QStringLiteral("DEBUG: Línea 1 tieneAltitud=false"),
            QStringLiteral("DEBUG: Parsed UTM - zone=19, zoneLetter=H, easting=345092.6, northing=6297582.4"),
            QStringLiteral(
                "DEBUG UTM->LatLon: zone=19H, easting=345092.6, northing=6297582.4 -> lat=%1, lon=%2")
                .arg(location.section(u',', 0, 0), location.section(u',', 1)),
            QStringLiteral("DEBUG locationsParam: ") + location,
            QStringLiteral("Consultando altitud para  á%1.jpg (Coords: ") + location + QStringLiteral(")"),
            QStringLiteral("DEBUG: URL de petición: ") + m_server.url() +
                QStringLiteral("/v1/srtm30m?locations=") + location,
            QStringLiteral("DEBUG: Respuesta cruda: ") + QString::fromUtf8(answer),
            QStringLiteral("DEBUG: JSON recibido: ") + QString::fromUtf8(answer),
            QStringLiteral("Altitud obtenida: 1523.46 m"),
            QStringLiteral("DEBUG writing altitude: line 2 -> ") + line + QStringLiteral(";1523.46"),
            QStringLiteral("DEBUG: Procesando línea 2: b.jpg;19;H"),
            QStringLiteral("DEBUG: Columnas en línea 2: size=3, b.jpg,19,H"),
            QStringLiteral("DEBUG: Línea 2 tieneAltitud=false"),
            QStringLiteral("DEBUG: Omisión línea 2: UTM inválido"),
            QStringLiteral("DEBUG: Escritura CSV, total líneas: 3"),
            QStringLiteral("DEBUG: CSV guardado correctamente"),
            QStringLiteral("Proceso completado. Se actualizaron 1 de 2 registros."),
        }));
    QCOMPARE(m_progress, (QList<QPair<int, int>>{{0, 2}, {1, 2}, {2, 2}}));
    QCOMPARE(bytesOf(m_path), "nombre;zona;letra;easting;northing;altitud\n á%1.jpg; 19 ; H "
                              ";345092.6;6297582.4;1523.46\nb.jpg;19;H\n");
}

void AltitudeFillTest::takesAnswers_data()
{
    QTest::addColumn<bool>("google");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("written"); // empty: nothing
    QTest::addColumn<QString>("message");

    const auto both = [](const char *name, const QByteArray &body, const QByteArray &written) {
        QTest::addRow("Google: %s", name) << true << body << written << QString();
        QTest::addRow("OpenTopoData: %s", name) << false << body << written << QString();
    };
    both("negative", R"({"status":"OK","results":[{"elevation":-5.255}]})", "-5.25");
    both("first of two", R"({"status":"OK","results":[{"elevation":7},{"elevation":8}]})", "7.00");
    both("null", R"({"status":"OK","results":[{"elevation":null}]})", "0.00");
    both("no elevation", R"({"status":"OK","results":[{}]})", "0.00");
    both("no results", R"({"status":"OK","results":[]})", "");
    QTest::newRow("Google: without results")
        << true << QByteArray(R"({"status":"OK"})") << QByteArray() << QString();
    QTest::newRow("Google: refused") << true
                                     << QByteArray(R"({"status":"REQUEST_DENIED","error_message":"sin %1"})")
                                     << QByteArray()
                                     << QStringLiteral("Error de API Google: REQUEST_DENIED - sin %1");
    QTest::newRow("Google: no JSON") << true << QByteArray("<html>") << QByteArray()
                                     << QStringLiteral("Error de API Google:  - ");
    QTest::newRow("OpenTopoData: without results")
        << false << QByteArray(R"({"status":"OK"})") << QByteArray()
        << QStringLiteral("Error de API OpenTopoData: OK - Sin detalles");
    QTest::newRow("OpenTopoData: refused")
        << false << QByteArray(R"({"status":"INVALID_REQUEST","error":"mal %2"})") << QByteArray()
        << QStringLiteral("Error de API OpenTopoData: INVALID_REQUEST - mal %2");
    QTest::newRow("OpenTopoData: no JSON") << false << QByteArray("<html>") << QByteArray()
                                           << QStringLiteral("Error de API OpenTopoData:  - Sin detalles");
}

void AltitudeFillTest::takesAnswers()
{
    QFETCH(bool, google);
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, written);
    QFETCH(QString, message);
    m_provider = google ? ElevationProvider::Google : ElevationProvider::OpenTopoData;
    m_key = QStringLiteral("clave");
    m_server.setAnswers({{body}});
    fill(header + row + "3\n");
    QCOMPARE(bytesOf(m_path), header + row + (written.isEmpty() ? QByteArray("3") : written) + '\n');
    QCOMPARE(m_log.filter(QStringLiteral("Error")), message.isEmpty() ? QStringList() : QStringList(message));
}

void AltitudeFillTest::goesOnAfterNetworkErrors()
{
    m_server.setAnswers({{"{}", 500}, {"", 404}, altitude(42)});
    fill(header + row + "1\n" + row + "2\n" + row + "3\n");
    QCOMPARE(m_log.filter(QStringLiteral("Error de red: ")).size(), 2);
    QCOMPARE(bytesOf(m_path), header + row + "1\n" + row + "2\n" + row + "42.00\n");

    // A server that hangs up.
    QTcpServer rude;
    QVERIFY(rude.listen(QHostAddress::LocalHost));
    connect(&rude, &QTcpServer::newConnection, &rude, [&rude] {
        while (QTcpSocket *socket = rude.nextPendingConnection())
            socket->abort();
    });
    m_access.openTopoDataUrl = QStringLiteral("http://127.0.0.1:%1").arg(rude.serverPort());
    fill(header + row + "1\n");
    QCOMPARE(m_log.filter(QStringLiteral("Error de red: ")).size(), 1);
    QCOMPARE(bytesOf(m_path), header + row + "1\n");
}

void AltitudeFillTest::asksBothServices_data()
{
    QTest::addColumn<QString>("provider");
    QTest::addColumn<QString>("request");
    const QString location = QStringLiteral("locations=-33.44999725,-70.66667586");
    QTest::newRow("OpenTopoData") << ElevationProvider::OpenTopoData
                                  << QStringLiteral("/v1/srtm30m?") + location;
    QTest::newRow("another name") << QStringLiteral("google elevation")
                                  << QStringLiteral("/v1/srtm30m?") + location;
    QTest::newRow("Google") << ElevationProvider::Google
                            << QStringLiteral("/maps/api/elevation/json?") + location +
                                   QStringLiteral("&key=a%2Bb%20%26%3D%25%23%C3%B1%3F");
}

void AltitudeFillTest::asksBothServices()
{
    QFETCH(QString, provider);
    m_provider = provider;
    m_key = QStringLiteral("a+b &=%#ñ?"); // arrives as typed
    fill(header + row + "\n");
    QFETCH(QString, request);
    QCOMPARE(m_server.requests(), QStringList(request));
}

void AltitudeFillTest::fillsTheRightColumn_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::newRow("any case, any place")
        << QByteArray("ALTITUD;z;l;e;n\n;19;H;1;2\n") << QByteArray("ALTITUD;z;l;e;n\n100.00;19;H;1;2\n");
    QTest::newRow("none") << QByteArray("n;z;l;e;n;o\na;19;H;1;2\n")
                          << QByteArray("n;z;l;e;n;o;altitud\na;19;H;1;2;;100.00\n");
    QTest::newRow("with a blank, so none") << QByteArray("n;z;l;e;n; altitud\na;19;H;1;2;3\n")
                                           << QByteArray("n;z;l;e;n; altitud;altitud\na;19;H;1;2;3;100.00\n");
    QTest::newRow("CR LF") << QByteArray("n;z;l;e;n;altitud\r\n\r\na;19;H;1;2\r\n")
                           << QByteArray("n;z;l;e;n;altitud\n\na;19;H;1;2;100.00\n");
    QTest::newRow("no last line end") << QByteArray("n;z;l;e;n;altitud\na;19;H;1;2")
                                      << QByteArray("n;z;l;e;n;altitud\na;19;H;1;2;100.00\n");
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                   "altitud;z;l;e;n\n;19;H;1;2\n")
                                     << QByteArray("\xef\xbb\xbf"
                                                   "altitud;z;l;e;n\n100.00;19;H;1;2\n");
    QTest::newRow("another encoding") << QByteArray("n;z;l;e;n;altitud\n\xf1;19;H;1;2;\n")
                                      << QByteArray("n;z;l;e;n;altitud\n\xf1;19;H;1;2;100.00\n");
    QTest::newRow("header alone") << QByteArray("n;z;l;e;n;altitud") << QByteArray("n;z;l;e;n;altitud\n");
}

void AltitudeFillTest::fillsTheRightColumn()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    fill(before);
    QCOMPARE(bytesOf(m_path), after);
    QVERIFY(m_log.constLast().startsWith(QLatin1String("Proceso completado.")));
}

void AltitudeFillTest::skipsLines_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("overwrite");
    QTest::addColumn<QString>("reason"); // empty: not skipped
    const QString kept = QStringLiteral("ya tiene altitud y no se debe sobrescribir.");
    const QString invalid = QStringLiteral("UTM inválido");
    QTest::newRow("has one") << row + "0" << false << kept;
    QTest::newRow("has one, overwrite") << row + "0" << true << QString();
    QTest::newRow("blank") << row + " " << false << QString();
    QTest::newRow("no letter") << QByteArray("a.jpg;19; ;1;2;;;") << true
                               << QStringLiteral("letra de zona ausente");
    QTest::newRow("bad zone") << QByteArray("a.jpg;19H;H;1;2;;;") << true << invalid;
    QTest::newRow("bad northing") << QByteArray("a.jpg;19;H;1;2,5;;;") << true << invalid;
    QTest::newRow("empty line") << QByteArray() << true << QStringLiteral("letra de zona ausente");
}

void AltitudeFillTest::skipsLines()
{
    QFETCH(QByteArray, line);
    QFETCH(bool, overwrite);
    QFETCH(QString, reason);
    fill(header + line + '\n', overwrite);
    const QStringList skipped = m_log.filter(QStringLiteral("Omisión"));
    QCOMPARE(skipped, reason.isEmpty() ? QStringList()
                                       : QStringList(QStringLiteral("DEBUG: Omisión línea 1: ") + reason));
    QCOMPARE(bytesOf(m_path) == header + line + '\n', !reason.isEmpty());
    QCOMPARE(m_server.requests().size(), reason.isEmpty() ? 1 : 0);
    QCOMPARE(m_progress.constLast(), qMakePair(1, 1));
}

void AltitudeFillTest::leavesTheFileOnFailure_data()
{
    QTest::addColumn<QString>("cause");
    QTest::addColumn<QString>("lastLine");
    QTest::newRow("missing") << QStringLiteral("missing")
                             << QStringLiteral("Error: No se pudo abrir el archivo CSV para leer: ");
    QTest::newRow("empty") << QStringLiteral("empty") << QStringLiteral("Error: El archivo CSV está vacío.");
    QTest::newRow("no key") << QStringLiteral("no key")
                            << QStringLiteral("Error: Se requiere una clave de API para Google Elevation.");
    QTest::newRow("gone") << QStringLiteral("gone")
                          << QStringLiteral("Error: No se pudo abrir el archivo CSV para escribir: ");
}

void AltitudeFillTest::leavesTheFileOnFailure()
{
    QFETCH(QString, cause);
    QFETCH(QString, lastLine);
    const QByteArray contents = cause == QLatin1String("empty") ? QByteArray() : header + row + "\n";
    QTemporaryDir other;
    if (cause == QLatin1String("missing") || cause == QLatin1String("gone"))
        m_path = other.filePath(QStringLiteral("tabla.csv"));
    if (cause == QLatin1String("no key"))
        m_provider = ElevationProvider::Google;
    if (cause != QLatin1String("missing"))
        writeText(m_path, contents);

    m_log.clear();
    fillAltitudesFromApi(
        m_path, m_provider, m_key, true,
        [&](const QString &line) {
            m_log.append(line);
            if (cause == QLatin1String("gone") && line.startsWith(QLatin1String("DEBUG: Escritura")))
                other.remove();
        },
        {}, m_access);
    QVERIFY2(m_log.constLast().startsWith(lastLine), qPrintable(m_log.constLast()));
    if (cause == QLatin1String("no key"))
        QCOMPARE(m_server.requests(), QStringList());
    if (QFile::exists(m_path))
        QCOMPARE(bytesOf(m_path), contents);
}

void AltitudeFillTest::pausesAfterEveryRequest()
{
    m_access.pause = std::chrono::milliseconds(120);
    m_server.setAnswers(
        {altitude(1), {"", 500}, {R"({"status":"OK","results":[{"elevation":3}]})", 200, 150}});
    QElapsedTimer timer;
    timer.start();
    fill(header + row + "\n" + row + "\n" + row + "\n");
    QVERIFY(timer.elapsed() >= 3 * 120 + 150);
    QCOMPARE(bytesOf(m_path), header + row + "1.00\n" + row + "\n" + row + "3.00\n");
    QCOMPARE(elevationAccess().pause, std::chrono::milliseconds(1100));
}

QTEST_GUILESS_MAIN(AltitudeFillTest)
#include "altitudefill.moc"
