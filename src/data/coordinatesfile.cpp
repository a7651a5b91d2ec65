// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include "core/localtime.h"
#include "data/textlines.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <array>
#include <optional>

namespace
{

using enum CoordinatesColumns::Column;

std::optional<int> parseInteger(const QString &text)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

std::optional<double> parseNumber(const QString &text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

// The reading of an ISO 8601 date-time, whatever zone it carries.
QDateTime parseIsoReading(const QString &text)
{
    // Qt takes any punctuation between year, month and day. Slashes are left to the form that starts with the
    // day.
    constexpr std::array<qsizetype, 2> dateSeparators{4, 7};
    for (const qsizetype place : dateSeparators) {
        if (text.size() > place && text.at(place) == u'/')
            return {};
    }

    // Read as UTC where it names no zone: the clock of UTC skips no hour.
    const QDateTime utc = QDateTime::fromString(text + u'Z', Qt::ISODate);
    return utc.isValid() ? utc : QDateTime::fromString(text, Qt::ISODate);
}

// "dd/MM/yyyy HH:mm:ss". Spelled out, since a pattern of QDateTime takes ten times as long and fails in a
// skipped hour.
QDateTime parseDayFirst(const QString &text)
{
    static const QRegularExpression form(
        QStringLiteral("^([0-9]{2})/([0-9]{2})/([0-9]{4}) ([0-9]{2}):([0-9]{2}):([0-9]{2})\\z"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch())
        return {};
    const auto number = [&match](int group) {
        return match.capturedView(group).toInt();
    };
    const QDate date(number(3), number(2), number(1));
    const QTime time(number(4), number(5), number(6));
    return time.isValid() ? QDateTime(date, time, QTimeZone::utc()) : QDateTime();
}

// The form "yyyy-MM-dd HH:mm:ss" is a case of ISO 8601 as Qt takes it.
std::optional<QDateTime> parseDateTime(const QString &text)
{
    for (const auto parse : {parseIsoReading, parseDayFirst}) {
        const QDateTime reading = parse(text);
        if (reading.isValid())
            return localReading(reading.date(), reading.time());
    }
    return std::nullopt;
}

// Takes a value when it parses, otherwise logs `problem` with the name of the photo and the text. True when
// it was taken.
template <typename Value>
bool take(const std::optional<Value> &parsed, Value &target, const QString &problem, const QString &name,
          const QString &text, const LogCallback &log)
{
    if (!parsed) {
        log(problem + name + QStringLiteral(": ") + text);
        return false;
    }
    target = *parsed;
    return true;
}

bool readRequired(const QStringList &fields, UtmEntry &entry, const LogCallback &log)
{
    const QString &name = fields.at(Name);
    if (!take(parseInteger(fields.at(Zone)), entry.zone, QStringLiteral("Zona UTM inválida para "), name,
              fields.at(Zone), log))
        return false;
    if (!fields.at(Letter).isEmpty())
        entry.zoneLetter = fields.at(Letter).front().toLatin1();
    return take(parseNumber(fields.at(Easting)), entry.easting, QStringLiteral("Easting inválido para "),
                name, fields.at(Easting), log) &&
           take(parseNumber(fields.at(Northing)), entry.northing, QStringLiteral("Northing inválido para "),
                name, fields.at(Northing), log);
}

void readOptional(const QStringList &fields, UtmEntry &entry, const LogCallback &log)
{
    const QString &name = fields.at(Name);
    const QString orientation = fields.value(Orientation);
    if (!orientation.isEmpty()) {
        entry.hasOrientation = take(parseNumber(orientation), entry.orientation,
                                    QStringLiteral("Orientación inválida para "), name, orientation, log);
    }
    const QString date = fields.value(Date);
    if (!date.isEmpty()) {
        entry.hasDateTime = take(parseDateTime(date), entry.dateTime,
                                 QStringLiteral("Fecha inválida en archivo txt para "), name, date, log);
    }
    const QString altitude = fields.value(Altitude);
    if (!altitude.isEmpty()) {
        entry.hasAltitude = take(parseNumber(altitude), entry.altitude,
                                 QStringLiteral("Altitud inválida para "), name, altitude, log);
    }
}

void readRow(const QString &line, CoordinatesTable &table, const LogCallback &log)
{
    QStringList fields = line.split(u';');
    if (fields.size() < CoordinatesColumns::required) {
        log(QStringLiteral("Línea inválida en archivo txt (menos de 5 columnas): ") + line);
        return;
    }
    for (QString &field : fields)
        field = std::move(field).trimmed();

    UtmEntry entry;
    if (!readRequired(fields, entry, log))
        return;
    readOptional(fields, entry, log);
    table.insert(fields.at(Name), entry);
}

bool isHeader(const QString &line)
{
    const auto has = [&line](QStringView word) {
        return line.contains(word, Qt::CaseInsensitive);
    };
    return has(u"nombre") && (has(u"easting") || has(u"zona"));
}

} // namespace

QString coordinatesHeader()
{
    return QStringLiteral("nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud");
}

CoordinatesTable readCoordinatesFile(const QString &path, const LogCallback &log)
{
    CoordinatesTable table;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        log(QStringLiteral("Error al abrir el archivo TXT: ") + path);
        return table;
    }

    const QByteArrayList lines = readTextLines(file).lines;
    if (!std::all_of(lines.begin(), lines.end(), [](const QByteArray &line) { return line.isValidUtf8(); })) {
        log(QStringLiteral("Advertencia: el archivo de coordenadas no está en UTF-8, y los nombres con ñ o "
                           "tildes no se encuentran. Guárdelo como \"CSV UTF-8 (delimitado por punto y "
                           "coma)\": ") +
            path);
    }
    bool atTop = true;
    for (const QByteArray &bytes : lines) {
        const QString line = QString::fromUtf8(bytes);
        atTop = atTop && isHeader(line);
        if (atTop || line.trimmed().isEmpty())
            continue;
        readRow(line, table, log);
    }
    return table;
}
