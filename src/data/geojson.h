// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "render/geodesy.h"

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

/// A finished photo, as the map shows it.
struct MapPoint {
    QString result;  ///< absolute path of the finished photo
    QString source;  ///< absolute path under which the run found it
    QDateTime taken; ///< clock reading of the camera; written without a time zone
    std::optional<GeoPosition> position;
    std::optional<UtmPosition> utm;
    std::optional<double> heading;  ///< degrees
    std::optional<double> altitude; ///< metres
};

/// The photo as a GeoJSON feature (RFC 7946): a point of longitude, latitude and, when known, altitude; a
/// photo without a position has no geometry. What is not known is null. Degrees are rounded to 1e-8 (a
/// millimetre), metres to 1e-3. NaN and infinite numbers count as not known.
QJsonObject mapFeature(const MapPoint &point);

/// The path of the finished photo in its feature.
QString resultOf(const QJsonObject &feature);

/// A whole map: the features as a GeoJSON feature collection, one to a line.
QByteArray mapOf(const QList<QJsonObject> &features);

/// Whether the contents of a file are a GeoJSON feature collection.
bool isMap(const QByteArray &contents);
