// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/compassrose.h"

#include <QTest>

#include <cmath>
#include <limits>

namespace
{

constexpr int size = 400;
constexpr double radius = size / 2.0;
const QColor arrowColor(255, 0, 0);
const QString font = QStringLiteral(VELMARO_TEST_FONT);

QImage rose(int style, double orientation, bool rotate, double ratio = 0.3)
{
    return drawCompassRose(size, orientation, ratio, font, rotate, style, arrowColor);
}

bool isArrow(QRgb pixel)
{
    return qAlpha(pixel) > 200 && qRed(pixel) > 200 && qGreen(pixel) < 80 && qBlue(pixel) < 80;
}

bool isWhite(QRgb pixel)
{
    return qAlpha(pixel) > 240 && qMin(qRed(pixel), qMin(qGreen(pixel), qBlue(pixel))) > 240;
}

// A pixel at a distance from the centre, in a direction clockwise from the top.
QPoint at(double distance, double degrees)
{
    const double angle = (degrees - 90) * M_PI / 180;
    return {qRound(radius + distance * std::cos(angle)), qRound(radius + distance * std::sin(angle))};
}

// How many pixels around a point are of a kind.
int count(const QImage &image, QPoint middle, int reach, bool (*kind)(QRgb))
{
    int found = 0;
    for (int y = middle.y() - reach; y <= middle.y() + reach; ++y) {
        for (int x = middle.x() - reach; x <= middle.x() + reach; ++x)
            found += image.valid(x, y) && kind(image.pixel(x, y)) ? 1 : 0;
    }
    return found;
}

// What is seen of the pointer: behind its tip, before it, opposite to it, and to the left and right of the
// centre, near and far. The split arrow's tip is half white.
QByteArray pointerSeen(const QImage &image, double tip, double direction, bool split)
{
    QByteArray seen;
    for (const QPoint point :
         {at(tip - 16, direction + (split ? 3 : 0)), at(tip + 8, direction), at(tip - 16, direction + 180),
          at(18, direction - 90), at(18, direction + 90), at(32, direction + 90)})
        seen += count(image, point, 2, isArrow) > 0 ? 'A' : '.';
    return seen + (split && count(image, at(20, direction - 90), 2, isWhite) > 12 ? 'w' : '.');
}

// Where letters stand on a circle, every 45 degrees from north on.
QByteArray lettersSeen(const QImage &image, double distance, double north)
{
    QByteArray seen;
    for (int step = 0; step < 8; ++step)
        seen += count(image, at(distance, north + 45 * step), 16, isWhite) > 20 ? 'x' : '.';
    return seen;
}

} // namespace

/// The compass rose as it is seen.
class CompassRoseTest : public QObject
{
    Q_OBJECT

private slots:
    void pointsToTheHeading();
    void paintsDiscAndRing();
    void showsTheHeadingAsText();
    void takesAnything();
};

void CompassRoseTest::pointsToTheHeading()
{
    struct {
        double tip, letters;
        QByteArray pointer, names;
    } const styles[] = {{0.48, 0.85, "A...AAw", "xxxxxxxx"},
                        {0.48, 0.65, "A...AAw", "x.x.x.x."},
                        {0.95, 0.78, "A..AA..", "x.x.x.x."},
                        {0.90, 0.70, "A......", "x.x.x.x."}};
    for (const double orientation : {0.0, 90.0, 225.0, 365.4, -45.0}) {
        for (const bool rotate : {false, true}) {
            for (int style = 0; style < 4; ++style) {
                const auto &[tip, letters, pointer, names] = styles[style];
                const QImage image = rose(style, orientation, rotate);
                QCOMPARE(pointerSeen(image, tip * radius, rotate ? 0 : orientation, style < 2), pointer);
                QCOMPARE(lettersSeen(image, letters * radius, rotate ? -orientation : 0), names);
            }
        }
    }
}

void CompassRoseTest::paintsDiscAndRing()
{
    const QImage image = rose(2, 0, false);
    QCOMPARE(image.size(), QSize(size, size));
    QCOMPARE(qAlpha(image.pixel(2, 2)), 0); // outside the disc
    const QRgb disc = image.pixel(at(0.5 * radius, 60));
    QCOMPARE(qAlpha(disc), 128);
    QVERIFY(qAbs(qRed(disc) - 211) < 3 && qAbs(qGreen(disc) - 211) < 3 && qAbs(qBlue(disc) - 211) < 3);

    // 400 × 0.03 × ratio, at least 2; the ring lies within the square but for the halves of its pen.
    for (const auto &[ratio, width] : {std::pair(0.1, 2), {0.3, 3}, {0.5, 6}}) {
        int ring = 0;
        while (ring < 20 && isWhite(rose(2, 30, false, ratio).pixel(ring, size / 2)))
            ++ring;
        QVERIFY2(qAbs(ring - width) <= 1, qPrintable(QString::number(ring)));
    }
}

void CompassRoseTest::showsTheHeadingAsText()
{
    const QImage north = rose(3, 365.4, false);
    QVERIFY(count(north, {size / 2, size / 2}, 60, isWhite) > 300);
    // Neither brought below 360 nor padded: 365° and 5° read differently, 365.4 and 364.6 alike.
    const QRect text(110, 170, 180, 60);
    QVERIFY(north.copy(text) != rose(3, 5.4, false).copy(text));
    QCOMPARE(north.copy(text), rose(3, 364.6, false).copy(text));
    // The text does not turn with the dial.
    QCOMPARE(rose(3, 90, true).copy(text), rose(3, 90, false).copy(text));
}

void CompassRoseTest::takesAnything()
{
    using Limits = std::numeric_limits<double>;
    struct {
        int side, style;
        double orientation;
        bool empty;
    } const cases[] = {{50, 4, 0, true},
                       {50, -1, 0, true},
                       {0, 2, 0, true},
                       {1, 1, 0, false},
                       {50, 3, Limits::quiet_NaN(), false},
                       {50, 2, Limits::infinity(), false},
                       {50, 0, -1e300, false}};
    for (const auto &[side, style, orientation, empty] : cases) {
        for (const bool rotate : {false, true}) {
            const QImage image = drawCompassRose(side, orientation, 0.2, font, rotate, style, arrowColor);
            QCOMPARE(image.size(), QSize(side, side));
            const auto isPainted = [](QRgb pixel) {
                return qAlpha(pixel) > 0;
            };
            QCOMPARE(count(image, {0, 0}, side, isPainted) == 0, empty);
        }
    }
}

QTEST_MAIN(CompassRoseTest)
#include "compassrose.moc"
