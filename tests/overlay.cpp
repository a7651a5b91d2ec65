// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overlay.h"

#include "photofiles.h"
#include "render/compassrose.h"
#include "render/fontregistry.h"
#include "support/paintings.h"

#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;

/// Where logo, texts and compass end up on a photo and what the texts say: each stamp is compared with one
/// painted here.
class OverlayTest : public QObject
{
    Q_OBJECT

    static constexpr QSize picture{600, 450};
    static inline const QString date = u"05/03/2024 14:07:09"_s;
    static inline const QString utm = u"UTM 19H 345678 6298766"_s;
    static inline const QString altitude = u"Altitud: -13 msnm"_s;

    static QImage logo(double devicePixelRatio)
    {
        QImage image = drawCompassRose(100, 0, 0.2, {}, false, 0, Qt::green).copy(0, 0, 100, 50);
        image.setDevicePixelRatio(devicePixelRatio); // that of a file named "@2x"
        return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }

    const Logo m_logo{logo(2)};
    const OverlayResources m_resources{&m_logo, *registeredFontFamily(QStringLiteral(VELMARO_TEST_FONT))};
    ProcessOptions m_options;
    OverlayData m_data;

    static QRect inCorner(Qt::Corner corner, QSize canvas, QSize item, QPoint margin)
    {
        const QPoint far =
            QPoint(canvas.width(), canvas.height()) - QPoint(item.width(), item.height()) - margin;
        return {QPoint(corner & 1 ? far.x() : margin.x(), corner & 2 ? far.y() : margin.y()), item};
    }

    static void paintBlock(QPainter &painter, Qt::Corner corner, QSize canvas, const QStringList &lines,
                           bool boxed)
    {
        const QFontMetrics font = painter.fontMetrics();
        QSize size(0, 0);
        for (const QString &line : lines)
            size = QSize(qMax(size.width(), font.horizontalAdvance(line)), size.height() + font.height() + 5);
        const QRect box = inCorner(corner, canvas, size + QSize(20, 5), {15, 20});
        if (boxed) {
            painter.setPen(QPen(Qt::white, 2));
            painter.setBrush(QColor(211, 211, 211, 128));
            painter.drawRoundedRect(box, 6, 6);
        }
        painter.setPen(Qt::red);
        int baseline = box.top() + 5 + font.ascent();
        for (const QString &line : lines) {
            const int fromRight = box.right() - 9 - font.horizontalAdvance(line);
            painter.drawText(corner & 1 ? fromRight : box.left() + 10, baseline, line);
            baseline += font.height() + 5;
        }
    }

    QList<QRect> areas() const { return Overlay(picture, m_data, m_options, m_resources, {}).areas(); }

    QImage stamped(QSize stored = picture) const
    {
        QImage image = plainImage(stored, Qt::blue);
        image.setDotsPerMeterY(11811); // does not make letters larger
        drawOverlay(image, m_data, m_options, m_resources, {});
        return image;
    }

    // With the compass comes the logo, a fifth of the picture wide and half as high.
    QImage expected(const QList<QStringList> &blocks, int pointSize = 18,
                    Qt::Corner corner = Qt::BottomRightCorner, QSize canvas = picture) const
    {
        QImage image = plainImage(canvas, Qt::blue);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        const QSize logoSize(canvas.width() / 5, canvas.width() / 5 / 2);
        if (m_options.addCompass)
            painter.drawImage(inCorner(corner, canvas, logoSize, {10, 10}),
                              logo(1).scaled(logoSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        painter.setFont(stampFont(pointSize));
        for (const QStringList &lines : blocks)
            paintBlock(painter, corner, canvas, lines, m_options.bgText);
        const int size = qMin(canvas.width(), canvas.height()) / 5;
        if (m_options.addCompass)
            painter.drawImage(inCorner(corner, canvas, {size, size}, {10, 10}),
                              drawCompassRose(size, 270.5, 0.2, QString(), false, 0, Qt::red));
        return image;
    }

private slots:
    void init()
    {
        const GeoPosition geo{-33.45, -70.6666666667};
        m_data = {QDateTime({2024, 3, 5}, {14, 7, 9}), {19, 'H', 345678.4, 6298765.6}, geo, 270.5, -12.5};
        m_options = ProcessOptions();
        m_options.drawData = m_options.drawTime = m_options.bgText = true;
        m_options.fontSizeRatio = 0.04;
        m_options.fontColor = m_options.compassArrowColor = Qt::red;
        m_options.compassRatio = 0.2;
        m_options.dtPosition = m_options.coordsPosition = m_options.orientationPosition =
            m_options.altitudePosition = u"muy abajo, a la derecha"_s;
    }

    void placesEverythingInEveryCorner()
    {
        m_options.addCompass = m_options.drawAltitude = true;
        m_options.logoRatio = 0.2;
        // how a viewer turns the pixels, by EXIF orientation; 0 is none
        const QTransform turns[] = {{1, 0, 0, 1, 0, 0},   {1, 0, 0, 1, 0, 0},   {-1, 0, 0, 1, 0, 0},
                                    {-1, 0, 0, -1, 0, 0}, {1, 0, 0, -1, 0, 0},  {0, 1, 1, 0, 0, 0},
                                    {0, 1, -1, 0, 0, 0},  {0, -1, -1, 0, 0, 0}, {0, -1, 1, 0, 0, 0}};
        for (const CornerPosition &position : Corner::All) {
            const auto corner = Qt::Corner(Corner::All.indexOf(position));
            m_options.dtPosition = m_options.coordsPosition = m_options.altitudePosition =
                m_options.logoPosition = m_options.compassPosition = position;
            for (const QSize canvas : {picture, QSize(450, 610), QSize(60, 40)}) {
                const QImage wanted =
                    expected({{date, utm, altitude}}, qMax(10, canvas.height() / 25), corner, canvas);
                const int much = differences(wanted, wanted.copy(QRect(QPoint(1, 0), canvas)));
                m_data.exifOrientation = 0;
                for (const QTransform &turn : turns) {
                    const QImage image = stamped(turn.m11() == 0 ? canvas.transposed() : canvas);
                    const QImage upright = image.transformed(turn);
                    // The edges of letters are smoothed a little differently on a turned picture.
                    QVERIFY(turn.isIdentity() ? upright == wanted : 2 * differences(upright, wanted) < much);
                    ++m_data.exifOrientation;
                }
            }
        }
    }

    void writesTheLinesAskedFor()
    {
        const QString heading = u"271° W"_s;
        const QString day = u"05/03/2024"_s;
        QCOMPARE(stamped(), expected({{date, utm}}));
        m_options.drawAltitude = true;
        QCOMPARE(stamped(), expected({{date, utm, altitude}}));
        m_options.drawOrientation = true;
        QCOMPARE(stamped(), expected({{date, utm, heading, altitude}}));
        m_options.drawGeo = true;
        QCOMPARE(stamped(), expected({{date, u"33° 27' 0\" S 70° 40' 0\" W"_s, heading, altitude}}));
        m_data.geo.reset();
        // Another wording is another block, painted earlier or later by its text.
        m_options.altitudePosition = u"1 abajo derecha"_s;
        m_options.orientationPosition = u"2 abajo derecha"_s;
        m_options.coordsPosition = u"3 abajo derecha"_s;
        QCOMPARE(stamped(), expected({{altitude}, {heading}, {utm}, {date}}));
        m_data.orientation.reset();
        QCOMPARE(stamped(), expected({{altitude}, {utm}, {date}}));
        m_data.altitude.reset();
        m_options.drawTime = m_options.bgText = false;
        QCOMPARE(stamped(), expected({{utm}, {day}}));
        // The largest is beyond what the painter keeps letters ready for.
        for (const auto &[wanted, pointSize] :
             {std::pair(27.9, 27), {10.9, 10}, {11.2, 11}, {1.0, 10}, {60.0, 60}}) {
            m_options.fontSizeRatio = wanted / 450;
            QCOMPARE(stamped(), expected({{utm}, {day}}, pointSize));
        }
    }

    void leavesWhatIsNotKnown()
    {
        m_options.drawData = false;
        m_options.addCompass = true;
        m_data.orientation.reset();
        QCOMPARE(areas(), QList<QRect>());
        m_data.orientation = 42.0;
        m_options.logoRatio = 0.2;
        m_options.logoPosition = u"Abajo-Izquierda"_s; // no corner, as none at all
        QCOMPARE(areas(), QList<QRect>({{10, 10, 120, 60}, {500, 350, 90, 90}}));
        m_options.compassPosition = Corner::TopRight;
        QCOMPARE(areas(), QList<QRect>({{10, 10, 120, 60}, {500, 10, 90, 90}}));
        m_options.logoRatio = -1;
        m_options.compassRatio = 1e9;
        QCOMPARE(areas(), QList<QRect>());
        QCOMPARE(m_resources.fontFamily, u"Noto Sans"_s);
        QVERIFY(!registeredFontFamily(u"missing.ttf"_s));
    }
};

QTEST_MAIN(OverlayTest)
#include "overlay.moc"
