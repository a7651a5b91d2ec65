// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/exifwriter.h"

#include <QImage>
#include <QString>

#include <optional>

// Painted photographs: what the first start, the figures and the speed measurements work on.

/// A landscape of sky, sun, ranges of hills and trees. The same size and seed give the same picture.
QImage paintLandscape(QSize size, quint32 seed);

/// Adds the noise of a camera's sensor, up to `strength` steps (of 256) in each direction. The same seed
/// gives the same noise.
void addGrain(QImage &image, quint32 seed, int strength);

/// A round badge with mountains and a compass needle on a transparent ground.
QImage paintLogo(int side);

/// Writes a photo as a camera does: `image` (upright) is stored turned as `orientation` (EXIF, 1 to 8) says,
/// so that a viewer shows it upright, and the tags are put in. The suffix of `path` names the format. Fails
/// the program when the file cannot be written.
void writeCameraPhoto(const QString &path, const QImage &image, const std::optional<FreshTags> &tags,
                      int orientation = 1);
