// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overlay.h"

#include "core/numbers.h"
#include "core/units.h"
#include "render/compassrose.h"
#include "render/fontregistry.h"
#include "render/uprightimage.h"

#include <QFontMetrics>
#include <QGlyphRun>
#include <QMap>
#include <QPainter>
#include <QRawFont>
#include <QStringList>
#include <QTextLayout>

#include <algorithm>

namespace
{

constexpr int imageMargin = 10; // of logo and compass

// Gives an image the density of 96 dpi and one device pixel per pixel while it is painted.
class PaintDensity
{
public:
    explicit PaintDensity(QImage &image)
        : m_image(image)
        , m_dotsPerMeterX(image.dotsPerMeterX())
        , m_dotsPerMeterY(image.dotsPerMeterY())
        , m_devicePixelRatio(image.devicePixelRatio())
    {
        set(screenDotsPerMeter, screenDotsPerMeter, 1.0);
    }
    ~PaintDensity() { set(m_dotsPerMeterX, m_dotsPerMeterY, m_devicePixelRatio); }

private:
    Q_DISABLE_COPY_MOVE(PaintDensity)

    void set(int dotsPerMeterX, int dotsPerMeterY, double devicePixelRatio)
    {
        m_image.setDotsPerMeterX(dotsPerMeterX);
        m_image.setDotsPerMeterY(dotsPerMeterY);
        m_image.setDevicePixelRatio(devicePixelRatio);
    }

    QImage &m_image;
    int m_dotsPerMeterX;
    int m_dotsPerMeterY;
    double m_devicePixelRatio;
};

QPoint cornerPlace(const CornerPosition &position, const CornerPosition &fallback, QSize canvas, QSize item)
{
    const CornerPosition &corner = Corner::All.contains(position) ? position : fallback;
    const bool right = corner == Corner::TopRight || corner == Corner::BottomRight;
    const bool bottom = corner == Corner::BottomLeft || corner == Corner::BottomRight;
    return {right ? canvas.width() - item.width() - imageMargin : imageMargin,
            bottom ? canvas.height() - item.height() - imageMargin : imageMargin};
}

QString dateLine(const OverlayData &data, const ProcessOptions &options)
{
    return data.dateTime.toString(options.drawTime ? QStringLiteral("dd/MM/yyyy HH:mm:ss")
                                                   : QStringLiteral("dd/MM/yyyy"));
}

QString coordinatesLine(const OverlayData &data, const ProcessOptions &options)
{
    if (options.drawGeo && data.geo)
        return formatLatLon(data.geo->latitude, data.geo->longitude);
    const UtmPosition &utm = data.utm;
    return QStringLiteral("UTM ") + formatUtm(utm.zone, utm.zoneLetter, utm.easting, utm.northing);
}

QString altitudeLine(double altitude)
{
    return QStringLiteral("Altitud: %1 msnm").arg(rounded<qint64>(altitude));
}

/// The lines of each corner. Positions are told apart by their exact text.
QMap<CornerPosition, QStringList> textBlocks(const OverlayData &data, const ProcessOptions &options)
{
    QMap<CornerPosition, QStringList> blocks;
    blocks[options.dtPosition] << dateLine(data, options);
    blocks[options.coordsPosition] << coordinatesLine(data, options);
    if (options.drawOrientation && data.orientation)
        blocks[options.orientationPosition] << formatOrientation(*data.orientation);
    if (options.drawAltitude && data.altitude)
        blocks[options.altitudePosition] << altitudeLine(*data.altitude);
    return blocks;
}

void drawBox(QPainter &painter, const QRect &box)
{
    painter.setPen(QPen(Qt::white, 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.setBrush(QColor(211, 211, 211, 128));
    painter.drawRoundedRect(box, 6.0, 6.0, Qt::AbsoluteSize);
}

// Paints a line as drawText does, but bit by bit: large letters are filled as one path, and the engine walks
// along all of it anew for every few rows of pixels. Letters that come near each other stay together, as
// their smoothed edges may share a pixel.
void drawLine(QPainter &painter, const QFont &font, QPoint start, const QString &line)
{
    constexpr double apart = 2.0; // pixels
    QTextLayout layout(line, font, painter.device());
    layout.beginLayout();
    QTextLine textLine = layout.createLine();
    textLine.setNumColumns(static_cast<int>(line.size()));
    textLine.setPosition(QPointF(0, -textLine.ascent()));
    layout.endLayout();
    for (const QGlyphRun &run : layout.glyphRuns()) {
        const QList<quint32> glyphs = run.glyphIndexes();
        const QList<QPointF> places = run.positions();
        QGlyphRun part = run;
        qsizetype first = 0;
        double right = 0;
        for (qsizetype next = 0; next <= glyphs.size(); ++next) {
            const bool isEnd = next == glyphs.size();
            const QRectF box =
                isEnd ? QRectF() : run.rawFont().boundingRect(glyphs[next]).translated(places[next]);
            if (isEnd || (next > first && box.left() > right + apart)) {
                part.setGlyphIndexes(glyphs.sliced(first, next - first));
                part.setPositions(places.sliced(first, next - first));
                painter.drawGlyphRun(start, part);
                first = next;
            }
            right = next == first ? box.right() : std::max(right, box.right());
        }
    }
}

// The metrics of a font on a device as PaintDensity makes it.
QFontMetrics metricsAt96Dpi(const QFont &font)
{
    QImage device(1, 1, QImage::Format_RGB32);
    const PaintDensity density(device);
    return QFontMetrics(font, &device);
}

} // namespace

Overlay::Overlay(QSize stored, const OverlayData &data, const ProcessOptions &options,
                 const OverlayResources &resources, const LogCallback &log)
    : m_picture(QPoint(0, 0), stored)
    , m_canvas(displayedSize(stored, data.exifOrientation))
    , m_orientation(data.exifOrientation)
    , m_toStored(displayedToStored(stored, data.exifOrientation))
{
    if (stored.isEmpty())
        return;
    if (options.logoRatio > 0 && resources.logo && !resources.logo->isNull())
        addLogo(options, *resources.logo);
    if (options.drawData)
        addText(data, options, resources.fontFamily);
    if (options.addCompass && data.orientation) {
        if (log)
            log(QStringLiteral("Dibujando rosa con orientación ") +
                QString::number(*data.orientation, 'g', 6));
        addCompass(*data.orientation, options);
    }
}

void Overlay::add(const QRect &displayed, const std::function<void(QPainter &)> &paint)
{
    const QRect area = m_toStored.mapRect(displayed) & m_picture;
    if (!area.isEmpty())
        m_elements.append({area, paint});
}

// Pictures are turned here, once, and not while they are painted: blending turned pixels rounds in a way that
// depends on where a piece begins.
void Overlay::addPicture(const QImage &picture, QPoint place)
{
    const QRect displayed(place, picture.size());
    const QImage stored = turnedAsStored(picture, m_orientation);
    const QPoint storedPlace = m_toStored.mapRect(displayed).topLeft();
    add(displayed, [stored, storedPlace, toDisplayed = m_toStored.inverted()](QPainter &painter) {
        painter.setTransform(toDisplayed, true);
        painter.drawImage(storedPlace, stored);
    });
}

void Overlay::addLogo(const ProcessOptions &options, const Logo &logo)
{
    const QSize size = logo.sizeFor(options.logoRatio, m_canvas.width());
    const QImage scaled = logo.scaled(size);
    if (!scaled.isNull())
        addPicture(scaled, cornerPlace(options.logoPosition, Corner::TopLeft, m_canvas, size));
}

void Overlay::addText(const OverlayData &data, const ProcessOptions &options, const QString &fontFamily)
{
    QFont font = overlayFont(fontFamily);
    font.setPointSize(std::max(10, truncated(options.fontSizeRatio * m_canvas.height())));
    const QMap<CornerPosition, QStringList> blocks = textBlocks(data, options);
    for (auto block = blocks.cbegin(); block != blocks.cend(); ++block)
        addTextBlock(font, block.key(), block.value(), options);
}

void Overlay::addTextBlock(const QFont &font, const CornerPosition &position, const QStringList &lines,
                           const ProcessOptions &options)
{
    const QFontMetrics metrics = metricsAt96Dpi(font);
    const bool right = position.contains(QLatin1String("derecha"));
    const bool bottom = position.contains(QLatin1String("abajo"));
    const int lineStep = metrics.height() + 5;
    const int blockHeight = static_cast<int>(lines.size()) * lineStep;

    if (options.bgText) {
        int widest = 0;
        for (const QString &line : lines)
            widest = std::max(widest, metrics.horizontalAdvance(line));
        const QRect box(right ? m_canvas.width() - 35 - widest : 15,
                        bottom ? m_canvas.height() - blockHeight - 25 : 20, widest + 20, blockHeight + 5);
        // Half of the outline lies outside.
        add(box.adjusted(-1, -1, 1, 1), [box](QPainter &painter) { drawBox(painter, box); });
    }

    QPoint start(25, (bottom ? m_canvas.height() - blockHeight - 20 : 25) + metrics.ascent());
    for (const QString &line : lines) {
        if (right)
            start.setX(m_canvas.width() - 25 - metrics.horizontalAdvance(line));
        const auto paint = [font, colour = options.fontColor, start, line](QPainter &painter) {
            painter.setPen(colour);
            drawLine(painter, font, start, line);
        };
        // The pixel around it is for smoothed edges.
        add(metrics.boundingRect(line).translated(start).adjusted(-1, -1, 1, 1), paint);
        start.ry() += lineStep;
    }
}

void Overlay::addCompass(double orientation, const ProcessOptions &options)
{
    const int size = truncated(options.compassRatio * std::min(m_canvas.width(), m_canvas.height()));
    const QImage rose =
        drawCompassRose(size, orientation, options.compassRatio, options.fontPath, options.rotateCompass,
                        options.compassStyle, options.compassArrowColor);
    if (!rose.isNull())
        addPicture(rose, cornerPlace(options.compassPosition, Corner::BottomRight, m_canvas, rose.size()));
}

QList<QRect> Overlay::areas() const
{
    QList<QRect> areas;
    for (const Element &element : m_elements)
        areas.append(element.area);
    return areas;
}

void Overlay::paint(QImage &image, QPoint topLeft) const
{
    const QRect piece(topLeft, image.size());
    const PaintDensity density(image);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(m_toStored * QTransform::fromTranslate(-topLeft.x(), -topLeft.y()));
    for (const Element &element : m_elements) {
        if (!element.area.intersects(piece))
            continue;
        painter.save();
        element.paint(painter);
        painter.restore();
    }
}

void drawOverlay(QImage &image, const OverlayData &data, const ProcessOptions &options,
                 const OverlayResources &resources, const LogCallback &log)
{
    if (!image.isNull())
        Overlay(image.size(), data, options, resources, log).paint(image);
}
