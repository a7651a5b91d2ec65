// SPDX-License-Identifier: GPL-3.0-or-later
#include "samplephotos.h"

#include "processing/exiv2compat.h"
#include "render/uprightimage.h"

#include <QFile>
#include <QPainter>
#include <QPainterPath>
#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

constexpr int textureSide = 512;

/// The colours of an hour of the day.
struct Light {
    QRgb zenith;
    QRgb horizon;
    QRgb sun;
    QRgb farHills;
    QRgb nearHills;
};

constexpr std::array<Light, 4> lights = {{
    {0xff2f6fb5, 0xffcfe4f0, 0xfffff6d8, 0xff9db4c4, 0xff2f4a2a}, // noon, green hills
    {0xff31507f, 0xfff6c58e, 0xffffe2a8, 0xffa58f95, 0xff3a3328}, // evening
    {0xff4f86c0, 0xffe9e3d2, 0xfffffbe6, 0xffc9ab8b, 0xff7a4f2e}, // desert
    {0xff6d8fb0, 0xffe6ecef, 0xfffdfdf5, 0xffb4c3cb, 0xff35514a}, // morning haze
}};

QColor mixed(QRgb from, QRgb to, double share)
{
    const auto channel = [share](int a, int b) {
        return static_cast<int>(std::lround(a + (b - a) * share));
    };
    return QColor(channel(qRed(from), qRed(to)), channel(qGreen(from), qGreen(to)),
                  channel(qBlue(from), qBlue(to)));
}

double between(QRandomGenerator &random, double lowest, double highest)
{
    return lowest + (highest - lowest) * random.generateDouble();
}

// Heights of a ridge in [-1, 1] or a little beyond, by midpoint displacement; `roughness` is what is left of
// the displacement from one halving to the next.
QList<double> ridge(QRandomGenerator &random, double roughness)
{
    constexpr int steps = 1024;
    QList<double> heights(steps + 1, 0.0);
    double displacement = 1.0;
    heights[0] = between(random, -0.5, 0.5);
    heights[steps] = between(random, -0.5, 0.5);
    for (int stride = steps; stride > 1; stride /= 2) {
        for (int left = 0; left < steps; left += stride) {
            heights[left + stride / 2] = (heights[left] + heights[left + stride]) / 2 +
                                         between(random, -displacement, displacement) / 2;
        }
        displacement *= roughness;
    }
    return heights;
}

// A tile of soft spots of several sizes, to be laid over a surface that would look painted without them.
QImage groundTexture(QRandomGenerator &random)
{
    QImage tile(textureSide, textureSide, QImage::Format_ARGB32_Premultiplied);
    tile.fill(Qt::transparent);
    QPainter painter(&tile);
    painter.setPen(Qt::NoPen);
    for (int spot = 0; spot < 9000; ++spot) {
        const double width = std::pow(random.generateDouble(), 4.0) * 70.0 + 1.5;
        const QPointF centre(between(random, 0, textureSide), between(random, 0, textureSide));
        const int strength = width > 20.0 ? 6 : 22;
        painter.setBrush(random.bounded(5) < 3 ? QColor(0, 0, 0, strength) : QColor(255, 250, 225, strength));
        // once more beyond each edge that it crosses, so that the tiles meet without a seam
        for (const int right : {-textureSide, 0, textureSide}) {
            for (const int down : {-textureSide, 0, textureSide})
                painter.drawEllipse(centre + QPointF(right, down), width, width * 0.45);
        }
    }
    return tile;
}

void paintSky(QPainter &painter, QSizeF size, const Light &light, QRandomGenerator &random)
{
    QLinearGradient sky(0, 0, 0, size.height() * 0.7);
    sky.setColorAt(0, light.zenith);
    sky.setColorAt(1, light.horizon);
    painter.fillRect(QRectF(QPointF(), size), sky);

    const QPointF sun(size.width() * between(random, 0.15, 0.85), size.height() * between(random, 0.1, 0.4));
    const double reach = size.height() * 0.5;
    QRadialGradient glow(sun, reach);
    QColor edge = QColor::fromRgb(light.sun);
    edge.setAlpha(0);
    glow.setColorAt(0, Qt::white);
    glow.setColorAt(0.07, light.sun);
    glow.setColorAt(0.09, QColor(255, 255, 255, 90));
    glow.setColorAt(1, edge);
    painter.setBrush(glow);
    painter.drawEllipse(sun, reach, reach);

    for (int cloud = 0; cloud < 6; ++cloud) {
        const QPointF centre(size.width() * random.generateDouble(),
                             size.height() * between(random, 0.05, 0.35));
        const double width = size.width() * between(random, 0.05, 0.14);
        for (int puff = 0; puff < 40; ++puff) {
            const QPointF offset(between(random, -width, width), between(random, -width, width) * 0.15);
            const double radius = width * between(random, 0.1, 0.35);
            QRadialGradient soft(centre + offset, radius);
            soft.setColorAt(0, QColor(255, 255, 255, 26));
            soft.setColorAt(1, QColor(255, 255, 255, 0));
            painter.setBrush(soft);
            painter.drawEllipse(centre + offset, radius, radius * 0.55);
        }
    }
}

void paintTree(QPainter &painter, QPointF foot, double height, const QColor &colour)
{
    QPainterPath tree;
    for (int storey = 0; storey < 4; ++storey) {
        const double half = height * (0.26 - 0.05 * storey);
        const double bottom = foot.y() - height * 0.22 * storey;
        tree.addPolygon(QPolygonF({QPointF(foot.x() - half, bottom), QPointF(foot.x() + half, bottom),
                                   QPointF(foot.x(), bottom - height * 0.4)}));
    }
    tree.setFillRule(Qt::WindingFill);
    painter.fillPath(tree, colour);
}

// One range of hills: `nearness` runs from 0 (at the horizon) to 1 (at the viewer's feet).
void paintHills(QPainter &painter, QSizeF size, const Light &light, double nearness, const QImage &texture,
                QRandomGenerator &random)
{
    const QList<double> heights = ridge(random, 0.45 + 0.1 * (1.0 - nearness));
    const double level = size.height() * (0.46 + 0.46 * nearness);
    const double relief = size.height() * (0.2 - 0.1 * nearness);
    const double step = size.width() / static_cast<double>(heights.size() - 1);
    const auto surface = [&](qsizetype at) {
        return QPointF(static_cast<double>(at) * step, level - heights[at] * relief);
    };

    QPainterPath hill(QPointF(0, size.height()));
    for (qsizetype at = 0; at < heights.size(); ++at)
        hill.lineTo(surface(at));
    hill.lineTo(size.width(), size.height());
    const QColor colour = mixed(light.farHills, light.nearHills, nearness);
    QLinearGradient slope(0, level - relief, 0, level + relief * 3);
    slope.setColorAt(0, colour.lighter(112));
    slope.setColorAt(1, colour.darker(118));
    painter.fillPath(hill, slope);

    QBrush ground(texture);
    const double scale = size.height() / 1500.0 * (0.3 + nearness);
    ground.setTransform(QTransform::fromScale(scale, scale * 0.6));
    painter.setOpacity(0.35 + 0.65 * nearness);
    painter.fillPath(hill, ground);
    painter.setOpacity(1.0);

    if (nearness < 0.45)
        return;
    const int trees = 60 + random.bounded(120);
    for (int tree = 0; tree < trees; ++tree) {
        const QPointF foot = surface(random.bounded(static_cast<int>(heights.size())));
        const double height = size.height() * between(random, 0.02, 0.055) * nearness;
        paintTree(painter, foot + QPointF(0, between(random, 0, relief * 0.8)), height,
                  colour.darker(130 + random.bounded(60)));
    }
}

} // namespace

QImage paintLandscape(QSize size, quint32 seed)
{
    QRandomGenerator random(seed);
    const Light &light = lights[seed % lights.size()];
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QImage texture = groundTexture(random);
    paintSky(painter, size, light, random);
    constexpr int ranges = 6;
    for (int range = 0; range < ranges; ++range)
        paintHills(painter, size, light, range / (ranges - 1.0), texture, random);
    return image;
}

void addGrain(QImage &image, quint32 seed, int strength)
{
    Q_ASSERT(image.format() == QImage::Format_RGB32);
    // xorshift32 (G. Marsaglia, "Xorshift RNGs", Journal of Statistical Software 8(14), 2003)
    quint32 state = seed * 2654435761u + 1;
    const auto noise = [&state, strength]() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        const int range = strength + 1;
        return static_cast<int>((state & 0xffff) * static_cast<quint32>(range) >> 16) -
               static_cast<int>((state >> 16) * static_cast<quint32>(range) >> 16);
    };
    for (int y = 0; y < image.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int grain = noise();
            const auto grained = [grain](int channel) {
                return std::clamp(channel + grain, 0, 255);
            };
            line[x] = qRgb(grained(qRed(line[x])), grained(qGreen(line[x])), grained(qBlue(line[x])));
        }
    }
}

QImage paintLogo(int side)
{
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / 100.0, side / 100.0);
    painter.setPen(QPen(Qt::white, 4));
    painter.setBrush(QColor(22, 72, 99));
    painter.drawEllipse(QPointF(50, 50), 47, 47);

    QPainterPath badge;
    badge.addEllipse(QPointF(50, 50), 45, 45);
    painter.setClipPath(badge);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(84, 148, 108));
    painter.drawPolygon(QPolygonF({{0, 100}, {34, 46}, {62, 100}}));
    painter.setBrush(QColor(122, 184, 134));
    painter.drawPolygon(QPolygonF({{36, 100}, {68, 54}, {104, 100}}));
    painter.setBrush(Qt::white);
    painter.drawPolygon(QPolygonF({{34, 46}, {26.5, 58}, {33, 55}, {40.2, 58}}));
    painter.setBrush(QColor(226, 87, 76));
    painter.drawPolygon(QPolygonF({{66, 10}, {59, 30}, {73, 30}}));
    painter.setBrush(QColor(240, 240, 240));
    painter.drawPolygon(QPolygonF({{66, 50}, {59, 30}, {73, 30}}));
    return image;
}

void writeCameraPhoto(const QString &path, const QImage &image, const std::optional<FreshTags> &tags,
                      int orientation)
{
    const QTransform toStored = displayedToStored(image.size(), orientation);
    if (!image.transformed(toStored).save(path, nullptr, 95))
        qFatal("No se pudo escribir %s", qPrintable(path));
    Exiv2::ExifData exif = tags ? freshExif(*tags) : Exiv2::ExifData();
    if (orientation != 1)
        exif["Exif.Image.Orientation"] = static_cast<uint16_t>(orientation);
    const Exiv2Compat::ImagePtr file = Exiv2::ImageFactory::open(QFile::encodeName(path).toStdString());
    file->readMetadata();
    for (const Exiv2::Exifdatum &tag : exif) // beside those that say how a TIFF is laid out
        file->exifData().add(tag);
    file->writeMetadata();
}
