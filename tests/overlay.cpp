// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overlay.h"

#include "render/fontregistry.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTest>

#include <memory>

namespace
{

constexpr QSize canvas(1200, 900);
const QColor ground(0, 0, 255);
const QColor textColor(255, 0, 0);

// The smallest rectangle around everything of a kind.
template <typename Kind>
QRect bounds(const QImage &image, const Kind &kind)
{
    QRect found;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (kind(image.pixelColor(x, y)))
                found |= QRect(x, y, 1, 1);
        }
    }
    return found;
}

QRect painted(const QImage &image)
{
    return bounds(image, [](const QColor &color) { return color != ground; });
}

QRect textBounds(const QImage &image)
{
    return bounds(image, [](const QColor &color) {
        return color.red() > 180 && color.green() < 60 && color.blue() < 80;
    });
}

bool near(const QRect &actual, const QRect &expected, int tolerance)
{
    const QMargins off(actual.left() - expected.left(), actual.top() - expected.top(),
                       actual.right() - expected.right(), actual.bottom() - expected.bottom());
    const bool close = qAbs(off.left()) <= tolerance && qAbs(off.top()) <= tolerance &&
                       qAbs(off.right()) <= tolerance && qAbs(off.bottom()) <= tolerance;
    if (!close)
        qWarning() << "actual" << actual << "expected" << expected;
    return close;
}

} // namespace

/// Where logo, texts and compass end up on a photo, and what the texts say.
class OverlayTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void placesTextBlocks_data();
    void placesTextBlocks();
    void alignsEveryLine();
    void writesTheLinesAskedFor_data();
    void writesTheLinesAskedFor();
    void choosesThePointSize_data();
    void choosesThePointSize();
    void placesLogoAndCompass_data();
    void placesLogoAndCompass();
    void keepsTheDensity();

private:
    QImage draw(QSize size = canvas);
    QFontMetrics metrics(int pointSize) const;

    QString m_family;
    ProcessOptions m_options;
    OverlayData m_data;
    std::unique_ptr<Logo> m_logo;
    QStringList m_log;
};

void OverlayTest::initTestCase()
{
    m_family = registeredFontFamily(QStringLiteral(VELMARO_TEST_FONT)).value();
    QCOMPARE(m_family, QStringLiteral("Noto Sans"));
    QVERIFY(!registeredFontFamily(QStringLiteral("missing.ttf")).has_value());
}

void OverlayTest::init()
{
    m_logo.reset();
    m_log.clear();
    m_data = OverlayData();
    m_data.dateTime = QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9));
    m_data.utm = {19, 'H', 345678.4, 6298765.6};
    m_options = ProcessOptions();
    m_options.drawData = true;
    m_options.drawTime = true;
    m_options.fontSizeRatio = 0.03; // 27 points
    m_options.fontColor = textColor;
    m_options.dtPosition = Corner::BottomRight;
    m_options.coordsPosition = Corner::BottomRight;
    m_options.orientationPosition = Corner::BottomRight;
    m_options.altitudePosition = Corner::BottomRight;
}

QImage OverlayTest::draw(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(ground);
    drawOverlay(image, m_data, m_options, {m_logo.get(), m_family},
                [this](const QString &line) { m_log.append(line); });
    return image;
}

QFontMetrics OverlayTest::metrics(int pointSize) const
{
    QImage device(1, 1, QImage::Format_RGB32);
    device.setDotsPerMeterX(3780); // 96 dpi
    device.setDotsPerMeterY(3780);
    QFont font = overlayFont(m_family);
    font.setPointSize(pointSize);
    return QFontMetrics(font, &device);
}

void OverlayTest::placesTextBlocks_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<bool>("right");
    QTest::addColumn<bool>("bottom");
    QTest::newRow("top left") << Corner::TopLeft << false << false;
    QTest::newRow("top right") << Corner::TopRight << true << false;
    QTest::newRow("bottom left") << Corner::BottomLeft << false << true;
    QTest::newRow("bottom right") << Corner::BottomRight << true << true;
    QTest::newRow("by its words") << QStringLiteral("muy abajo, a la derecha") << true << true;
    QTest::newRow("no corner") << QStringLiteral("Abajo-Derecha") << false << false;
}

void OverlayTest::placesTextBlocks()
{
    QFETCH(QString, position);
    QFETCH(bool, right);
    QFETCH(bool, bottom);
    m_options.dtPosition = position;
    m_options.coordsPosition = position;
    m_options.bgText = true;

    const QFontMetrics font = metrics(27);
    const int widest = font.horizontalAdvance(QStringLiteral("UTM 19H 345678 6298766"));
    const int blockHeight = 2 * (font.height() + 5);
    const QRect box(right ? canvas.width() - 35 - widest : 15,
                    bottom ? canvas.height() - blockHeight - 25 : 20, widest + 20, blockHeight + 5);
    const QImage image = draw();
    // The outline is two pixels wide, half of it outside.
    QVERIFY(near(painted(image), box.adjusted(-1, -1, 1, 1), 1));
    QCOMPARE(image.pixelColor(box.center().x(), box.top() + 3),
             QColor(106, 106, 233));                                      // half of grey on blue
    QVERIFY(image.pixelColor(box.center().x(), box.top()).green() > 200); // white

    const int top = bottom ? canvas.height() - blockHeight - 20 : 25;
    const QRect text(right ? canvas.width() - 25 - widest : 25, top, widest, blockHeight);
    QVERIFY(text.contains(textBounds(image)));
    QVERIFY(near(textBounds(image), text, font.height() / 2));
}

void OverlayTest::alignsEveryLine()
{
    m_options.drawTime = false;
    m_options.coordsPosition = Corner::TopRight;
    m_options.dtPosition = Corner::TopRight;
    const QFontMetrics font = metrics(27);
    const QImage image = draw();
    const int step = font.height() + 5;
    for (int line = 0; line < 2; ++line) {
        const QString text =
            line == 0 ? QStringLiteral("05/03/2024") : QStringLiteral("UTM 19H 345678 6298766");
        const QRect ink = textBounds(image.copy(0, 25 + line * step, canvas.width(), font.ascent() + 2));
        const int left = canvas.width() - 25 - font.horizontalAdvance(text);
        QVERIFY2(qAbs(ink.left() - left) < 6 && qAbs(ink.right() - (canvas.width() - 25)) < 6,
                 qPrintable(text));
        // Digits stand on the baseline.
        QVERIFY2(qAbs(ink.bottom() - font.ascent()) <= 2, qPrintable(QString::number(ink.bottom())));
    }
}

void OverlayTest::writesTheLinesAskedFor_data()
{
    QTest::addColumn<bool>("orientation");
    QTest::addColumn<bool>("altitude");
    QTest::addColumn<bool>("known");
    QTest::addColumn<bool>("geo");
    QTest::addColumn<QStringList>("lines");

    const QString date = QStringLiteral("05/03/2024 14:07:09");
    const QString utm = QStringLiteral("UTM 19H 345678 6298766");
    const QString dms = QStringLiteral("33° 27' 0\" S 70° 40' 0\" W");
    const QString heading = QStringLiteral("271° W");
    const QString altitude = QStringLiteral("Altitud: -13 msnm");
    QTest::newRow("everything") << true << true << true << false << QStringList{date, utm, heading, altitude};
    QTest::newRow("not drawn") << false << false << true << false << QStringList{date, utm};
    QTest::newRow("altitude alone") << false << true << true << false << QStringList{date, utm, altitude};
    QTest::newRow("not known") << true << true << false << false << QStringList{date, utm};
    QTest::newRow("degrees") << true << false << true << true << QStringList{date, dms, heading};
    QTest::newRow("degrees not known") << false << false << false << true << QStringList{date, utm};
}

// A stamp is compared with one whose lines are painted here.
void OverlayTest::writesTheLinesAskedFor()
{
    QFETCH(bool, geo);
    QFETCH(bool, known);
    QFETCH(QStringList, lines);
    QFETCH(bool, orientation);
    QFETCH(bool, altitude);
    m_options.drawOrientation = orientation;
    m_options.drawAltitude = altitude;
    m_options.drawGeo = geo;
    if (known) {
        m_data.orientation = 270.5;
        m_data.altitude = -12.5;
        m_data.geo = GeoPosition{-33.45, -70.6666666667};
    }
    const QImage image = draw();

    QImage expected(canvas, QImage::Format_RGB32);
    expected.fill(ground);
    expected.setDotsPerMeterX(3780);
    expected.setDotsPerMeterY(3780);
    QPainter painter(&expected);
    painter.setRenderHint(QPainter::Antialiasing);
    QFont font = overlayFont(m_family);
    font.setPointSize(27);
    painter.setFont(font);
    painter.setPen(textColor);
    const QFontMetrics measured = metrics(27);
    const int step = measured.height() + 5;
    int baseline = canvas.height() - static_cast<int>(lines.size()) * step - 20 + measured.ascent();
    for (const QString &line : lines) {
        painter.drawText(canvas.width() - 25 - measured.horizontalAdvance(line), baseline, line);
        baseline += step;
    }
    painter.end();
    expected.setDotsPerMeterX(image.dotsPerMeterX());
    expected.setDotsPerMeterY(image.dotsPerMeterY());
    QCOMPARE(image, expected);
}

void OverlayTest::choosesThePointSize_data()
{
    QTest::addColumn<double>("ratio");
    QTest::addColumn<int>("pointSize");
    QTest::newRow("truncated") << 27.9 / 900 << 27;
    QTest::newRow("10.9") << 10.9 / 900 << 10;
    QTest::newRow("11.2") << 11.2 / 900 << 11;
    QTest::newRow("too small") << 0.001 << 10;
}

void OverlayTest::choosesThePointSize()
{
    QFETCH(double, ratio);
    QFETCH(int, pointSize);
    m_options.fontSizeRatio = ratio;
    m_options.coordsPosition = Corner::TopLeft;
    m_options.bgText = true;
    const QRect date = painted(draw().copy(0, canvas.height() / 2, canvas.width(), canvas.height() / 2));
    QCOMPARE(date.height() - 2, metrics(pointSize).height() + 5 + 5);
}

void OverlayTest::placesLogoAndCompass_data()
{
    QTest::addColumn<QString>("position");
    QTest::addColumn<QPoint>("logo");
    QTest::addColumn<QPoint>("compass");
    // The logo is 240 × 120, the compass 180 × 180.
    QTest::newRow("top left") << Corner::TopLeft << QPoint(10, 10) << QPoint(10, 10);
    QTest::newRow("top right") << Corner::TopRight << QPoint(950, 10) << QPoint(1010, 10);
    QTest::newRow("bottom left") << Corner::BottomLeft << QPoint(10, 770) << QPoint(10, 710);
    QTest::newRow("bottom right") << Corner::BottomRight << QPoint(950, 770) << QPoint(1010, 710);
    QTest::newRow("no corner") << QStringLiteral("Arriba-Derecha") << QPoint(10, 10) << QPoint(1010, 710);
}

void OverlayTest::placesLogoAndCompass()
{
    QFETCH(QString, position);
    m_options.drawData = false;
    QImage green(100, 50, QImage::Format_RGB32);
    green.fill(Qt::green);
    m_logo = std::make_unique<Logo>(green);
    m_options.logoRatio = 0.2;
    m_options.logoPosition = position;
    QFETCH(QPoint, logo);
    QFETCH(QPoint, compass);
    QCOMPARE(painted(draw()), QRect(logo, QSize(240, 120)));
    QCOMPARE(m_log, QStringList());

    m_logo.reset();
    m_options.addCompass = true;
    m_options.compassRatio = 0.2;
    m_options.compassPosition = position;
    m_options.compassArrowColor = textColor;
    QCOMPARE(painted(draw()), QRect()); // no heading
    m_data.orientation = 1234567.0;
    QVERIFY(near(painted(draw()), QRect(compass, QSize(180, 180)), 1));
    QCOMPARE(m_log, QStringList(QStringLiteral("Dibujando rosa con orientación 1.23457e+06")));

    // Half outside, but never a fault.
    m_options.compassRatio = 2.0;
    QVERIFY(!painted(draw({40, 30})).isEmpty());
}

// The density a file claims changes nothing but itself.
void OverlayTest::keepsTheDensity()
{
    m_options.bgText = true;
    const QImage plain = draw();
    QImage dense(canvas, QImage::Format_RGB32);
    dense.fill(ground);
    dense.setDotsPerMeterX(11811); // 300 dpi
    dense.setDotsPerMeterY(5906);
    drawOverlay(dense, m_data, m_options, {nullptr, m_family}, [](const QString &) {});
    QCOMPARE(dense.dotsPerMeterX(), 11811);
    QCOMPARE(dense.dotsPerMeterY(), 5906);
    dense.setDotsPerMeterX(plain.dotsPerMeterX());
    dense.setDotsPerMeterY(plain.dotsPerMeterY());
    QCOMPARE(dense, plain);
}

QTEST_MAIN(OverlayTest)
#include "overlay.moc"
