// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/uprightimage.h"

#include <QColorSpace>
#include <QPainter>
#include <QTest>

namespace
{

constexpr QRgb a = 0xff0000ff;
constexpr QRgb b = 0xff00ff00;
constexpr QRgb c = 0xffff0000;
constexpr QRgb d = 0xff00ffff;
constexpr QRgb e = 0xffff00ff;
constexpr QRgb f = 0xffffff00;

QImage image(int width, const QList<QRgb> &pixels)
{
    QImage result(width, static_cast<int>(pixels.size()) / width, QImage::Format_RGB32);
    for (int i = 0; i < pixels.size(); ++i)
        result.setPixel(i % width, i / width, pixels[i]);
    return result;
}

} // namespace

/// The eight ways in which a camera stores an image.
class UprightImageTest : public QObject
{
    Q_OBJECT

private slots:
    void turns_data();
    void turns();
    void keepsWhatDescribesTheImage();
};

void UprightImageTest::turns_data()
{
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QImage>("stored");

    // What is shown is always   a b c
    //                           d e f
    // The stored row 0 and column 0 are the sides that the TIFF specification names for each value.
    QTest::newRow("1: top, left") << 1 << image(3, {a, b, c, d, e, f});
    QTest::newRow("2: top, right") << 2 << image(3, {c, b, a, f, e, d});
    QTest::newRow("3: bottom, right") << 3 << image(3, {f, e, d, c, b, a});
    QTest::newRow("4: bottom, left") << 4 << image(3, {d, e, f, a, b, c});
    QTest::newRow("5: left, top") << 5 << image(2, {a, d, b, e, c, f});
    QTest::newRow("6: right, top") << 6 << image(2, {c, f, b, e, a, d});
    QTest::newRow("7: right, bottom") << 7 << image(2, {f, c, e, b, d, a});
    QTest::newRow("8: left, bottom") << 8 << image(2, {d, a, e, b, f, c});
    QTest::newRow("none") << 0 << image(3, {a, b, c, d, e, f});
    QTest::newRow("nonsense") << 9 << image(3, {a, b, c, d, e, f});
}

void UprightImageTest::turns()
{
    QFETCH(int, orientation);
    QFETCH(QImage, stored);
    const QImage shown = image(3, {a, b, c, d, e, f});
    QCOMPARE(displayedSize(stored.size(), orientation), shown.size());
    QCOMPARE(turnedUpright(stored, orientation), shown);

    // A painter that paints what is to be shown paints what is to be stored.
    QImage painted(stored.size(), QImage::Format_RGB32);
    painted.fill(Qt::black);
    QPainter painter(&painted);
    painter.setTransform(displayedToStored(stored.size(), orientation));
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x)
            painter.fillRect(x, y, 1, 1, shown.pixelColor(x, y));
    }
    painter.end();
    QCOMPARE(painted, stored);
}

void UprightImageTest::keepsWhatDescribesTheImage()
{
    QImage stored(30, 20, QImage::Format_RGBA64);
    stored.fill(QColor::fromRgba64(1000, 2000, 3000, 40000));
    stored.setDotsPerMeterX(1000);
    stored.setDotsPerMeterY(2000);
    stored.setColorSpace(QColorSpace::AdobeRgb);
    const QImage upright = turnedUpright(stored, 6);
    QCOMPARE(upright.format(), stored.format());
    QCOMPARE(upright.pixelColor(5, 25), stored.pixelColor(0, 0));
    QCOMPARE(upright.dotsPerMeterX(), 2000);
    QCOMPARE(upright.dotsPerMeterY(), 1000);
    QCOMPARE(upright.colorSpace(), stored.colorSpace());
}

QTEST_GUILESS_MAIN(UprightImageTest)
#include "uprightimage.moc"
