// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "render/geodesy.h"

#include <QDateTime>
#include <QImage>
#include <QString>

#include <optional>

// Painted photographs: what the tests, the first start and the speed measurements work on.

/// What a camera knows about a photo; the empty ones are not written into the file.
struct PhotoTags {
    std::optional<GeoPosition> position;
    std::optional<double> heading;  ///< degrees, 0 to 360
    std::optional<double> altitude; ///< metres above the sea, negative below
    QDateTime taken;                ///< clock reading of the camera
    int orientation = 1;            ///< EXIF orientation: 1, 3, 6 or 8
};

/// A landscape of sky, sun, ranges of hills and trees. The same size and seed give the same picture.
QImage paintLandscape(QSize size, quint32 seed);

/// Adds the noise of a camera's sensor, up to `strength` steps (of 256) in each direction. The same seed
/// gives the same noise.
void addGrain(QImage &image, quint32 seed, int strength);

/// A round badge with mountains and a compass needle on a transparent ground.
QImage paintLogo(int side);

/// Writes a photo as a camera does: `image` (upright) is stored turned as `tags.orientation` says, so that a
/// viewer shows it upright, and the tags are put in. The suffix of `path` names the format. Fails the program
/// when the file cannot be written.
void writeCameraPhoto(const QString &path, const QImage &image, const PhotoTags &tags);
