// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/altitudefill.h"

#include "data/coordinatesfile.h"
#include "data/elevationservice.h"
#include "data/networkerror.h"
#include "data/settings.h"
#include "data/textlines.h"
#include "files/safewrite.h"
#include "render/geodesy.h"

#include <QBuffer>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <optional>
#include <thread>

namespace
{

using enum CoordinatesColumns::Column;

constexpr std::chrono::milliseconds stopInterval{50};

QString fixedText(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

// What the altitude fill of one file knows and does.
class AltitudeFill
{
public:
    AltitudeFill(const QString &provider, const QString &apiKey, bool overwrite, const LogCallback &log,
                 const ElevationAccess &access, const StopRequest &stopRequested)
        : m_provider(provider)
        , m_apiKey(apiKey)
        , m_overwrite(overwrite)
        , m_log(log)
        , m_access(access)
        , m_stopRequested(stopRequested)
    {
    }

    bool read(const QString &path);
    bool fill(const ProgressCallback &progress);
    void save(const QString &path);

private:
    enum class Outcome { Continue, Abort };

    void findAltitudeColumn();
    Outcome fillLine(qsizetype index);
    std::optional<UtmPosition> linePosition(qsizetype index, const QStringList &columns) const;
    QString locationText(const UtmPosition &position, const QString &letter) const;
    std::optional<double> request(const QUrl &url);
    bool mustStop() const { return m_stopRequested && m_stopRequested(); }
    void waitFor(const QNetworkReply &reply) const;
    void pause() const;
    void store(qsizetype index, double altitude);

    qsizetype rowCount() const { return m_text.lines.size() - 1; }

    const QString m_provider;
    const QString m_apiKey;
    const bool m_overwrite;
    const LogCallback &m_log;
    const ElevationAccess m_access;
    const StopRequest &m_stopRequested;
    QNetworkAccessManager m_network;
    FileStamp m_stamp; ///< of the file as it was read
    TextLines m_text;
    qsizetype m_altitudeColumn = 0;
    int m_updated = 0;
};

bool AltitudeFill::read(const QString &path)
{
    QString error;
    std::optional<QByteArray> contents = readWhole(path, &m_stamp, &error);
    if (!contents) {
        m_log(QStringLiteral("Error: No se pudo abrir el archivo CSV para leer: ") + error);
        return false;
    }
    m_log(QStringLiteral("DEBUG: Abriendo CSV: ") + path);
    QBuffer buffer(&*contents);
    buffer.open(QIODevice::ReadOnly);
    m_text = readTextLines(buffer);
    m_log(QStringLiteral("DEBUG: N° de líneas leídas: %1").arg(m_text.lines.size()));
    if (m_text.lines.isEmpty()) {
        m_log(QStringLiteral("Error: El archivo CSV está vacío."));
        return false;
    }
    findAltitudeColumn();
    return true;
}

void AltitudeFill::findAltitudeColumn()
{
    const QString name = QStringLiteral("altitud");
    QByteArray &header = m_text.lines.first();
    QStringList columns = QString::fromUtf8(header).split(u';');
    const auto isAltitude = [&name](const QString &column) {
        return column.compare(name, Qt::CaseInsensitive) == 0;
    };
    m_altitudeColumn = std::find_if(columns.cbegin(), columns.cend(), isAltitude) - columns.cbegin();
    if (m_altitudeColumn == columns.size()) {
        columns.append(name);
        header += ";altitud";
    }
    m_log(QStringLiteral("DEBUG: Header columns: ") + columns.join(u','));
    m_log(QStringLiteral("DEBUG: Índice de columna altitud: %1").arg(m_altitudeColumn));
}

bool AltitudeFill::fill(const ProgressCallback &progress)
{
    const auto report = [&](qsizetype done) {
        if (progress)
            progress(static_cast<int>(done), static_cast<int>(rowCount()));
    };
    report(0);
    for (qsizetype index = 1; index <= rowCount(); ++index) {
        if (fillLine(index) == Outcome::Abort || mustStop())
            return false;
        report(index);
    }
    return true;
}

AltitudeFill::Outcome AltitudeFill::fillLine(qsizetype index)
{
    const QString line = QString::fromUtf8(m_text.lines.at(index));
    const QString number = QString::number(index);
    m_log(QStringLiteral("DEBUG: Procesando línea %1: %2").arg(number, line));
    QStringList columns = line.split(u';');
    m_log(QStringLiteral("DEBUG: Columnas en línea %1: size=%2, %3")
              .arg(number, QString::number(columns.size()), columns.join(u',')));
    while (columns.size() <= m_altitudeColumn)
        columns.append(QString());

    const bool hasAltitude = !columns.at(m_altitudeColumn).trimmed().isEmpty();
    m_log(QStringLiteral("DEBUG: Línea %1 tieneAltitud=%2")
              .arg(number, hasAltitude ? QStringLiteral("true") : QStringLiteral("false")));
    if (hasAltitude && !m_overwrite) {
        m_log(QStringLiteral("DEBUG: Omisión línea %1: ya tiene altitud y no se debe sobrescribir.")
                  .arg(number));
        return Outcome::Continue;
    }
    const std::optional<UtmPosition> position = linePosition(index, columns);
    if (!position)
        return Outcome::Continue;

    const QString location = locationText(*position, columns.at(Letter).trimmed());
    m_log(QStringLiteral("DEBUG locationsParam: ") + location);
    m_log(QStringLiteral("Consultando altitud para %1 (Coords: %2)").arg(columns.at(Name), location));
    if (m_provider == ElevationProvider::Google && m_apiKey.isEmpty()) {
        m_log(QStringLiteral("Error: Se requiere una clave de API para Google Elevation."));
        return Outcome::Abort;
    }
    if (const auto altitude = request(elevationRequestUrl(m_access, m_provider, m_apiKey, location)))
        store(index, *altitude);
    return Outcome::Continue;
}

// The position in a line, or nothing, with the reason in the log. Unlike in a batch, a missing letter has no
// default here: the altitude would be that of a place on the other hemisphere.
std::optional<UtmPosition> AltitudeFill::linePosition(qsizetype index, const QStringList &columns) const
{
    const auto omit = [&](const QString &reason) {
        m_log(QStringLiteral("DEBUG: Omisión línea %1: %2").arg(QString::number(index), reason));
        return std::nullopt;
    };
    if (columns.size() < CoordinatesColumns::required)
        return omit(QStringLiteral("menos de 5 columnas"));
    const QString letter = columns.at(Letter).trimmed();
    if (letter.isEmpty())
        return omit(QStringLiteral("letra de zona ausente"));

    const QString easting = columns.at(Easting).trimmed();
    const QString northing = columns.at(Northing).trimmed();
    bool zoneOk = false;
    bool eastingOk = false;
    bool northingOk = false;
    const UtmPosition position{columns.at(Zone).trimmed().toInt(&zoneOk), letter.front().toLatin1(),
                               easting.toDouble(&eastingOk), northing.toDouble(&northingOk)};
    if (!zoneOk || !eastingOk || !northingOk)
        return omit(QStringLiteral("UTM inválido"));
    m_log(QStringLiteral("DEBUG: Parsed UTM - zone=%1, zoneLetter=%2, easting=%3, northing=%4")
              .arg(QString::number(position.zone), letter, easting, northing));
    return position;
}

QString AltitudeFill::locationText(const UtmPosition &position, const QString &letter) const
{
    const GeoPosition geo =
        utmToLatLon(position.zone, position.zoneLetter, position.easting, position.northing);
    const QString latitude = fixedText(geo.latitude, 8);
    const QString longitude = fixedText(geo.longitude, 8);
    const auto shortest = [](double value) {
        return QString::number(value, 'g', QLocale::FloatingPointShortest);
    };
    m_log(QStringLiteral("DEBUG UTM->LatLon: zone=%1%2, easting=%3, northing=%4 -> lat=%5, lon=%6")
              .arg(QString::number(position.zone), letter, shortest(position.easting),
                   shortest(position.northing), latitude, longitude));
    return latitude + u',' + longitude;
}

std::optional<double> AltitudeFill::request(const QUrl &url)
{
    m_log(QStringLiteral("DEBUG: URL de petición: ") + url.toString(QUrl::FullyEncoded));
    const std::unique_ptr<QNetworkReply> reply(m_network.get(QNetworkRequest(url)));
    waitFor(*reply);
    if (!reply->isFinished())
        return std::nullopt;

    ElevationAnswer answer;
    if (reply->error() == QNetworkReply::NoError) {
        const QByteArray body = reply->readAll();
        m_log(QStringLiteral("DEBUG: Respuesta cruda: ") + QString::fromUtf8(body));
        m_log(QStringLiteral("DEBUG: JSON recibido: ") + QString::fromUtf8(body));
        answer = parseElevationAnswer(m_provider, body);
    } else {
        answer.message = QStringLiteral("Error de red: ") + networkErrorText(*reply);
    }
    if (!answer.message.isEmpty())
        m_log(answer.message);
    pause();
    return answer.altitude;
}

// The services may take as long as they like, the end of the program may not.
void AltitudeFill::waitFor(const QNetworkReply &reply) const
{
    QEventLoop loop;
    QObject::connect(&reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer lookAtStop;
    QObject::connect(&lookAtStop, &QTimer::timeout, &loop, [this, &loop] {
        if (mustStop())
            loop.quit();
    });
    lookAtStop.start(stopInterval);
    if (!reply.isFinished())
        loop.exec();
}

void AltitudeFill::pause() const
{
    for (const QDeadlineTimer end(m_access.pause); !end.hasExpired() && !mustStop();)
        std::this_thread::sleep_for(std::min(stopInterval, std::chrono::milliseconds(end.remainingTime())));
}

void AltitudeFill::store(qsizetype index, double altitude)
{
    const QString value = fixedText(altitude, 2);
    QByteArray &line = m_text.lines[index];
    QByteArrayList columns = line.split(';');
    while (columns.size() <= m_altitudeColumn)
        columns.append(QByteArray());
    columns[m_altitudeColumn] = value.toLatin1();
    line = columns.join(';');
    m_log(QStringLiteral("Altitud obtenida: ") + value + QStringLiteral(" m"));
    m_log(QStringLiteral("DEBUG writing altitude: line ") + QString::number(index + 1) +
          QStringLiteral(" -> ") + QString::fromUtf8(line));
    ++m_updated;
}

void AltitudeFill::save(const QString &path)
{
    m_log(QStringLiteral("DEBUG: Escritura CSV, total líneas: %1").arg(m_text.lines.size()));
    QByteArray contents = m_text.byteOrderMark;
    for (const QByteArray &line : m_text.lines)
        contents += line + '\n';
    QString error;
    FileReplacement file(path);
    if (!file.open(&error)) {
        m_log(QStringLiteral("Error: No se pudo abrir el archivo CSV para escribir: ") + error);
        return;
    }
    if (!file.commit(contents, &m_stamp, Durability::OnReturn, &error)) {
        m_log(QStringLiteral("Error: No se pudo guardar los cambios en el CSV: ") + error);
        return;
    }
    m_log(QStringLiteral("DEBUG: CSV guardado correctamente"));
    m_log(QStringLiteral("Proceso completado. Se actualizaron %1 de %2 registros.")
              .arg(m_updated)
              .arg(rowCount()));
}

} // namespace

void fillAltitudesFromApi(const QString &csvPath, const QString &provider, const QString &apiKey,
                          bool overwrite, const LogCallback &log, const ProgressCallback &progress,
                          const ElevationAccess &access, const StopRequest &stopRequested)
{
    AltitudeFill job(provider, apiKey, overwrite, log, access, stopRequested);
    if (job.read(csvPath) && job.fill(progress))
        job.save(csvPath);
}
