// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "render/geodesy.h"

#include <QDateTime>
#include <exiv2/exiv2.hpp>

#include <optional>

/// What a fresh set of tags is made from.
struct FreshTags {
    GeoPosition position;              ///< decimal degrees; the sign goes into the reference tags alone
    std::optional<double> orientation; ///< heading in degrees, brought into [0, 360); none: no direction tags
    std::optional<double>
        altitude;       ///< metres, held within what hundredths in 32 bits can carry; none: no altitude tags
    QDateTime dateTime; ///< capture date-time, local; invalid: no date tags
};

/// The GPS and date tags of a photo, and nothing else. Degrees, minutes and thousandths of a second are
/// truncated, as are the hundredths of heading and altitude. Any double is taken; NaN is written as 0.
Exiv2::ExifData freshExif(const FreshTags &tags);
