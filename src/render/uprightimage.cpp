// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/uprightimage.h"

#include <QColorSpace>

#include <array>
#include <cstring>

namespace
{

// Where a displayed point (x, y) is stored: xx·x + xy·y, from the far end when the factor is negative, and
// the same in y.
struct Turn {
    int xx, xy;
    int yx, yy;
};

constexpr std::array<Turn, 8> turns{{
    {1, 0, 0, 1},   // 1: as stored
    {-1, 0, 0, 1},  // 2: mirrored left to right
    {-1, 0, 0, -1}, // 3: turned by 180°
    {1, 0, 0, -1},  // 4: mirrored top to bottom
    {0, 1, 1, 0},   // 5: mirrored at the diagonal from top left
    {0, 1, -1, 0},  // 6: to be turned clockwise by 90°
    {0, -1, -1, 0}, // 7: mirrored at the diagonal from top right
    {0, -1, 1, 0},  // 8: to be turned counter-clockwise by 90°
}};

Turn turnOf(int orientation)
{
    return turns[orientation >= 1 && orientation <= 8 ? static_cast<size_t>(orientation - 1) : 0];
}

bool swapsSides(int orientation)
{
    return turnOf(orientation).xx == 0;
}

// Walks the target in square tiles, so that the rows of the source stay in the cache when the sides are
// swapped.
template <int bytes>
void copyPixels(const QImage &source, QImage &target, const Turn &turn)
{
    constexpr int tile = 32;
    const qsizetype line = source.bytesPerLine();
    const qsizetype stepX = turn.xx * bytes + turn.yx * line;
    const qsizetype stepY = turn.xy * bytes + turn.yy * line;
    const qsizetype firstX = turn.xx + turn.xy < 0 ? source.width() - 1 : 0;
    const qsizetype firstY = turn.yx + turn.yy < 0 ? source.height() - 1 : 0;
    const uchar *origin = source.constBits() + firstX * bytes + firstY * line;
    uchar *targetBits = target.bits();
    const qsizetype targetLine = target.bytesPerLine();

    for (int top = 0; top < target.height(); top += tile) {
        const int bottom = qMin(top + tile, target.height());
        for (int left = 0; left < target.width(); left += tile) {
            const int right = qMin(left + tile, target.width());
            for (int y = top; y < bottom; ++y) {
                const uchar *from = origin + left * stepX + y * stepY;
                uchar *to = targetBits + y * targetLine + qsizetype(left) * bytes;
                for (int x = left; x < right; ++x, from += stepX, to += bytes)
                    std::memcpy(to, from, bytes);
            }
        }
    }
}

// Pixels smaller than a byte.
void copyBits(const QImage &source, QImage &target, const QTransform &toSource)
{
    for (int y = 0; y < target.height(); ++y) {
        for (int x = 0; x < target.width(); ++x) {
            const QPointF centre = toSource.map(QPointF(x + 0.5, y + 0.5));
            target.setPixel(x, y, static_cast<uint>(source.pixelIndex(int(centre.x()), int(centre.y()))));
        }
    }
}

void copyDescription(const QImage &source, QImage &target, bool sidesSwapped)
{
    target.setDotsPerMeterX(sidesSwapped ? source.dotsPerMeterY() : source.dotsPerMeterX());
    target.setDotsPerMeterY(sidesSwapped ? source.dotsPerMeterX() : source.dotsPerMeterY());
    target.setDevicePixelRatio(source.devicePixelRatio());
    target.setColorSpace(source.colorSpace());
    const QStringList keys = source.textKeys();
    for (const QString &key : keys)
        target.setText(key, source.text(key));
}

} // namespace

QSize displayedSize(QSize stored, int orientation)
{
    return swapsSides(orientation) ? stored.transposed() : stored;
}

QTransform displayedToStored(QSize stored, int orientation)
{
    const Turn turn = turnOf(orientation);
    return QTransform(turn.xx, turn.yx, turn.xy, turn.yy, turn.xx + turn.xy < 0 ? stored.width() : 0,
                      turn.yx + turn.yy < 0 ? stored.height() : 0);
}

QImage turnedUpright(const QImage &image, int orientation)
{
    const Turn turn = turnOf(orientation);
    if (image.isNull() || (turn.xx == 1 && turn.yy == 1))
        return image;

    QImage turned(displayedSize(image.size(), orientation), image.format());
    if (turned.isNull())
        return turned;
    turned.setColorTable(image.colorTable());
    switch (image.depth()) {
    case 8:
        copyPixels<1>(image, turned, turn);
        break;
    case 16:
        copyPixels<2>(image, turned, turn);
        break;
    case 24:
        copyPixels<3>(image, turned, turn);
        break;
    case 32:
        copyPixels<4>(image, turned, turn);
        break;
    case 64:
        copyPixels<8>(image, turned, turn);
        break;
    case 128:
        copyPixels<16>(image, turned, turn);
        break;
    default:
        copyBits(image, turned, displayedToStored(image.size(), orientation));
    }
    copyDescription(image, turned, swapsSides(orientation));
    return turned;
}
