// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/geojson.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace
{

bool isKnown(double number)
{
    return std::isfinite(number);
}

bool isKnown(const std::optional<double> &number)
{
    return number && isKnown(*number);
}

double rounded(double number, double steps)
{
    return std::round(number * steps) / steps;
}

double degrees(double number)
{
    return rounded(number, 1e8);
}

double metres(double number)
{
    return rounded(number, 1e3);
}

QJsonValue geometryOf(const MapPoint &point)
{
    if (!point.position || !isKnown(point.position->latitude) || !isKnown(point.position->longitude))
        return QJsonValue::Null;
    QJsonArray coordinates{degrees(point.position->longitude), degrees(point.position->latitude)};
    if (isKnown(point.altitude))
        coordinates.append(metres(*point.altitude));
    return QJsonObject{{QStringLiteral("type"), QStringLiteral("Point")},
                       {QStringLiteral("coordinates"), coordinates}};
}

} // namespace

QJsonObject mapFeature(const MapPoint &point)
{
    const bool hasUtm = point.utm && isKnown(point.utm->easting) && isKnown(point.utm->northing);
    const QJsonObject properties{
        {QStringLiteral("resultado"), point.result},
        {QStringLiteral("original"), point.source},
        {QStringLiteral("fecha"), point.taken.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss"))},
        {QStringLiteral("orientacion"),
         isKnown(point.heading) ? QJsonValue(*point.heading) : QJsonValue::Null},
        {QStringLiteral("altitud"),
         isKnown(point.altitude) ? QJsonValue(metres(*point.altitude)) : QJsonValue::Null},
        {QStringLiteral("zona"),
         hasUtm ? QJsonValue(formatZone(point.utm->zone, point.utm->zoneLetter)) : QJsonValue::Null},
        {QStringLiteral("este"), hasUtm ? QJsonValue(metres(point.utm->easting)) : QJsonValue::Null},
        {QStringLiteral("norte"), hasUtm ? QJsonValue(metres(point.utm->northing)) : QJsonValue::Null},
    };
    return {{QStringLiteral("type"), QStringLiteral("Feature")},
            {QStringLiteral("geometry"), geometryOf(point)},
            {QStringLiteral("properties"), properties}};
}

QString resultOf(const QJsonObject &feature)
{
    return feature.value(QStringLiteral("properties"))
        .toObject()
        .value(QStringLiteral("resultado"))
        .toString();
}

QByteArray mapOf(const QList<QJsonObject> &features)
{
    QByteArray map = R"({"type":"FeatureCollection","features":[)";
    const char *separator = "\n";
    for (const QJsonObject &feature : features) {
        map += separator + QJsonDocument(feature).toJson(QJsonDocument::Compact);
        separator = ",\n";
    }
    return map + "\n]}\n";
}

bool isMap(const QByteArray &contents)
{
    return QJsonDocument::fromJson(contents).object().value(QStringLiteral("type")) ==
           QStringLiteral("FeatureCollection");
}
