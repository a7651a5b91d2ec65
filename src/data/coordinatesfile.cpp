// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include "core/clockreading.h"

#include <QFile>
#include <QStringList>
#include <QTextStream>

#include <optional>

namespace
{

enum Column { Name, Zone, Letter, Easting, Northing, Orientation, DateTime, Altitude };

constexpr qsizetype requiredColumns = Northing + 1;

bool isHeader(const QString &line)
{
    const auto contains = [&line](QLatin1String word) {
        return line.contains(word, Qt::CaseInsensitive);
    };
    return contains(QLatin1String("nombre")) &&
           (contains(QLatin1String("easting")) || contains(QLatin1String("zona")));
}

std::optional<double> numberIn(const QString &field)
{
    bool ok = false;
    const double value = field.toDouble(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

// A date-time in ISO 8601 form. Its offset from UTC, if any, does not count: what the clock showed goes onto
// the photo.
QDateTime isoDateTimeIn(const QString &field)
{
    // Qt's parser takes slashes in place of the dashes, ISO 8601 does not.
    if (field.contains(QLatin1Char('/')))
        return {};
    // Read as UTC, which has every hour of every day.
    const QDateTime utc = QDateTime::fromString(field + QLatin1Char('Z'), Qt::ISODate);
    const QDateTime parsed = utc.isValid() ? utc : QDateTime::fromString(field, Qt::ISODate);
    return clockReading(parsed.date(), parsed.time());
}

QDateTime dateTimeIn(const QString &field)
{
    QDateTime dateTime = isoDateTimeIn(field);
    for (const QString &pattern :
         {QStringLiteral("yyyy-MM-dd HH:mm:ss"), QStringLiteral("dd/MM/yyyy HH:mm:ss")}) {
        if (!dateTime.isValid())
            dateTime = clockReading(field, pattern);
    }
    return dateTime;
}

class RowReader
{
public:
    RowReader(const QString &line, const LogCallback &log)
        : m_line(line)
        , m_log(log)
    {
    }

    // Adds the row to the table, unless something required is missing.
    void readInto(CoordinatesTable &table)
    {
        for (const QString &field : m_line.split(QLatin1Char(';')))
            m_fields.append(field.trimmed());
        if (m_fields.size() < requiredColumns) {
            m_log(QStringLiteral("Línea inválida en archivo txt (menos de 5 columnas): ") + m_line);
            return;
        }
        UtmEntry entry;
        if (!readPosition(entry))
            return;
        entry.hasOrientation =
            readOptional(Orientation, QStringLiteral("Orientación inválida para "), entry.orientation);
        readDateTime(entry);
        entry.hasAltitude = readOptional(Altitude, QStringLiteral("Altitud inválida para "), entry.altitude);
        table.insert(m_fields[Name], entry);
    }

private:
    void complain(const QString &what, Column column) const
    {
        m_log(what + m_fields[Name] + QStringLiteral(": ") + m_fields[column]);
    }

    bool hasField(Column column) const { return m_fields.size() > column && !m_fields[column].isEmpty(); }

    bool readPosition(UtmEntry &entry) const
    {
        bool ok = false;
        entry.zone = m_fields[Zone].toInt(&ok);
        if (!ok) {
            complain(QStringLiteral("Zona UTM inválida para "), Zone);
            return false;
        }
        if (hasField(Letter))
            entry.zoneLetter = m_fields[Letter].front().toLatin1(); // NUL beyond Latin-1
        const std::optional<double> easting = numberIn(m_fields[Easting]);
        if (!easting) {
            complain(QStringLiteral("Easting inválido para "), Easting);
            return false;
        }
        const std::optional<double> northing = numberIn(m_fields[Northing]);
        if (!northing) {
            complain(QStringLiteral("Northing inválido para "), Northing);
            return false;
        }
        entry.easting = *easting;
        entry.northing = *northing;
        return true;
    }

    bool readOptional(Column column, const QString &complaint, double &value) const
    {
        if (!hasField(column))
            return false;
        const std::optional<double> number = numberIn(m_fields[column]);
        if (!number) {
            complain(complaint, column);
            return false;
        }
        value = *number;
        return true;
    }

    void readDateTime(UtmEntry &entry) const
    {
        if (!hasField(DateTime))
            return;
        entry.dateTime = dateTimeIn(m_fields[DateTime]);
        entry.hasDateTime = entry.dateTime.isValid();
        if (!entry.hasDateTime)
            complain(QStringLiteral("Fecha inválida en archivo txt para "), DateTime);
    }

    const QString &m_line;
    const LogCallback &m_log;
    QStringList m_fields;
};

} // namespace

QString coordinatesHeader()
{
    return QStringLiteral("nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud");
}

CoordinatesTable readCoordinatesFile(const QString &path, const LogCallback &log)
{
    CoordinatesTable table;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        log(QStringLiteral("Error al abrir el archivo TXT: ") + path);
        return table;
    }
    QTextStream stream(&file); // UTF-8; takes a byte order mark away
    QString line;
    bool headerMayFollow = true;
    while (stream.readLineInto(&line)) {
        headerMayFollow = headerMayFollow && isHeader(line);
        if (!headerMayFollow && !line.trimmed().isEmpty())
            RowReader(line, log).readInto(table);
    }
    return table;
}
