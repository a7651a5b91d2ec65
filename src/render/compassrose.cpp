// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/compassrose.h"

#include "core/numbers.h"
#include "core/units.h"
#include "render/fontregistry.h"
#include "render/geodesy.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPolygonF>

#include <algorithm>
#include <array>
#include <cmath>

namespace
{

constexpr double radiansPerDegree = 0.017453292519943295;

struct Rose {
    QPainter &painter;
    QFont font;
    int size = 0;
    int centre = 0;
    double radius = 0.0;
    int ringWidth = 0;
    double orientation = 0.0; ///< as given
    double heading = 0.0;     ///< the orientation within (-360, 360)
    bool dialTurns = false;
    QColor arrowColor;

    QPointF centrePoint() const { return QPointF(centre, centre); }
    /// The direction of the needles as seen on screen, in radians, clockwise from the right.
    double pointerAngle() const
    {
        return dialTurns ? -90 * radiansPerDegree : (heading - 90) * radiansPerDegree;
    }
};

int atLeast(int minimum, double value)
{
    return std::max(minimum, truncated(value));
}

QPen rosePen(const QColor &color, int width)
{
    return QPen(color, width, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin);
}

QFont sized(QFont font, int pointSize, QFont::Weight weight)
{
    font.setPointSize(pointSize);
    font.setWeight(weight);
    return font;
}

QFontMetrics setFont(QPainter &painter, const QFont &font)
{
    painter.setFont(font);
    return QFontMetrics(font, painter.device());
}

QPointF onCircle(double radius, double angle)
{
    return QPointF(radius * std::cos(angle), radius * std::sin(angle));
}

void turn(QPainter &painter, const QPointF &centre, double degrees)
{
    painter.translate(centre);
    painter.rotate(degrees);
    painter.translate(-centre);
}

// Style 0, dial.

void drawEightNames(const Rose &rose)
{
    static const std::array<QString, 8> names{
        QStringLiteral("N"), QStringLiteral("NE"), QStringLiteral("E"), QStringLiteral("SE"),
        QStringLiteral("S"), QStringLiteral("SW"), QStringLiteral("W"), QStringLiteral("NW")};
    double angle = -90;
    for (const QString &name : names) {
        const QFont font = name.size() == 1
                               ? sized(rose.font, atLeast(12, 0.25 * rose.radius), QFont::Bold)
                               : sized(rose.font, atLeast(10, 0.18 * rose.radius), QFont::Normal);
        const QFontMetrics metrics = setFont(rose.painter, font);
        const QSizeF box(metrics.horizontalAdvance(name), metrics.height());
        const QPointF middle = rose.centrePoint() + onCircle(0.85 * rose.radius, angle * radiansPerDegree);
        const QPointF topLeft = middle - QPointF(box.width() / 2, box.height() / 2);
        rose.painter.drawText(QRectF(topLeft, box), Qt::AlignCenter | Qt::TextDontClip, name);
        angle += 45;
    }
}

// Styles 0 and 1, pointer.
void drawSplitArrow(const Rose &rose)
{
    const double c = rose.centre;
    const double r = 0.8 * rose.radius;
    const QPointF tip(c, c - 0.6 * r);
    const QPointF base(c, c + 0.4 * r);
    const QPointF left(c - 0.5 * r, c + 0.4 * r);
    const QPointF right(c + 0.5 * r, c + 0.4 * r);

    rose.painter.save();
    turn(rose.painter, rose.centrePoint(), rose.dialTurns ? 0.0 : rose.heading);
    rose.painter.setPen(rosePen(rose.arrowColor, atLeast(1, rose.size * 0.015)));
    rose.painter.setBrush(Qt::white);
    rose.painter.drawPolygon(QPolygonF{tip, left, base});
    rose.painter.setBrush(rose.arrowColor);
    rose.painter.drawPolygon(QPolygonF{tip, right, base});
    rose.painter.restore();
}

void drawTicks(const Rose &rose)
{
    rose.painter.setPen(rosePen(Qt::white, atLeast(1, rose.size * 0.01)));
    const double r = rose.radius;
    for (int degrees = 0; degrees < 360; degrees += 5) {
        const double length = degrees % 90 == 0 ? 0.2 * r : degrees % 10 == 0 ? 0.1 * r : 0.05 * r;
        const double angle = degrees * radiansPerDegree;
        rose.painter.drawLine(QLineF(rose.centrePoint() + onCircle(r - length, angle),
                                     rose.centrePoint() + onCircle(r, angle)));
    }
}

// The four letters with the middle of each at a distance from the centre.
void drawLettersAround(const Rose &rose, double pointSize, double distance)
{
    const QFontMetrics metrics = setFont(rose.painter, sized(rose.font, atLeast(12, pointSize), QFont::Bold));
    rose.painter.setPen(Qt::white);
    const int c = rose.centre;
    const int halfAscent = metrics.ascent() / 2;
    const auto halfAdvance = [&metrics](const QString &letter) {
        return metrics.horizontalAdvance(letter) / 2;
    };

    const QString north = QStringLiteral("N");
    const QString south = QStringLiteral("S");
    const QString east = QStringLiteral("E");
    const QString west = QStringLiteral("W");
    rose.painter.drawText(c - halfAdvance(north), truncated(c - distance + halfAscent), north);
    rose.painter.drawText(c - halfAdvance(south), truncated(c + distance + halfAscent), south);
    rose.painter.drawText(truncated(c + distance - halfAdvance(east)), c + halfAscent, east);
    rose.painter.drawText(truncated(c - distance - halfAdvance(west)), c + halfAscent, west);
}

void drawGraduatedDial(const Rose &rose)
{
    drawTicks(rose);
    drawLettersAround(rose, 0.3 * rose.radius, 0.65 * rose.radius);
}

void drawLettersInsideRing(const Rose &rose)
{
    const QFontMetrics metrics =
        setFont(rose.painter, sized(rose.font, atLeast(12, 0.3 * rose.radius), QFont::Bold));
    rose.painter.setPen(Qt::white);
    const int c = rose.centre;
    const int inset = atLeast(2, 0.08 * rose.radius) + rose.ringWidth + rose.ringWidth / 2;
    const int ascent = metrics.ascent();
    const int height = metrics.height();
    const auto advance = [&metrics](const QString &letter) {
        return metrics.horizontalAdvance(letter);
    };

    const QString north = QStringLiteral("N");
    const QString south = QStringLiteral("S");
    const QString east = QStringLiteral("E");
    const QString west = QStringLiteral("W");
    rose.painter.drawText(c - advance(north) / 2, inset + ascent, north);
    rose.painter.drawText(c - advance(south) / 2, rose.size - inset - height + ascent, south);
    rose.painter.drawText(rose.size - inset - advance(east), c - height / 2 + ascent, east);
    rose.painter.drawText(inset, c - height / 2 + ascent, west);
}

void fillNeedle(const Rose &rose, const QPointF &base, const QPointF &tip, double halfWidth)
{
    const QPointF side = onCircle(halfWidth, rose.pointerAngle() + 90 * radiansPerDegree);
    rose.painter.setPen(Qt::NoPen);
    rose.painter.setBrush(rose.arrowColor);
    rose.painter.drawPolygon(QPolygonF{base + side, tip, base - side}, Qt::OddEvenFill);
}

void drawLongNeedle(const Rose &rose)
{
    const double length = 0.95 * rose.radius;
    const QPointF along = onCircle(length, rose.pointerAngle());
    fillNeedle(rose, rose.centrePoint() - 0.1 * along, rose.centrePoint() + along, length * 0.25 * 0.5);
}

void drawNumberedDial(const Rose &rose)
{
    drawLettersAround(rose, 0.28 * rose.radius, 0.7 * rose.radius);
}

void drawShortNeedleAndHeading(const Rose &rose)
{
    constexpr double equilateralSide = 1.1547005383792517; // of a triangle of height 1
    const double height = 0.25 * rose.radius;
    const double tipDistance = 0.9 * rose.radius;
    const QPointF tip = rose.centrePoint() + onCircle(tipDistance, rose.pointerAngle());
    const QPointF base = rose.centrePoint() + onCircle(tipDistance - height, rose.pointerAngle());
    fillNeedle(rose, base, tip, height * equilateralSide * 0.5);

    const QString heading = QStringLiteral("%1° %2").arg(QString::number(rounded<qint64>(rose.orientation)),
                                                         compassPointName(rose.orientation));
    setFont(rose.painter, sized(rose.font, atLeast(12, 0.22 * rose.radius), QFont::Bold));
    rose.painter.setPen(Qt::white);
    rose.painter.drawText(QRect(0, 0, rose.size, rose.size), Qt::AlignCenter, heading);
}

struct Style {
    void (*lettering)(const Rose &); ///< turns with the dial
    void (*pointer)(const Rose &);
};

constexpr std::array<Style, 4> styles{{
    {drawEightNames, drawSplitArrow},
    {drawGraduatedDial, drawSplitArrow},
    {drawLettersInsideRing, drawLongNeedle},
    {drawNumberedDial, drawShortNeedleAndHeading},
}};

void drawDial(const Rose &rose, const Style &style)
{
    QPainter &painter = rose.painter;
    painter.save();
    if (rose.dialTurns)
        turn(painter, rose.centrePoint(), -rose.heading);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(211, 211, 211, 128));
    painter.drawEllipse(QRect(0, 0, rose.size, rose.size));

    const int w = rose.ringWidth;
    painter.setPen(rosePen(Qt::white, w));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRect(w / 2, w / 2, rose.size - w, rose.size - w));

    painter.setPen(Qt::white);
    style.lettering(rose);
    painter.restore();
}

} // namespace

QImage drawCompassRose(int size, double orientation, double compassRatio, const QString &fontPath,
                       bool rotateCompass, int compassStyle, const QColor &compassArrowColor)
{
    if (size < 1)
        return {};
    QImage image(size, size, QImage::Format_ARGB32);
    if (image.isNull())
        return image;
    image.fill(Qt::transparent);
    image.setDotsPerMeterX(screenDotsPerMeter);
    image.setDotsPerMeterY(screenDotsPerMeter);
    if (compassStyle < 0 || compassStyle >= static_cast<int>(styles.size()))
        return image;

    QPainter painter(&image);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    const Rose rose{
        .painter = painter,
        .font = overlayFont(registeredFontFamily(fontPath).value_or(QString())),
        .size = size,
        .centre = size / 2,
        .radius = size / 2.0,
        // A ring that covers the whole image needs not grow further.
        .ringWidth = truncated(std::min<double>(atLeast(2, size * 0.03 * compassRatio), 2.0 * size)),
        .orientation = orientation,
        .heading = std::isfinite(orientation) ? std::fmod(orientation, 360.0) : 0.0,
        .dialTurns = rotateCompass,
        .arrowColor = compassArrowColor,
    };
    const Style &style = styles[static_cast<size_t>(compassStyle)];
    drawDial(rose, style);
    style.pointer(rose);
    return image;
}
