// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/compassrose.h"

#include "render/fontregistry.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTest>

#include <cmath>
#include <limits>

namespace
{

constexpr int size = 400;
constexpr double radius = size / 2.0;
const QString fontPath = QStringLiteral(VELMARO_TEST_FONT);

QImage rose(int style, double orientation, bool rotate, double ratio = 0.3)
{
    return drawCompassRose(size, orientation, ratio, fontPath, rotate, style, Qt::red);
}

bool isArrow(QRgb pixel)
{
    return qAlpha(pixel) > 200 && qRed(pixel) > 200 && qGreen(pixel) < 80 && qBlue(pixel) < 80;
}

bool isWhite(QRgb pixel)
{
    return qAlpha(pixel) > 240 && qMin(qRed(pixel), qMin(qGreen(pixel), qBlue(pixel))) > 240;
}

// A point at a distance from the centre, in a direction clockwise from the top.
QPoint at(double distance, double degrees)
{
    const double angle = (degrees - 90) * M_PI / 180;
    return {qRound(radius + distance * std::cos(angle)), qRound(radius + distance * std::sin(angle))};
}

// Whether the arrow's colour is seen around a point.
bool arrowAt(const QImage &image, QPoint middle)
{
    constexpr int reach = 3;
    for (int y = middle.y() - reach; y <= middle.y() + reach; ++y) {
        for (int x = middle.x() - reach; x <= middle.x() + reach; ++x) {
            if (image.valid(x, y) && isArrow(image.pixel(x, y)))
                return true;
        }
    }
    return false;
}

// A report when less than 88 % of the pixels of a white text, around a point give or take five pixels, look
// as they should.
QByteArray amiss(const QImage &image, const char *name, int pointSize, bool bold, QPoint middle)
{
    QFont font = overlayFont(*registeredFontFamily(fontPath));
    font.setPointSize(pointSize);
    font.setBold(bold);
    const QString text = QString::fromUtf8(name);
    const QRect bounds = QFontMetrics(font, &image).tightBoundingRect(text);
    QImage alone(bounds.size(), QImage::Format_ARGB32_Premultiplied);
    alone.fill(Qt::transparent);
    alone.setDotsPerMeterX(image.dotsPerMeterX());
    alone.setDotsPerMeterY(image.dotsPerMeterY());
    QPainter painter(&alone);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(-bounds.topLeft(), text);
    painter.end();

    int fewest = INT_MAX;
    for (int shift = 0; shift < 121; ++shift) {
        QRect place = alone.rect();
        place.moveCenter(middle + QPoint(shift % 11 - 5, shift / 11 - 5));
        const QImage seen = image.copy(place); // transparent beyond the edges
        int different = 0;
        for (int y = 0; y < alone.height(); ++y) {
            for (int x = 0; x < alone.width(); ++x)
                different += isWhite(alone.pixel(x, y)) != isWhite(seen.pixel(x, y)) ? 1 : 0;
        }
        fewest = qMin(fewest, different);
    }
    const int share = 100 * fewest / (alone.width() * alone.height());
    return share < 12 ? QByteArray() : name + (' ' + QByteArray::number(share)) + " % amiss";
}

} // namespace

/// The compass rose as it is seen.
class CompassRoseTest : public QObject
{
    Q_OBJECT

private slots:
    void pointsToTheHeading();
    void writesTheNames();
    void paintsDiscRingAndTicks();
    void showsTheHeadingAsText();
    void takesAnything();
};

void CompassRoseTest::pointsToTheHeading()
{
    // Where the pointer ends, from the centre: the split arrow at 0.6 × 0.8 of the radius, the needles at
    // 0.95 and 0.9.
    const double tips[] = {0.48 * radius, 0.48 * radius, 0.95 * radius, 0.9 * radius};
    for (int style = 0; style < 4; ++style) {
        for (const double orientation : {0.0, 90.0, 225.0, 365.4, -45.0}) {
            for (const bool dialTurns : {false, true}) {
                const QImage image = rose(style, orientation, dialTurns);
                const double pointer = dialTurns ? 0 : orientation;
                const double tip = tips[style];
                // before the tip, beyond it, opposite; beside the foot of the split arrow; beside the centre,
                // farther out; behind the centre
                const QList<QPointF> places = {{tip - 16, style < 2 ? 3.0 : 0.0},
                                               {tip + 8, 0},
                                               {tip - 16, 180},
                                               {60, -120},
                                               {60, 120},
                                               {10, 90},
                                               {32, 90},
                                               {12, 180},
                                               {136, 9}};
                QByteArray found;
                for (const QPointF &place : places)
                    found += arrowAt(image, at(place.x(), pointer + place.y())) ? '1' : '0';
                const QByteArray expected = style < 2 ? "100011110" : style == 2 ? "100001010" : "100000001";
                QCOMPARE(QByteArray::number(style) + ' ' + QByteArray::number(orientation) + ' ' + found,
                         QByteArray::number(style) + ' ' + QByteArray::number(orientation) + ' ' + expected);
            }
        }
    }
}

void CompassRoseTest::writesTheNames()
{
    const QList<const char *> names = {"N", "NE", "E", "SE", "S", "SW", "W", "NW"};
    const QImage upright = rose(0, 45, false, 0.1);
    const QImage turnedBack = rose(0, 90, true, 0.1).transformed(QTransform().rotate(90));
    for (int i = 0; i < 8; ++i) {
        const QPoint place = at(0.85 * radius, i * 45);
        const int pointSize = i % 2 == 0 ? 50 : 36;
        QCOMPARE(amiss(upright, names.at(i), pointSize, i % 2 == 0, place), QByteArray());
        QCOMPARE(amiss(turnedBack, names.at(i), pointSize, i % 2 == 0, place), QByteArray());
    }
    const QList<QPoint> places[] = {{{200, 84}, {330, 214}, {200, 344}, {70, 214}},
                                    {{200, 76}, {358, 202}, {200, 329}, {56, 202}},
                                    {{200, 73}, {340, 213}, {200, 353}, {60, 213}}};
    for (int style = 1; style < 4; ++style) {
        for (int i = 0; i < 4; ++i)
            QCOMPARE(amiss(rose(style, 45, false, 0.1), names.at(2 * i), style == 3 ? 56 : 60, true,
                           places[style - 1].at(i)),
                     QByteArray());
    }
}

void CompassRoseTest::paintsDiscRingAndTicks()
{
    const QImage image = rose(1, 180, false);
    QCOMPARE(image.size(), QSize(size, size));
    QCOMPARE(qAlpha(image.pixel(2, 2)), 0); // outside the disc
    const QRgb disc = image.pixel(at(0.5 * radius, 45));
    QCOMPARE(qAlpha(disc), 128);
    QVERIFY(qAbs(qRed(disc) - 211) < 3 && qAbs(qGreen(disc) - 211) < 3 && qAbs(qBlue(disc) - 211) < 3);

    QSet<int> edges; // soft ones have pixels between none, disc and ring
    for (int x = 0; x < size / 2; ++x)
        edges.insert(qAlpha(image.pixel(x, 100)));
    QVERIFY(edges.size() > 4);

    // from the edge inwards, at a right angle, at tens and at fives of degrees, and between them
    QByteArray lengths;
    for (const double direction : {90.0, 50.0, 55.0, 52.5}) {
        int length = 0;
        while (isWhite(image.pixel(at(radius - 2 - length, direction))))
            ++length;
        lengths += QByteArray::number(length / 5) + ' ';
    }
    QCOMPARE(lengths, "8 4 2 0 ");

    for (const double ratio : {0.1, 0.3, 0.5}) { // 400 × 0.03 × 0.1 = 1.2
        const QImage ringed = rose(2, 30, false, ratio);
        int width = 0;
        while (width < 20 && isWhite(ringed.pixel(width, size / 2)))
            ++width;
        QVERIFY2(qAbs(width - qMax(2, int(12 * ratio))) <= 1, qPrintable(QString::number(width)));
    }
}

void CompassRoseTest::showsTheHeadingAsText()
{
    // neither brought below 360 nor padded, and it does not turn with the dial
    for (const bool dialTurns : {false, true}) {
        for (const double heading : {364.6, 365.4})
            QCOMPARE(amiss(rose(3, heading, dialTurns), "365° N", 44, true, {200, 202}), QByteArray());
        const QRect text(110, 170, 180, 60);
        QCOMPARE(rose(3, 364.6, dialTurns).copy(text), rose(3, 365.4, dialTurns).copy(text));
        QCOMPARE(amiss(rose(3, 90, dialTurns), "90° E", 44, true, {200, 202}), QByteArray());
    }
}

void CompassRoseTest::takesAnything()
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    QVERIFY(drawCompassRose(0, 0, 0.2, fontPath, false, 2, Qt::red).isNull());
    QVERIFY(!drawCompassRose(1, 0, 0.2, fontPath, false, 1, Qt::red).isNull());
    for (int style = -1; style < 5; ++style) {
        for (const double orientation : {infinity, -1e300, std::numeric_limits<double>::quiet_NaN()})
            QCOMPARE(qAlpha(rose(style, orientation, true).pixel(200, 100)) > 0, style >= 0 && style < 4);
    }
}

QTEST_MAIN(CompassRoseTest)
#include "compassrose.moc"
