// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/exiftags.h"

#include <QString>

#include <optional>
#include <string>

/// The path as the EXIF library takes it: absolute, with native separators, UTF-8. Empty, with a warning on
/// the warning output, when no absolute path can be formed.
std::string qPathToNativeStdString(const QString &path);

/// What the tags of a photo file say.
struct PhotoTags {
    std::optional<GpsData> gps;           ///< see `gpsOf`
    std::optional<QDateTime> captureDate; ///< see `captureDateOf`
};

/// Reads the tags of a photo file, and no more of it than it takes. Of a file that cannot be read there are
/// none.
PhotoTags readPhotoTags(const QString &path);
