// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/overlay.h"

#include "core/numbers.h"
#include "core/units.h"
#include "render/compassrose.h"
#include "render/fontregistry.h"
#include "render/uprightimage.h"

#include <QFontMetrics>
#include <QMap>
#include <QPainter>
#include <QStringList>

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
    painter.save();
    painter.setPen(QPen(Qt::white, 2.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.setBrush(QColor(211, 211, 211, 128));
    painter.drawRoundedRect(box, 6.0, 6.0, Qt::AbsoluteSize);
    painter.restore();
}

void drawTextBlock(QPainter &painter, const QFontMetrics &metrics, QSize canvas,
                   const CornerPosition &position, const QStringList &lines, bool withBox)
{
    const bool right = position.contains(QLatin1String("derecha"));
    const bool bottom = position.contains(QLatin1String("abajo"));
    const int lineStep = metrics.height() + 5;
    const int blockHeight = static_cast<int>(lines.size()) * lineStep;

    if (withBox) {
        int widest = 0;
        for (const QString &line : lines)
            widest = std::max(widest, metrics.horizontalAdvance(line));
        drawBox(painter,
                QRect(right ? canvas.width() - 35 - widest : 15,
                      bottom ? canvas.height() - blockHeight - 25 : 20, widest + 20, blockHeight + 5));
    }

    int baseline = (bottom ? canvas.height() - blockHeight - 20 : 25) + metrics.ascent();
    for (const QString &line : lines) {
        painter.drawText(right ? canvas.width() - 25 - metrics.horizontalAdvance(line) : 25, baseline, line);
        baseline += lineStep;
    }
}

void drawText(QPainter &painter, QSize canvas, const OverlayData &data, const ProcessOptions &options,
              const QString &fontFamily)
{
    QFont font = overlayFont(fontFamily);
    font.setPointSize(std::max(10, truncated(options.fontSizeRatio * canvas.height())));
    painter.setFont(font);
    painter.setPen(options.fontColor);

    const QFontMetrics metrics(font, painter.device());
    const QMap<CornerPosition, QStringList> blocks = textBlocks(data, options);
    for (auto block = blocks.cbegin(); block != blocks.cend(); ++block)
        drawTextBlock(painter, metrics, canvas, block.key(), block.value(), options.bgText);
}

void drawLogo(QPainter &painter, QSize canvas, const ProcessOptions &options, const Logo &logo)
{
    const QSize size = logo.sizeFor(options.logoRatio, canvas.width());
    const QImage scaled = logo.scaled(size);
    if (!scaled.isNull())
        painter.drawImage(cornerPlace(options.logoPosition, Corner::TopLeft, canvas, size), scaled);
}

void drawCompass(QPainter &painter, QSize canvas, double orientation, const ProcessOptions &options)
{
    const int size = truncated(options.compassRatio * std::min(canvas.width(), canvas.height()));
    const QImage rose =
        drawCompassRose(size, orientation, options.compassRatio, options.fontPath, options.rotateCompass,
                        options.compassStyle, options.compassArrowColor);
    if (!rose.isNull())
        painter.drawImage(cornerPlace(options.compassPosition, Corner::BottomRight, canvas, rose.size()),
                          rose);
}

} // namespace

void drawOverlay(QImage &image, const OverlayData &data, const ProcessOptions &options,
                 const OverlayResources &resources, const LogCallback &log)
{
    if (image.isNull())
        return;
    const PaintDensity density(image);
    const QSize canvas = displayedSize(image.size(), data.exifOrientation);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setTransform(displayedToStored(image.size(), data.exifOrientation));

    if (options.logoRatio > 0 && resources.logo && !resources.logo->isNull())
        drawLogo(painter, canvas, options, *resources.logo);
    if (options.drawData)
        drawText(painter, canvas, data, options, resources.fontFamily);
    if (options.addCompass && data.orientation) {
        if (log)
            log(QStringLiteral("Dibujando rosa con orientación ") +
                QString::number(*data.orientation, 'g', 6));
        drawCompass(painter, canvas, *data.orientation, options);
    }
}
