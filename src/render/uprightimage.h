// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QTransform>

/// The orientation of stored pixels as in the TIFF 6.0 and EXIF 2.3 tag 274: 1 is upright, 2 to 8 are
/// mirrored or turned. Everywhere below, a value outside 1 to 8 counts as 1.

/// The size in which a viewer shows an image stored as `stored`: orientations 5 to 8 swap the sides.
QSize displayedSize(QSize stored, int orientation);

/// The transform from the pixels as displayed to the pixels as stored, for a painter on the stored image of
/// size `stored`: what it then paints upright is upright in a viewer.
QTransform displayedToStored(QSize stored, int orientation);

/// The image with its pixels turned as a viewer shows it; orientation 1 returns it unchanged.
QImage turnedUpright(const QImage &image, int orientation);

/// The opposite: an image with its pixels turned so that a viewer, told `orientation`, shows `upright`.
QImage turnedAsStored(const QImage &upright, int orientation);
