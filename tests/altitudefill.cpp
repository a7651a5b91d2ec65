// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/altitudefill.h"

#include "data/settings.h"
#include "photofiles.h"
#include "support/elevationserver.h"
#include "support/fulldisk.h"

#include <QDir>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

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

/// The altitude column, filled from a service that is really asked over HTTP.
class AltitudeFillTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void tellsEveryStep();
    void takesAnswers();
    void goesOnAfterNetworkErrors();
    void asksBothServices();
    void fillsTheRightColumn();
    void skipsLines();
    void leavesTheFileOnFailure();
    void pausesAfterEveryRequest();

private:
    QByteArray filled(const QByteArray &contents, bool overwrite = true);
    QByteArray logged(const char *word) const
    {
        return m_log.filter(QString::fromUtf8(word)).join(u'\n').toUtf8();
    }

    QTemporaryDir m_folder;
    ElevationServer m_server;
    ElevationAccess m_access;
    QString m_provider;
    QString m_key;
    QString m_path;
    QStringList m_log;
    QByteArray m_progress;
    std::function<void(const QString &)> m_onLine;
};

void AltitudeFillTest::init()
{
    m_server.setAnswers({});
    m_access = {m_server.url(), m_server.url(), std::chrono::milliseconds(1)};
    m_provider = ElevationProvider::OpenTopoData;
    m_key.clear();
    m_path = m_folder.filePath(QStringLiteral("tabla.csv"));
    m_onLine = [](const QString &) {
    };
}

// What a fill makes of a file of these contents.
QByteArray AltitudeFillTest::filled(const QByteArray &contents, bool overwrite)
{
    writeText(m_path, contents);
    m_log.clear();
    m_progress.clear();
    fillAltitudesFromApi(
        m_path, m_provider, m_key, overwrite,
        [this](const QString &line) {
            m_log.append(line);
            m_onLine(line);
        },
        [this](int done, int total) {
            m_progress += QByteArray::number(done) + '/' + QByteArray::number(total) + ' ';
        },
        m_access);
    return bytesOf(m_path);
}

void AltitudeFillTest::tellsEveryStep()
{
    m_server.setAnswers({{R"({"results": [{"elevation": 1523.456}], "status": "OK"})"}});
    QCOMPARE(filled("nombre;zona;letra;easting;northing\n á%1.jpg; 19 ; H ;345092.6;6297582.4\nb.jpg;19;H\n"),
             "nombre;zona;letra;easting;northing;altitud\n"
             " á%1.jpg; 19 ; H ;345092.6;6297582.4;1523.46\nb.jpg;19;H\n");
    QCOMPARE(m_progress, "0/2 1/2 2/2 ");
    QCOMPARE(m_log.join(u'\n')
                 .replace(m_path, QStringLiteral("PATH"))
                 .replace(m_server.url(), QStringLiteral("URL"))
                 .toUtf8(),
             R"(DEBUG: Abriendo CSV: PATH
DEBUG: N° de líneas leídas: 3
DEBUG: Header columns: nombre,zona,letra,easting,northing,altitud
DEBUG: Índice de columna altitud: 5
DEBUG: Procesando línea 1:  á%1.jpg; 19 ; H ;345092.6;6297582.4
DEBUG: Columnas en línea 1: size=5,  á%1.jpg, 19 , H ,345092.6,6297582.4
DEBUG: Línea 1 tieneAltitud=false
DEBUG: Parsed UTM - zone=19, zoneLetter=H, easting=345092.6, northing=6297582.4
DEBUG UTM->LatLon: zone=19H, easting=345092.6, northing=6297582.4 -> lat=-33.44999725, lon=-70.66667586
DEBUG locationsParam: -33.44999725,-70.66667586
Consultando altitud para  á%1.jpg (Coords: -33.44999725,-70.66667586)
DEBUG: URL de petición: URL/v1/srtm30m?locations=-33.44999725,-70.66667586
DEBUG: Respuesta cruda: {"results": [{"elevation": 1523.456}], "status": "OK"}
DEBUG: JSON recibido: {"results": [{"elevation": 1523.456}], "status": "OK"}
Altitud obtenida: 1523.46 m
DEBUG writing altitude: line 2 ->  á%1.jpg; 19 ; H ;345092.6;6297582.4;1523.46
DEBUG: Procesando línea 2: b.jpg;19;H
DEBUG: Columnas en línea 2: size=3, b.jpg,19,H
DEBUG: Línea 2 tieneAltitud=false
DEBUG: Omisión línea 2: UTM inválido
DEBUG: Escritura CSV, total líneas: 3
DEBUG: CSV guardado correctamente
Proceso completado. Se actualizaron 1 de 2 registros.)");
}

void AltitudeFillTest::takesAnswers()
{
    m_key = QStringLiteral("clave");
    const struct {
        QByteArray body;
        QByteArray written; // "3": nothing
        QByteArray googleError;
        QByteArray otherError;
    } cases[] = {
        {R"({"status":"OK","results":[{"elevation":-5.255}]})", "-5.25", "", ""},
        {R"({"status":"OK","results":[{"elevation":7},{"elevation":8}]})", "7.00", "", ""},
        {R"({"status":"OK","results":[{"elevation":null}]})", "0.00", "", ""},
        {R"({"status":"OK","results":[{}]})", "0.00", "", ""},
        {R"({"status":"OK","results":[]})", "3", "", ""},
        {R"({"status":"OK"})", "3", "", "OK - Sin detalles"},
        {R"({"status":"DENIED","error_message":"sin %1","error":"mal %2"})", "3", "DENIED - sin %1",
         "DENIED - mal %2"},
        {"<html>", "3", " - ", " - Sin detalles"},
    };
    for (const auto &[body, written, googleError, otherError] : cases) {
        for (const bool google : {true, false}) {
            m_provider = google ? ElevationProvider::Google : ElevationProvider::OpenTopoData;
            m_server.setAnswers({{body}});
            QCOMPARE(filled(header + row + "3\n"), header + row + written + '\n');
            const QByteArray &error = google ? googleError : otherError;
            const QByteArray start = google ? "Error de API Google: " : "Error de API OpenTopoData: ";
            QCOMPARE(logged("Error"), error.isEmpty() ? error : start + error);
        }
    }
}

void AltitudeFillTest::goesOnAfterNetworkErrors()
{
    m_server.setAnswers({{"{}", 500}, {"", 404}, altitude(42)});
    QCOMPARE(filled(header + row + "1\n" + row + "2\n" + row + "3\n"),
             header + row + "1\n" + row + "2\n" + row + "42.00\n");
    QCOMPARE(logged("Error de red: ").count('\n'), 1);

    QTcpServer rude; // hangs up
    QVERIFY(rude.listen(QHostAddress::LocalHost));
    connect(&rude, &QTcpServer::newConnection, &rude, [&rude] {
        while (QTcpSocket *socket = rude.nextPendingConnection())
            socket->abort();
    });
    m_access.openTopoDataUrl = QStringLiteral("http://127.0.0.1:%1").arg(rude.serverPort());
    QCOMPARE(filled(header + row + "1\n"), header + row + "1\n");
    QVERIFY(logged("Error de red: ").size() > 15);
}

void AltitudeFillTest::asksBothServices()
{
    m_key = QStringLiteral("a+b &=%#ñ?"); // arrives as typed
    const QString open = QStringLiteral("/v1/srtm30m?locations=-33.44999725,-70.66667586");
    const QString google = QStringLiteral("/maps/api/elevation/json?locations=-33.44999725,-70.66667586"
                                          "&key=a%2Bb%20%26%3D%25%23%C3%B1%3F");
    for (const auto &[provider, request] : {std::pair(QStringLiteral("OpenTopoData"), open),
                                            {QStringLiteral("google elevation"), open},
                                            {QStringLiteral("Google Elevation"), google}}) {
        m_provider = provider;
        m_server.setAnswers({});
        filled(header + row + '\n');
        QCOMPARE(m_server.requests(), QStringList(request));
    }
    QCOMPARE(elevationAccess().googleUrl, QStringLiteral("https://maps.googleapis.com"));
    QCOMPARE(elevationAccess().openTopoDataUrl, QStringLiteral("https://api.opentopodata.org"));
}

void AltitudeFillTest::fillsTheRightColumn()
{
    const QList<QPair<QByteArray, QByteArray>> cases = {
        {"ALTITUD;z;l;e;n\n;19;H;1;2\n", "ALTITUD;z;l;e;n\n100.00;19;H;1;2\n"},
        {"n;z;l;e;n;o\na;19;H;1;2\n", "n;z;l;e;n;o;altitud\na;19;H;1;2;;100.00\n"},
        {"n;z;l;e;n; altitud\na;19;H;1;2;3\n", "n;z;l;e;n; altitud;altitud\na;19;H;1;2;3;100.00\n"},
        {"n;z;l;e;n;altitud\r\n\r\na;19;H;1;2\r\n", "n;z;l;e;n;altitud\n\na;19;H;1;2;100.00\n"},
        {"n;z;l;e;n;altitud\na;19;H;1;2", "n;z;l;e;n;altitud\na;19;H;1;2;100.00\n"},
        {"\xef\xbb\xbf"
         "altitud;z;l;e;n\n;19;H;1;2\n",
         "\xef\xbb\xbf"
         "altitud;z;l;e;n\n100.00;19;H;1;2\n"},
        {"n;z;l;e;n;altitud\n\xf1;19;H;1;2;\n", "n;z;l;e;n;altitud\n\xf1;19;H;1;2;100.00\n"},
        {"n;z;l;e;n;altitud", "n;z;l;e;n;altitud\n"},
    };
    for (const auto &[before, after] : cases)
        QCOMPARE(filled(before), after);
}

void AltitudeFillTest::skipsLines()
{
    const struct {
        QByteArray line;
        bool overwrite;
        const char *reason; // empty: not skipped
    } cases[] = {
        {row + "0", false, "ya tiene altitud y no se debe sobrescribir."},
        {row + "0", true, ""},
        {row + " ", false, ""},
        {"a.jpg;19; ;1;2;;;", true, "letra de zona ausente"},
        {"a.jpg;19H;H;1;2;;;", true, "UTM inválido"},
        {"a.jpg;19;H;1;2,5;;;", true, "UTM inválido"},
        {"", true, "letra de zona ausente"},
    };
    for (const auto &[line, overwrite, reason] : cases) {
        m_server.setAnswers({});
        const bool skipped = qstrlen(reason) > 0;
        QCOMPARE(filled(header + line + '\n', overwrite) == header + line + '\n', skipped);
        QCOMPARE(logged("Omisión"), skipped ? QByteArray("DEBUG: Omisión línea 1: ") + reason : QByteArray());
        QCOMPARE(m_server.requests().size(), skipped ? 0 : 1);
        QCOMPARE(m_progress, "0/1 1/1 ");
    }
}

void AltitudeFillTest::leavesTheFileOnFailure()
{
    const QByteArray contents = header + row + '\n';
    QCOMPARE(filled(""), "");
    QCOMPARE(m_log.constLast().toUtf8(), "Error: El archivo CSV está vacío.");

    m_provider = ElevationProvider::Google;
    QCOMPARE(filled(contents), contents);
    QCOMPARE(m_log.constLast().toUtf8(), "Error: Se requiere una clave de API para Google Elevation.");
    QCOMPARE(m_server.requests(), QStringList());

    // another program changes the file, or takes it away with its folder, while the service is asked
    m_provider = ElevationProvider::OpenTopoData;
    m_onLine = [this](const QString &line) {
        if (line.startsWith(QLatin1String("Altitud obtenida")))
            writeText(m_path, "changed");
    };
    QCOMPARE(filled(contents), "changed");
    QVERIFY(m_log.constLast().startsWith(
        QLatin1String("Error: No se pudo guardar los cambios en el CSV: otro programa")));

    std::optional<FullDisk> full;
    m_onLine = [&](const QString &) {
        full.emplace(contents.size());
    };
    filled(contents);
    full.reset();
    QCOMPARE(bytesOf(m_path), contents);
    QVERIFY(m_log.constLast().startsWith(QLatin1String("Error: No se pudo guardar los cambios en el CSV: ")));

    QTemporaryDir other;
    m_path = other.filePath(QStringLiteral("tabla.csv"));
    m_onLine = [folder = other.path()](const QString &line) {
        if (line.startsWith(QLatin1String("Altitud obtenida")))
            QDir(folder).removeRecursively();
    };
    filled(contents);
    QCOMPARE(m_log.constLast().toUtf8(),
             "Error: No se pudo abrir el archivo CSV para escribir: no existe el archivo o la carpeta");
    fillAltitudesFromApi(
        m_path, m_provider, m_key, true, [this](const QString &line) { m_log = {line}; }, {}, m_access);
    QCOMPARE(m_log.constLast().toUtf8(),
             "Error: No se pudo abrir el archivo CSV para leer: no existe el archivo o la carpeta");
}

void AltitudeFillTest::pausesAfterEveryRequest()
{
    m_access.pause = std::chrono::milliseconds(120);
    m_server.setAnswers({altitude(1), {"", 500}, {altitude(3).body, 200, 150}});
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(filled(header + row + '\n' + row + '\n' + row + '\n'),
             header + row + "1.00\n" + row + '\n' + row + "3.00\n");
    QVERIFY(timer.elapsed() >= 3 * 120 + 150);
    QCOMPARE(elevationAccess().pause, std::chrono::milliseconds(1100));
}

QTEST_GUILESS_MAIN(AltitudeFillTest)
#include "altitudefill.moc"
