// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>
#include <string>

struct PhotoMetadata;

/// Position and viewing direction as a photo's GPS tags give them. Values whose tag is missing stay 0.
struct GpsData {
    double latitude = 0.0;    ///< decimal degrees, north positive
    double longitude = 0.0;   ///< decimal degrees, east positive
    double orientation = 0.0; ///< heading in degrees; the reference (true or magnetic north) is not read
    double altitude = 0.0;    ///< metres, negative below sea level
};

/// The path as the EXIF library takes it: absolute, with native separators, UTF-8. Empty, with a warning on
/// the warning output, when no absolute path can be formed.
std::string qPathToNativeStdString(const QString &path);

/// The GPS data of a photo file, or nothing when latitude or longitude (or the reference of one) is missing
/// or unreadable.
std::optional<GpsData> readGps(const QString &path);

/// The capture date-time of a photo file (local, as the camera's clock read): DateTimeOriginal or, failing
/// that, DateTime of the main image. Nothing when neither holds a valid date-time.
std::optional<QDateTime> readCaptureDate(const QString &path);

/// The same from metadata that is already in memory.
std::optional<GpsData> gpsOf(const PhotoMetadata &metadata);
std::optional<QDateTime> captureDateOf(const PhotoMetadata &metadata);
