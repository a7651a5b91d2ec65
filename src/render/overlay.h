// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "render/geodesy.h"
#include "render/logo.h"

#include <QDateTime>
#include <QImage>

#include <optional>

/// What is known about a photo when its overlay is painted.
struct OverlayData {
    QDateTime dateTime; ///< capture date-time, local
    UtmPosition utm;
    std::optional<GeoPosition>
        geo; ///< for the line in degrees, minutes and seconds; none: the UTM line stays
    std::optional<double> orientation; ///< heading in degrees
    std::optional<double> altitude;    ///< metres
    int exifOrientation =
        1; ///< how the pixels are stored, see uprightimage.h; the overlay is upright as displayed
};

/// What all photos of a run share. Only read.
struct OverlayResources {
    const Logo *logo = nullptr; ///< none: no logo
    QString fontFamily;         ///< empty: the general font
};

/// Paints logo, text blocks and compass rose onto `image`, in this order, as the options ask for.
///
/// All sizes derive from the width and height in pixels of the image as displayed. The image must be of a
/// format that QPainter paints in full colour. The density it claims does not matter and is left as it was:
/// it is painted as on a device of 96 dpi. The line about the compass goes to `log` at once, from the calling
/// thread. May be called from several threads at once, each with an image of its own.
void drawOverlay(QImage &image, const OverlayData &data, const ProcessOptions &options,
                 const OverlayResources &resources, const LogCallback &log);
