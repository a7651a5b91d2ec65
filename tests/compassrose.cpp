// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/compassrose.h"

#include "support/paintings.h"

#include <QFontDatabase>
#include <QPainter>
#include <QTest>
#include <QtMath>

/// The compass rose: each is compared with one painted here.
class CompassRoseTest : public QObject
{
    Q_OBJECT

    static inline const QString fontPath = QStringLiteral(VELMARO_TEST_FONT);

    // From the centre of the rose, in degrees clockwise from the top.
    static QPointF at(double distance, double direction)
    {
        return {distance * qSin(qDegreesToRadians(direction)),
                -distance * qCos(qDegreesToRadians(direction))};
    }

    // All is painted around the centre of the rose.

    static void paintDial(QPainter &painter, int style, int ring)
    {
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(211, 211, 211, 128));
        painter.drawEllipse({0, 0}, 200, 200);
        painter.setPen(QPen(Qt::white, ring));
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse({0, 0}, 200 - ring / 2, 200 - ring / 2);

        painter.setPen(QPen(Qt::white, 4));
        for (int degrees = 0; style == 1 && degrees < 360; degrees += 5) {
            const int length = degrees % 90 == 0 ? 40 : degrees % 10 == 0 ? 20 : 10;
            painter.drawLine(at(200 - length, degrees), at(200, degrees));
        }

        const char *const names[] = {"N", "NE", "E", "SE", "S", "SW", "W", "NW"};
        for (int i = 0; i < 8; i += style == 0 ? 1 : 2) {
            const int boldSizes[] = {50, 60, 60, 56};
            painter.setFont(i % 2 == 0 ? stampFont(boldSizes[style], QFont::Bold) : stampFont(36));
            const QFontMetrics font = painter.fontMetrics();
            const QString name = QString::fromLatin1(names[i]);
            const double width = font.horizontalAdvance(name);
            const double depth = i % 4 == 0 ? font.height() : width; // of a letter that touches the ring
            const double distances[] = {170, 130, 184 - ring - ring / 2 - depth / 2, 140};
            const double baseline =
                style % 2 == 0 ? font.ascent() - font.height() / 2.0 : font.ascent() / 2.0;
            painter.drawText(at(distances[style], 45 * i) + QPointF(-width / 2, baseline), name);
        }
    }

    static QImage expected(int style, double heading, const char *text, bool dialTurns, int ring)
    {
        QImage image(400, 400, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(200, 200);
        painter.rotate(dialTurns ? -heading : 0);
        paintDial(painter, style, ring);
        painter.rotate(heading);
        const QPolygonF pointers[] = {{{{0, -96}, {80, 64}, {0, 64}}},
                                      {{{0, -96}, {80, 64}, {0, 64}}},
                                      {{{0, -190}, {23.75, 19}, {-23.75, 19}}},
                                      {{{0, -180}, {28.87, -130}, {-28.87, -130}}}};
        painter.setPen(style < 2 ? QPen(Qt::red, 6) : Qt::NoPen);
        painter.setBrush(Qt::red);
        painter.drawPolygon(pointers[style]);
        painter.setBrush(Qt::white);
        if (style < 2)
            painter.drawPolygon(QPolygonF({{0, -96}, {-80, 64}, {0, 64}}));
        painter.rotate(dialTurns ? 0 : -heading);
        painter.setPen(Qt::white);
        painter.setFont(stampFont(44, QFont::Bold));
        if (style == 3)
            painter.drawText(QRect(-200, -200, 400, 400), Qt::AlignCenter, QString::fromUtf8(text));
        return image;
    }

private slots:
    void looksAsItShould()
    {
        QFontDatabase::addApplicationFont(fontPath);
        for (const auto &[heading, text] :
             {std::pair(90.0, "90° E"), {225, "225° SW"}, {364.6, "365° N"}, {-45, "-45° NW"}}) {
            for (int style = 0; style < 4; ++style) {
                for (const bool dialTurns : {false, true}) {
                    const double ratio = dialTurns ? 0.5 : 0.1;
                    const int ring = dialTurns ? 6 : 2;
                    const QImage rose =
                        drawCompassRose(400, heading, ratio, fontPath, dialTurns, style, Qt::red);
                    const int found = differences(rose, expected(style, heading, text, dialTurns, ring));
                    QVERIFY2(found < 20,
                             qPrintable(QStringLiteral("%1 at %2°: %3").arg(style).arg(heading).arg(found)));
                }
            }
        }
    }

    void takesAnything()
    {
        QVERIFY(drawCompassRose(0, 0, 0.2, fontPath, false, 2, Qt::red).isNull());
        for (const double heading : {qInf(), -1e300, qQNaN()}) {
            for (int style = -1; style < 5; ++style) {
                const QImage rose = drawCompassRose(400, heading, 0.2, fontPath, true, style, Qt::red);
                QCOMPARE(rose.pixel(200, 100) != 0, style >= 0 && style < 4);
            }
        }
    }
};

QTEST_MAIN(CompassRoseTest)
#include "compassrose.moc"
