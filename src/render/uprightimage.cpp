// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/uprightimage.h"

#include <QColorSpace>

#include <array>

namespace
{

// How stored pixels become displayed ones: mirrored left to right or not, then turned clockwise.
struct Turn {
    bool mirrored;
    int degrees;
};

constexpr std::array<Turn, 8> turns{{
    {false, 0},   // 1: the first row is the top, the first column the left side
    {true, 0},    // 2: top, right
    {false, 180}, // 3: bottom, right
    {true, 180},  // 4: bottom, left
    {true, 270},  // 5: left, top
    {false, 90},  // 6: right, top
    {true, 90},   // 7: right, bottom
    {false, 270}, // 8: left, bottom
}};

Turn turnOf(int orientation)
{
    return turns[orientation >= 1 && orientation <= 8 ? static_cast<size_t>(orientation - 1) : 0];
}

bool swapsSides(int orientation)
{
    return turnOf(orientation).degrees % 180 != 0;
}

} // namespace

QSize displayedSize(QSize stored, int orientation)
{
    return swapsSides(orientation) ? stored.transposed() : stored;
}

QTransform displayedToStored(QSize stored, int orientation)
{
    const Turn turn = turnOf(orientation);
    const QSize displayed = displayedSize(stored, orientation);
    // From the middle of the displayed image to the middle of the stored one, back by the turn, back by the
    // mirror.
    QTransform transform;
    transform.translate(stored.width() / 2.0, stored.height() / 2.0);
    transform.scale(turn.mirrored ? -1 : 1, 1);
    transform.rotate(-turn.degrees);
    transform.translate(-displayed.width() / 2.0, -displayed.height() / 2.0);
    return transform;
}

QImage turnedUpright(const QImage &image, int orientation)
{
    const Turn turn = turnOf(orientation);
    QImage upright = image.mirrored(turn.mirrored, false).transformed(QTransform().rotate(turn.degrees));
    upright.setColorSpace(image.colorSpace()); // Qt 6.4 drops it when it turns an image
    if (swapsSides(orientation)) {
        upright.setDotsPerMeterX(image.dotsPerMeterY());
        upright.setDotsPerMeterY(image.dotsPerMeterX());
    }
    return upright;
}

QImage turnedAsStored(const QImage &upright, int orientation)
{
    // Quarter turns undo each other; every other orientation undoes itself.
    return turnedUpright(upright, orientation == 6 ? 8 : orientation == 8 ? 6 : orientation);
}
