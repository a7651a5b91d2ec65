// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/exiv2compat.h"

#include <QDateTime>
#include <QSize>

#include <optional>

/// What EXIF tags mean.

/// Position and viewing direction as a photo's GPS tags give them. Values whose tag is missing stay 0.
struct GpsData {
    double latitude = 0.0;    ///< decimal degrees, north positive
    double longitude = 0.0;   ///< decimal degrees, east positive
    double orientation = 0.0; ///< heading in degrees; the reference (true or magnetic north) is not read
    double altitude = 0.0;    ///< metres, negative below sea level
};

/// The position, or nothing when latitude or longitude (or the reference of one) is missing or unreadable.
std::optional<GpsData> gpsOf(const Exiv2::ExifData &exif);

/// The capture date-time (local, as the camera's clock read): DateTimeOriginal or, failing that, DateTime of
/// the main image. Nothing when neither holds a valid date-time.
std::optional<QDateTime> captureDateOf(const Exiv2::ExifData &exif);

/// How the pixels are stored, 1 to 8 (see render/uprightimage.h); 1 when no tag, or none that makes sense,
/// tells.
int orientationOf(const Exiv2::ExifData &exif);

/// Pixels per metre across and down; nothing when the tags do not give them.
std::optional<QSize> dotsPerMeterOf(const Exiv2::ExifData &exif);
