// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overlay.h"

#include "render/compassrose.h"
#include "render/fontregistry.h"
#include "render/uprightimage.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTest>

namespace
{

constexpr int dotsPerMeter96Dpi = 3780;
const QColor ground(0, 0, 255);
const QColor textColor(255, 0, 0);
const QString date = QStringLiteral("05/03/2024 14:07:09");
const QString utm = QStringLiteral("UTM 19H 345678 6298766");

QImage plain(QSize size)
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(ground);
    image.setDotsPerMeterX(dotsPerMeter96Dpi);
    image.setDotsPerMeterY(dotsPerMeter96Dpi);
    return image;
}

struct Sides {
    bool right, bottom;
};

struct Block {
    Sides corner;
    QStringList lines;
};

// What a stamp should look like.
struct Expected {
    int pointSize;
    bool box = false;
    QList<Block> blocks = {};
    std::optional<Sides> logo = {};    ///< green, a fifth of the width and half as high
    std::optional<Sides> compass = {}; ///< a fifth of the shorter side
};

QPoint place(Sides corner, QSize canvas, QSize item)
{
    return {corner.right ? canvas.width() - item.width() - 10 : 10,
            corner.bottom ? canvas.height() - item.height() - 10 : 10};
}

void paintBlock(QPainter &painter, QSize canvas, const Block &block, bool box)
{
    const QFontMetrics metrics = painter.fontMetrics();
    const int step = metrics.height() + 5;
    const int height = static_cast<int>(block.lines.size()) * step;
    int widest = 0;
    for (const QString &line : block.lines)
        widest = qMax(widest, metrics.horizontalAdvance(line));
    if (box) {
        painter.save();
        painter.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        painter.setBrush(QColor(211, 211, 211, 128));
        painter.drawRoundedRect(block.corner.right ? canvas.width() - 35 - widest : 15,
                                block.corner.bottom ? canvas.height() - height - 25 : 20, widest + 20,
                                height + 5, 6, 6);
        painter.restore();
    }
    int baseline = (block.corner.bottom ? canvas.height() - height - 20 : 25) + metrics.ascent();
    for (const QString &line : block.lines) {
        painter.drawText(block.corner.right ? canvas.width() - 25 - metrics.horizontalAdvance(line) : 25,
                         baseline, line);
        baseline += step;
    }
}

// The mean difference of two images, in steps of colour.
double difference(const QImage &one, const QImage &other)
{
    double sum = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < 4 * one.width(); ++x)
            sum += qAbs(one.constScanLine(y)[x] - other.constScanLine(y)[x]);
    }
    return sum / (4.0 * one.width() * one.height());
}

} // namespace

/// Where logo, texts and compass end up on a photo and what the texts say: each stamp is compared with one
/// painted here.
class OverlayTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void placesEverythingInEveryCorner();
    void writesTheLinesAskedFor();
    void choosesThePointSize();
    void leavesWhatIsNotKnown();
    void keepsTheDensity();

private:
    Overlay overlay(QSize stored);
    QImage stamped(QSize stored);
    QImage expectation(QSize canvas, const Expected &expected) const;
    void checkPieces(const QImage &image);

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
    QImage green(100, 50, QImage::Format_RGB32);
    green.fill(Qt::green);
    m_logo = std::make_unique<Logo>(green);
}

void OverlayTest::init()
{
    m_log.clear();
    m_data = OverlayData();
    m_data.dateTime = QDateTime(QDate(2024, 3, 5), QTime(14, 7, 9));
    m_data.utm = {19, 'H', 345678.4, 6298765.6};
    m_data.geo = GeoPosition{-33.45, -70.6666666667};
    m_data.orientation = 270.5;
    m_data.altitude = -12.5;
    m_options = ProcessOptions();
    m_options.drawData = m_options.drawTime = true;
    m_options.fontSizeRatio = 0.04;
    m_options.fontColor = textColor;
    m_options.compassRatio = 0.2;
    m_options.compassArrowColor = textColor;
    m_options.dtPosition = m_options.coordsPosition = m_options.orientationPosition =
        m_options.altitudePosition = Corner::BottomRight;
}

Overlay OverlayTest::overlay(QSize stored)
{
    return Overlay(stored, m_data, m_options, {m_logo.get(), m_family},
                   [this](const QString &line) { m_log.append(line); });
}

QImage OverlayTest::stamped(QSize stored)
{
    QImage image = plain(stored);
    overlay(stored).paint(image);
    return image;
}

QImage OverlayTest::expectation(QSize canvas, const Expected &expected) const
{
    QImage image = plain(canvas);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    if (expected.logo) {
        const QSize size(canvas.width() / 5, canvas.width() / 5 / 2);
        painter.fillRect(QRect(place(*expected.logo, canvas, size), size), Qt::green);
    }
    QFont font = overlayFont(m_family);
    font.setPointSize(expected.pointSize);
    painter.setFont(font);
    painter.setPen(textColor);
    for (const Block &block : expected.blocks)
        paintBlock(painter, canvas, block, expected.box);
    if (expected.compass) {
        const QImage rose = drawCompassRose(qMin(canvas.width(), canvas.height()) / 5, *m_data.orientation,
                                            0.2, QString(), false, 0, textColor);
        painter.drawImage(place(*expected.compass, canvas, rose.size()), rose);
    }
    return image;
}

// Nothing is painted outside the areas, and pieces come out as the whole.
void OverlayTest::checkPieces(const QImage &image)
{
    const Overlay stamp = overlay(image.size());
    QImage rest = image.copy();
    for (const QRect &area : stamp.areas()) {
        QVERIFY(image.rect().contains(area));
        QPainter(&rest).fillRect(area, ground);
    }
    QCOMPARE(rest, plain(image.size()));

    QImage joined = plain(image.size());
    constexpr QSize pieceSize(143, 97);
    for (int y = 0; y < image.height(); y += pieceSize.height()) {
        for (int x = 0; x < image.width(); x += pieceSize.width()) {
            QImage piece = plain(pieceSize);
            stamp.paint(piece, QPoint(x, y));
            QPainter(&joined).drawImage(x, y, piece);
        }
    }
    QCOMPARE(joined, image);
}

void OverlayTest::placesEverythingInEveryCorner()
{
    m_options.bgText = m_options.addCompass = m_options.drawAltitude = true;
    m_options.logoRatio = 0.2;
    struct {
        CornerPosition position;
        Sides text, logo, compass;
    } const cases[] = {
        {Corner::TopLeft, {false, false}, {false, false}, {false, false}},
        {Corner::TopRight, {true, false}, {true, false}, {true, false}},
        {Corner::BottomLeft, {false, true}, {false, true}, {false, true}},
        {Corner::BottomRight, {true, true}, {true, true}, {true, true}},
        {QStringLiteral("muy abajo, a la derecha"), {true, true}, {false, false}, {true, true}},
        {QStringLiteral("Abajo-Derecha"), {false, false}, {false, false}, {true, true}},
    };
    for (const auto &row : cases) {
        m_options.dtPosition = m_options.coordsPosition = m_options.altitudePosition =
            m_options.logoPosition = m_options.compassPosition = row.position;
        for (const QSize canvas : {QSize(600, 450), QSize(450, 610), QSize(60, 40)}) {
            const QImage expected =
                expectation(canvas, {qMax(10, canvas.height() / 25),
                                     true,
                                     {{row.text, {date, utm, QStringLiteral("Altitud: -13 msnm")}}},
                                     row.logo,
                                     row.compass});
            const QImage moved = expected.copy(QRect(QPoint(1, 0), canvas));
            for (int orientation = 1; orientation <= 8; ++orientation) {
                m_data.exifOrientation = orientation;
                const QImage image = stamped(displayedSize(canvas, orientation));
                if (orientation == 1)
                    QCOMPARE(image, expected);
                // The edges of letters are smoothed a little differently on a turned picture.
                const QImage upright = turnedUpright(image, orientation);
                QCOMPARE(upright.size(), canvas);
                QVERIFY2(2 * difference(upright, expected) <= difference(moved, expected),
                         qPrintable(QStringLiteral("%1, %2").arg(row.position).arg(orientation)));
                checkPieces(image);
                if (QTest::currentTestFailed())
                    return;
            }
        }
    }
    QCOMPARE(m_log.constFirst(), QStringLiteral("Dibujando rosa con orientación 270.5"));
}

void OverlayTest::writesTheLinesAskedFor()
{
    constexpr Sides corner{true, true};
    const QString heading = QStringLiteral("271° W");
    const QString altitude = QStringLiteral("Altitud: -13 msnm");
    const QString dms = QStringLiteral("33° 27' 0\" S 70° 40' 0\" W");
    const auto nothing = [] {
    };
    struct {
        std::function<void()> change;
        QList<Block> blocks;
    } const cases[] = {
        {nothing, {{corner, {date, utm}}}},
        {[this] { m_options.drawAltitude = true; }, {{corner, {date, utm, altitude}}}},
        {[this] { m_options.drawOrientation = true; }, {{corner, {date, utm, heading, altitude}}}},
        {[this] { m_options.drawGeo = true; }, {{corner, {date, dms, heading, altitude}}}},
        {[this] { m_data.geo.reset(); }, {{corner, {date, utm, heading, altitude}}}},
        {[this] { m_data.orientation.reset(); }, {{corner, {date, utm, altitude}}}},
        {[this] { m_data.altitude.reset(); }, {{corner, {date, utm}}}},
        {[this] { m_options.drawTime = false; }, {{corner, {QStringLiteral("05/03/2024"), utm}}}},
        // Another wording is another block, painted later or earlier by its text.
        {[this] { m_options.coordsPosition = QStringLiteral("Xabajo derecha"); },
         {{corner, {utm}}, {corner, {QStringLiteral("05/03/2024")}}}},
        {[this] { m_options.drawData = false; }, {}},
    };
    m_options.bgText = true;
    for (const auto &row : cases) {
        row.change();
        QCOMPARE(stamped({600, 450}), expectation({600, 450}, {18, true, row.blocks}));
    }
}

void OverlayTest::choosesThePointSize()
{
    for (const auto &[wanted, pointSize] : {std::pair(27.9, 27), {10.9, 10}, {11.2, 11}, {1.0, 10}}) {
        m_options.fontSizeRatio = wanted / 450;
        QCOMPARE(stamped({600, 450}),
                 expectation({600, 450}, {pointSize, false, {{{true, true}, {date, utm}}}}));
    }
}

void OverlayTest::leavesWhatIsNotKnown()
{
    m_options.drawData = false;
    m_options.addCompass = true;
    m_data.orientation.reset();
    QCOMPARE(overlay({600, 450}).areas(), QList<QRect>());
    QCOMPARE(m_log, QStringList());
    m_data.orientation = 1234567.0;
    QCOMPARE(overlay({600, 450}).areas(), QList<QRect>({{500, 350, 90, 90}}));
    QCOMPARE(m_log, QStringList(QStringLiteral("Dibujando rosa con orientación 1.23457e+06")));
    m_options.logoRatio = -1;
    m_options.compassRatio = 1e9;
    QCOMPARE(overlay({600, 450}).areas(), QList<QRect>());
}

// The density and the scale that a file claims change nothing but themselves.
void OverlayTest::keepsTheDensity()
{
    m_options.bgText = true;
    QImage dense = plain({600, 450});
    dense.setDotsPerMeterX(11811); // 300 dpi
    dense.setDotsPerMeterY(5906);
    dense.setDevicePixelRatio(2);
    overlay(dense.size()).paint(dense);
    QCOMPARE(dense.dotsPerMeterX(), 11811);
    QCOMPARE(dense.dotsPerMeterY(), 5906);
    QCOMPARE(dense.devicePixelRatio(), 2.0);
    dense.setDotsPerMeterX(dotsPerMeter96Dpi);
    dense.setDotsPerMeterY(dotsPerMeter96Dpi);
    dense.setDevicePixelRatio(1);
    QCOMPARE(dense, stamped(dense.size()));
}

QTEST_MAIN(OverlayTest)
#include "overlay.moc"
