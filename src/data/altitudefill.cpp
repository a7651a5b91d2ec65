// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/altitudefill.h"

#include "core/devices.h"
#include "data/elevationservice.h"
#include "render/geodesy.h"

#include <QEventLoop>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSaveFile>
#include <QThread>

#include <algorithm>
#include <optional>

namespace
{

enum Column { Name, Zone, Letter, Easting, Northing };

constexpr qsizetype requiredColumns = Northing + 1;
constexpr char separator = ';';
const QByteArray byteOrderMark = QByteArrayLiteral("\xef\xbb\xbf");

// Lines are kept as the bytes they are and decoded only to be read: a file in another encoding comes back
// unharmed.
QString text(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes);
}

/// The file and what has become of its lines so far.
class Table
{
public:
    explicit Table(const QByteArray &contents)
        : m_lines(contents.split('\n'))
        , m_hasByteOrderMark(contents.startsWith(byteOrderMark))
    {
        if (m_lines.constLast().isEmpty())
            m_lines.removeLast(); // after the last line feed
        for (QByteArray &line : m_lines) {
            if (line.endsWith('\r'))
                line.chop(1);
        }
        if (m_hasByteOrderMark)
            m_lines.first().remove(0, byteOrderMark.size());
    }

    qsizetype size() const { return m_lines.size(); }
    const QByteArray &line(qsizetype i) const { return m_lines[i]; }
    QByteArrayList columns(qsizetype i) const { return m_lines[i].split(separator); }
    void setColumns(qsizetype i, const QByteArrayList &columns) { m_lines[i] = columns.join(separator); }

    QByteArray contents() const
    {
        return (m_hasByteOrderMark ? byteOrderMark : QByteArray()) + m_lines.join('\n') + '\n';
    }

private:
    QByteArrayList m_lines;
    bool m_hasByteOrderMark;
};

struct Position {
    int zone = 0;
    QString letter;
    double easting = 0.0;
    double northing = 0.0;
};

class AltitudeFill
{
public:
    AltitudeFill(Table &table, const ElevationService &service, bool overwrite,
                 std::chrono::milliseconds pause, const LogCallback &log)
        : m_table(table)
        , m_service(service)
        , m_overwrite(overwrite)
        , m_pause(pause)
        , m_log(log)
    {
    }

    /// Finds the altitude column in the header, or adds one.
    void prepareHeader()
    {
        QByteArrayList header = m_table.columns(0);
        const auto isAltitude = [](const QByteArray &column) {
            return column.compare("altitud", Qt::CaseInsensitive) == 0;
        };
        const auto found = std::find_if(header.cbegin(), header.cend(), isAltitude);
        m_altitudeColumn = found - header.cbegin();
        if (found == header.cend()) {
            header.append(QByteArrayLiteral("altitud"));
            m_table.setColumns(0, header);
        }
        m_log(QStringLiteral("DEBUG: Header columns: %1").arg(text(header.join(','))));
        m_log(QStringLiteral("DEBUG: Índice de columna altitud: %1").arg(m_altitudeColumn));
    }

    /// Fills one line, if it is to be filled. False when the whole run has to end.
    bool fillLine(qsizetype i)
    {
        const QString number = QString::number(i);
        QByteArrayList columns = m_table.columns(i);
        m_log(QStringLiteral("DEBUG: Procesando línea %1: %2").arg(number, text(m_table.line(i))));
        m_log(QStringLiteral("DEBUG: Columnas en línea %1: size=%2, %3")
                  .arg(number, QString::number(columns.size()), text(columns.join(','))));
        while (columns.size() <= m_altitudeColumn)
            columns.append(QByteArray());

        const std::optional<Position> position = positionToAskFor(number, columns);
        if (!position)
            return true;
        const QString location = describe(*position, columns);
        if (m_service.lacksKey()) {
            m_log(QStringLiteral("Error: Se requiere una clave de API para Google Elevation."));
            return false;
        }
        if (const std::optional<double> altitude = ask(location)) {
            const QString value = QString::number(*altitude, 'f', 2);
            columns[m_altitudeColumn] = value.toLatin1();
            m_table.setColumns(i, columns);
            m_log(QStringLiteral("Altitud obtenida: ") + value + QStringLiteral(" m"));
            m_log(QStringLiteral("DEBUG writing altitude: line ") + QString::number(i + 1) +
                  QStringLiteral(" -> ") + text(m_table.line(i)));
            ++m_updated;
        }
        return true;
    }

    int updated() const { return m_updated; }

private:
    // The position of a line, or nothing, with the reason in the log, when the line is skipped.
    std::optional<Position> positionToAskFor(const QString &number, const QByteArrayList &columns) const
    {
        const auto skip = [&](const QString &reason) {
            m_log(QStringLiteral("DEBUG: Omisión línea %1: %2").arg(number, reason));
            return std::nullopt;
        };
        const bool hasAltitude = !columns[m_altitudeColumn].trimmed().isEmpty();
        m_log(QStringLiteral("DEBUG: Línea %1 tieneAltitud=%2")
                  .arg(number, hasAltitude ? QStringLiteral("true") : QStringLiteral("false")));
        if (hasAltitude && !m_overwrite)
            return skip(QStringLiteral("ya tiene altitud y no se debe sobrescribir."));
        if (columns.size() < requiredColumns)
            return skip(QStringLiteral("menos de 5 columnas"));

        Position position;
        bool zoneOk = false;
        bool eastingOk = false;
        bool northingOk = false;
        position.zone = columns[Zone].trimmed().toInt(&zoneOk);
        position.letter = text(columns[Letter]).trimmed();
        if (position.letter.isEmpty())
            return skip(QStringLiteral("letra de zona ausente"));
        position.easting = columns[Easting].trimmed().toDouble(&eastingOk);
        position.northing = columns[Northing].trimmed().toDouble(&northingOk);
        if (!zoneOk || !eastingOk || !northingOk)
            return skip(QStringLiteral("UTM inválido"));
        return position;
    }

    // Logs a position on its way from UTM to the location text of a request, and returns that.
    QString describe(const Position &position, const QByteArrayList &columns) const
    {
        const QString zone = QString::number(position.zone);
        m_log(QStringLiteral("DEBUG: Parsed UTM - zone=%1, zoneLetter=%2, easting=%3, northing=%4")
                  .arg(zone, position.letter, text(columns[Easting]).trimmed(),
                       text(columns[Northing]).trimmed()));
        const GeoPosition geo = utmToLatLon(position.zone, position.letter.front().toLatin1(),
                                            position.easting, position.northing);
        const QString latitude = QString::number(geo.latitude, 'f', 8);
        const QString longitude = QString::number(geo.longitude, 'f', 8);
        const auto shortest = [](double value) {
            return QString::number(value, 'g', QLocale::FloatingPointShortest);
        };
        m_log(QStringLiteral("DEBUG UTM->LatLon: zone=%1%2, easting=%3, northing=%4 -> lat=%5, lon=%6")
                  .arg(zone, position.letter, shortest(position.easting), shortest(position.northing),
                       latitude, longitude));
        const QString location = latitude + QLatin1Char(',') + longitude;
        m_log(QStringLiteral("DEBUG locationsParam: ") + location);
        m_log(QStringLiteral("Consultando altitud para %1 (Coords: %2)").arg(text(columns[Name]), location));
        return location;
    }

    std::optional<double> ask(const QString &location)
    {
        const QUrl url = m_service.requestUrl(location);
        m_log(QStringLiteral("DEBUG: URL de petición: %1").arg(url.toString(QUrl::FullyEncoded)));
        QNetworkReply *reply = m_network.get(QNetworkRequest(url));
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        if (!reply->isFinished())
            loop.exec();

        ElevationService::Answer answer;
        if (reply->error() == QNetworkReply::NoError) {
            const QByteArray body = reply->readAll();
            m_log(QStringLiteral("DEBUG: Respuesta cruda: %1").arg(text(body)));
            m_log(QStringLiteral("DEBUG: JSON recibido: %1").arg(text(body)));
            answer = m_service.read(body);
        } else {
            answer.error = QStringLiteral("Error de red: ") + reply->errorString();
        }
        if (!answer.error.isEmpty())
            m_log(answer.error);
        reply->deleteLater();
        QThread::msleep(static_cast<unsigned long>(m_pause.count()));
        return answer.altitude;
    }

    Table &m_table;
    const ElevationService &m_service;
    const bool m_overwrite;
    const std::chrono::milliseconds m_pause;
    const LogCallback &m_log;
    QNetworkAccessManager m_network;
    qsizetype m_altitudeColumn = 0;
    int m_updated = 0;
};

bool save(const QString &path, const Table &table, const LogCallback &log)
{
    log(QStringLiteral("DEBUG: Escritura CSV, total líneas: %1").arg(table.size()));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        log(QStringLiteral("Error: No se pudo abrir el archivo CSV para escribir: ") + file.errorString());
        return false;
    }
    if (!writeAll(file, table.contents()) || !file.commit()) {
        log(QStringLiteral("Error: No se pudo guardar los cambios en el CSV: ") + file.errorString());
        return false;
    }
    log(QStringLiteral("DEBUG: CSV guardado correctamente"));
    return true;
}

} // namespace

void fillAltitudesFromApi(const QString &csvPath, const QString &provider, const QString &apiKey,
                          bool overwrite, const LogCallback &log, const ProgressCallback &progress,
                          const ElevationAccess &access)
{
    QFile file(csvPath);
    if (!file.open(QIODevice::ReadOnly)) {
        log(QStringLiteral("Error: No se pudo abrir el archivo CSV para leer: ") + file.errorString());
        return;
    }
    log(QStringLiteral("DEBUG: Abriendo CSV: %1").arg(csvPath));
    Table table(file.readAll());
    file.close();
    log(QStringLiteral("DEBUG: N° de líneas leídas: %1").arg(table.size()));
    if (table.size() == 0) {
        log(QStringLiteral("Error: El archivo CSV está vacío."));
        return;
    }

    const ElevationService service(provider, apiKey, access);
    AltitudeFill fill(table, service, overwrite, access.pause, log);
    fill.prepareHeader();
    const int total = static_cast<int>(table.size()) - 1;
    const auto report = [&](int done) {
        if (progress)
            progress(done, total);
    };
    report(0);
    for (int i = 1; i <= total; ++i) {
        if (!fill.fillLine(i))
            return;
        report(i);
    }
    if (save(csvPath, table, log))
        log(QStringLiteral("Proceso completado. Se actualizaron %1 de %2 registros.")
                .arg(fill.updated())
                .arg(total));
}
