// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/altitudefill.h"

#include "data/settings.h"
#include "photofiles.h"
#include "support/elevationserver.h"
#include "support/fulldisk.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// The altitude column, filled from a service that is really asked over HTTP.
class AltitudeFillTest : public QObject
{
    Q_OBJECT

    static inline const QByteArray header = "n;z;l;e;n;altitud\n";
    static inline const QByteArray row = "a.jpg;19;H;345092.6;6297582.4;";

    // The fill of a file, as often as one likes.
    struct Fill {
        // What becomes of these contents; without any, the file is taken as it is.
        QByteArray operator()(const QByteArray &contents = {}, bool overwrite = true)
        {
            if (!contents.isNull())
                writeText(path, contents);
            log.clear();
            const auto tell = [this](const QString &line) {
                log.append(line);
                if (line.startsWith(u"Altitud obtenida"_s))
                    onAnswer();
            };
            const auto progress = [this](int done, int total) {
                log.append(u"%1/%2"_s.arg(done).arg(total));
            };
            fillAltitudesFromApi(path, provider, key, overwrite, tell, progress, access);
            return bytesOf(path);
        }

        // The lines that have one of these words, alternatives of a regular expression.
        QByteArray told(const char *words) const
        {
            return log.filter(QRegularExpression(QString::fromUtf8(words))).join(u'\n').toUtf8();
        }

        QTemporaryDir folder;
        ElevationServer server;
        QString path = folder.filePath(u"tabla.csv"_s);
        ElevationAccess access{server.url(), server.url(), std::chrono::milliseconds(1)};
        QString provider = ElevationProvider::OpenTopoData;
        QString key = u""_s;
        QStringList log; // with the progress
        std::function<void()> onAnswer = [] {
        };
    };

private slots:
    void tellsEveryStep()
    {
        Fill fill;
        fill.server.setAnswers({{R"({"results": [{"elevation": 1523.456}], "status": "OK"})"}});
        QCOMPARE(fill("nombre;zona;letra;easting;northing\n á%1.jpg; 19 ; H ;345092.6;6297582.4"),
                 "nombre;zona;letra;easting;northing;altitud\n"
                 " á%1.jpg; 19 ; H ;345092.6;6297582.4;1523.46\n");
        fill.log.replaceInStrings(fill.path, u"PATH"_s).replaceInStrings(fill.server.url(), u"URL"_s);
        QCOMPARE(fill.told(""), R"(DEBUG: Abriendo CSV: PATH
DEBUG: N° de líneas leídas: 2
DEBUG: Header columns: nombre,zona,letra,easting,northing,altitud
DEBUG: Índice de columna altitud: 5
0/1
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
1/1
DEBUG: Escritura CSV, total líneas: 2
DEBUG: CSV guardado correctamente
Proceso completado. Se actualizaron 1 de 1 registros.)");
    }

    void takesAnswers()
    {
        const ElevationAccess access = elevationAccess();
        QCOMPARE(access.googleUrl, u"https://maps.googleapis.com"_s);
        QCOMPARE(access.openTopoDataUrl, u"https://api.opentopodata.org"_s);
        QCOMPARE(access.pause, std::chrono::milliseconds(1100));
        Fill fill;
        fill.key = u"a+b &=%#ñ?"_s;                        // arrives as typed
        fill.access.pause = std::chrono::milliseconds(40); // after every request, answered or not
        QList<ElevationServer::Answer> answers = {
            {R"({"status":"OK","results":[{"elevation":-5.255},{"elevation":8}]})"},
            {R"({"status":"OK","results":[{}]})"},
            {R"({"status":"OK","results":[]})"},
            {R"({"status":"OK"})"},
            {R"({"status":"DENIED","error_message":"sin %1","error":"mal %2"})"},
            {"<html>"},
        };
        for (const int status : {400, 401, 403, 404, 418, 429, 500, 503})
            answers.append({"{}", status});
        const QByteArray rows = QByteArray(row + "3\n").repeated(15);
        const QByteArray networkErrors =
            "Red: 400 (solicitud incorrecta)\nRed: 401 (acceso denegado)\nRed: 403 (acceso denegado)\n"
            "Red: 404 (no encontrado)\nRed: 418 (solicitud rechazada)\nRed: 429 (demasiadas solicitudes)\n"
            "Red: 500 (error del servidor)\nRed: 503 (servicio no disponible)";
        const struct {
            QString provider;
            const char *request, *errors;
        } services[] = {
            {u"google elevation"_s, "/v1/srtm30m?locations=-33.44999725,-70.66667586",
             "Error de API OpenTopoData: OK - Sin detalles\nError de API OpenTopoData: DENIED - mal %2\n"
             "Error de API OpenTopoData:  - Sin detalles\n"},
            {u"Google Elevation"_s,
             "/maps/api/elevation/json?locations=-33.44999725,-70.66667586&key=a%2Bb%20%26%3D%25%23%C3%B1%3F",
             "Error de API Google: DENIED - sin %1\nError de API Google:  - \n"},
        };
        for (const auto &[provider, request, errors] : services) {
            fill.provider = provider;
            fill.server.setAnswers(answers);
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(fill(header + rows).replace(row, ""),
                     header + "-5.25\n0.00\n" + QByteArray("3\n").repeated(12) + "100.00\n");
            QCOMPARE(fill.told("Error").replace("Error de red: el servidor respondió", "Red:"),
                     errors + networkErrors);
            QCOMPARE(fill.server.requests(), QStringList(15, QString::fromLatin1(request)));
            QVERIFY(timer.elapsed() >= 15 * 40);
        }
    }

    void tellsNetworkErrors()
    {
        Fill fill;
        QTcpServer rude; // hangs up
        QVERIFY(rude.listen(QHostAddress::LocalHost));
        connect(&rude, &QTcpServer::newConnection, &rude, [&rude] { rude.nextPendingConnection()->abort(); });
        fill.access.openTopoDataUrl = u"http://127.0.0.1:%1"_s.arg(rude.serverPort());
        fill(header + row);
        rude.close();
        QCOMPARE(fill.told("Error"), "Error de red: el servidor cerró la conexión");
        fill(header + row);
        QCOMPARE(fill.told("Error"), "Error de red: conexión rechazada");
    }

    void fillsTheRightColumn()
    {
        Fill fill;
        const std::pair<QByteArray, QByteArray> cases[] = {
            {"ALTITUD;z;l;e;n\n;19;H;1;2\n", "ALTITUD;z;l;e;n\n100.00;19;H;1;2\n"},
            {"n;z;l;e;n;o\na;19;H;1;2\n", "n;z;l;e;n;o;altitud\na;19;H;1;2;;100.00\n"},
            {"n;z;l;e;n; altitud\na;19;H;1;2;3\n", "n;z;l;e;n; altitud;altitud\na;19;H;1;2;3;100.00\n"},
            {"n;z;l;e;n;altitud;x\r\n\r\na;19;H;1;2\r\n", "n;z;l;e;n;altitud;x\n\na;19;H;1;2;100.00\n"},
            {"\xef\xbb\xbf;z;l;e;n;altitud\n\xf1;19;H;1;2;3;x",
             "\xef\xbb\xbf;z;l;e;n;altitud\n\xf1;19;H;1;2;100.00;x\n"},
            {"n;z;l;e;n;altitud", "n;z;l;e;n;altitud\n"},
        };
        for (const auto &[before, after] : cases)
            QCOMPARE(fill(before), after);
    }

    void skipsLines()
    {
        Fill fill;
        QCOMPARE(fill(header + row + "0\n" + row + " \na;19; ;1;2\na;19H;H;1;2\na;19;H;1;2,5\n\n", false),
                 header + row + "0\n" + row + "100.00\na;19; ;1;2\na;19H;H;1;2\na;19;H;1;2,5\n\n");
        QCOMPARE(fill.told("tieneAltitud=true|Omisión|Proceso"),
                 "DEBUG: Línea 1 tieneAltitud=true\n"
                 "DEBUG: Omisión línea 1: ya tiene altitud y no se debe sobrescribir.\n"
                 "DEBUG: Omisión línea 3: letra de zona ausente\n"
                 "DEBUG: Omisión línea 4: UTM inválido\n"
                 "DEBUG: Omisión línea 5: UTM inválido\n"
                 "DEBUG: Omisión línea 6: letra de zona ausente\n"
                 "Proceso completado. Se actualizaron 1 de 6 registros.");
        QCOMPARE(fill("altitud;z;l;e\n;19;H;1\n"), "altitud;z;l;e\n;19;H;1\n");
        QCOMPARE(fill.told("Omisión"), "DEBUG: Omisión línea 1: menos de 5 columnas");
    }

    void leavesTheFileOnFailure()
    {
        Fill fill;
        const QByteArray contents = header + row + "1\n" + row + "2\n";
        const auto ending = [&fill](const QByteArray &before) {
            const QByteArray after = fill(before);
            return QByteArray(after + fill.log.constLast().toUtf8());
        };
        QCOMPARE(ending(""), "Error: El archivo CSV está vacío.");
        fill.provider = ElevationProvider::Google;
        QCOMPARE(ending(contents), contents + "Error: Se requiere una clave de API para Google Elevation.");
        QCOMPARE(fill.server.requests(), QStringList());

        fill.provider = ElevationProvider::OpenTopoData;
        // another program changes the file, the disk fills up, the folder is gone
        const QByteArray notSaved = "Error: No se pudo guardar los cambios en el CSV: ";
        fill.onAnswer = [&fill] {
            writeText(fill.path, "changed");
        };
        QCOMPARE(ending(contents), "changed" + notSaved +
                                       "otro programa ha movido o cambiado el archivo mientras se procesaba");
        std::optional<FullDisk> full;
        fill.onAnswer = [&] {
            full.emplace(contents.size());
        };
        QCOMPARE(ending(contents), contents + notSaved + "el archivo es demasiado grande");
        full.reset();
        fill.onAnswer = [&fill] {
            fill.folder.remove();
        };
        const QByteArray noFile = "no existe el archivo o la carpeta";
        QCOMPARE(ending(contents), "Error: No se pudo abrir el archivo CSV para escribir: " + noFile);
        QCOMPARE(ending({}), "Error: No se pudo abrir el archivo CSV para leer: " + noFile);
    }
};

QTEST_GUILESS_MAIN(AltitudeFillTest)
#include "altitudefill.moc"
