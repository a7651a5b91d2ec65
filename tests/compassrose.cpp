// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/compassrose.h"

#include <QTest>

#include <cmath>
#include <limits>

namespace
{

constexpr int size = 400;
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
    return {qRound(size / 2 + distance * std::cos(angle)), qRound(size / 2 + distance * std::sin(angle))};
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

} // namespace

/// The compass rose as it is seen.
class CompassRoseTest : public QObject
{
    Q_OBJECT

private slots:
    void pointsToTheHeading_data();
    void pointsToTheHeading();
    void paintsDiscAndRing();
    void growsTheRingWithTheRatio_data();
    void growsTheRingWithTheRatio();
    void showsTheHeadingAsText();
    void takesAnything_data();
    void takesAnything();
};

void CompassRoseTest::pointsToTheHeading_data()
{
    QTest::addColumn<int>("style");
    QTest::addColumn<double>("orientation");
    QTest::addColumn<bool>("rotate");
    for (int style = 0; style < 4; ++style) {
        for (const double orientation : {0.0, 90.0, 225.0, 365.4, -45.0}) {
            for (const bool rotate : {false, true})
                QTest::addRow("style %d, %g°, %s", style, orientation,
                              rotate ? "dial turns" : "pointer turns")
                    << style << orientation << rotate;
        }
    }
}

void CompassRoseTest::pointsToTheHeading()
{
    QFETCH(int, style);
    QFETCH(double, orientation);
    QFETCH(bool, rotate);
    const QImage image = rose(style, orientation, rotate);
    const double pointer = rotate ? 0 : orientation;
    const double north = rotate ? -orientation : 0;

    // Where the pointer ends, from the centre: the split arrow at 0.6 × 0.8 of the radius, the needles at
    // 0.95 and 0.9.
    constexpr double radius = size / 2.0;
    const double tips[] = {0.48 * radius, 0.48 * radius, 0.95 * radius, 0.9 * radius};
    const double tip = tips[style];
    QVERIFY(count(image, at(tip - 16, pointer + (style < 2 ? 3 : 0)), 2, isArrow) > 0);
    QCOMPARE(count(image, at(tip + 8, pointer), 3, isArrow), 0);
    QCOMPARE(count(image, at(tip - 16, pointer + 180), 2, isArrow), 0);

    // A needle's half width beside its base, and the white half of the arrow to the left.
    if (style == 2) {
        QVERIFY(count(image, at(10, pointer + 90), 2, isArrow) > 0);
        QCOMPARE(count(image, at(32, pointer + 90), 2, isArrow), 0);
    } else if (style < 2) {
        QVERIFY(count(image, at(20, pointer - 90), 2, isWhite) > 0);
        QVERIFY(count(image, at(20, pointer + 90), 2, isArrow) > 0);
    }

    // The letter at north, and nothing of the kind between the letters.
    const double letters[] = {0.85 * radius, 0.65 * radius, 0.78 * radius, 0.7 * radius};
    QVERIFY(count(image, at(letters[style], north + 90), 16, isWhite) > 20);
    QVERIFY(count(image, at(letters[style], north + 180), 16, isWhite) > 20);
    QCOMPARE(count(image, at(0.7 * radius, north + 22.5), 5, isWhite), 0);
    // Style 0 has names between the letters too.
    QCOMPARE(count(image, at(0.85 * radius, north + 135), 12, isWhite) > 20, style == 0);
}

void CompassRoseTest::paintsDiscAndRing()
{
    const QImage image = rose(2, 0, false);
    QCOMPARE(image.size(), QSize(size, size));
    QCOMPARE(qAlpha(image.pixel(2, 2)), 0); // outside the disc
    const QRgb disc = image.pixel(at(0.5 * size / 2, 60));
    QCOMPARE(qAlpha(disc), 128);
    QVERIFY(qAbs(qRed(disc) - 211) < 3 && qAbs(qGreen(disc) - 211) < 3 && qAbs(qBlue(disc) - 211) < 3);
}

void CompassRoseTest::growsTheRingWithTheRatio_data()
{
    QTest::addColumn<double>("ratio");
    QTest::addColumn<int>("width");
    QTest::newRow("at least 2") << 0.1 << 2; // 400 × 0.03 × 0.1 = 1.2
    QTest::newRow("3") << 0.3 << 3;
    QTest::newRow("6") << 0.5 << 6;
}

void CompassRoseTest::growsTheRingWithTheRatio()
{
    QFETCH(double, ratio);
    QFETCH(int, width);
    const QImage image = rose(2, 30, false, ratio);
    int ring = 0;
    while (ring < 20 && isWhite(image.pixel(ring, size / 2)))
        ++ring;
    // The ring lies within the square but for the halves of its pen.
    QVERIFY2(qAbs(ring - width) <= 1, qPrintable(QString::number(ring)));
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

void CompassRoseTest::takesAnything_data()
{
    QTest::addColumn<int>("sideLength");
    QTest::addColumn<int>("style");
    QTest::addColumn<double>("orientation");
    QTest::addColumn<bool>("empty");
    constexpr double infinity = std::numeric_limits<double>::infinity();
    QTest::newRow("style 4") << 50 << 4 << 0.0 << true;
    QTest::newRow("style -1") << 50 << -1 << 0.0 << true;
    QTest::newRow("no size") << 0 << 2 << 0.0 << true;
    QTest::newRow("one pixel") << 1 << 1 << 0.0 << false;
    QTest::newRow("no number") << 50 << 3 << std::numeric_limits<double>::quiet_NaN() << false;
    QTest::newRow("infinite") << 50 << 2 << infinity << false;
    QTest::newRow("huge") << 50 << 0 << -1e300 << false;
}

void CompassRoseTest::takesAnything()
{
    QFETCH(int, sideLength);
    QFETCH(int, style);
    QFETCH(double, orientation);
    for (const bool rotate : {false, true}) {
        const QImage image = drawCompassRose(sideLength, orientation, 0.2, font, rotate, style, arrowColor);
        QCOMPARE(image.size(), QSize(sideLength, sideLength));
        bool empty = true;
        for (int y = 0; y < sideLength; ++y) {
            for (int x = 0; x < sideLength; ++x)
                empty = empty && qAlpha(image.pixel(x, y)) == 0;
        }
        QTEST(empty, "empty");
    }
}

QTEST_MAIN(CompassRoseTest)
#include "compassrose.moc"
