// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QColor>
#include <QImage>
#include <QString>

/// Paints a compass rose into a square image of its own, `size` pixels wide, on a transparent ground.
///
/// `orientation` is the heading in degrees. With `rotateCompass` the dial turns and the pointer stays
/// upright; without it the dial stays north-up and the pointer turns. `compassRatio`, the size of the rose
/// relative to the photo, enters the width of the ring. `fontPath` is the font file of the lettering; empty
/// or unusable, the general font is taken. `compassStyle` is 0 points, 1 graduated, 2 classic, 3 numbered;
/// any other gives a fully transparent image. A size below 1 gives a null image. May be called from several
/// threads at once.
QImage drawCompassRose(int size, double orientation, double compassRatio, const QString &fontPath,
                       bool rotateCompass, int compassStyle, const QColor &compassArrowColor);
