// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "render/geodesy.h"
#include "render/logo.h"

#include <QDateTime>
#include <QFont>
#include <QImage>
#include <QList>
#include <QRect>
#include <QStringList>
#include <QTransform>

#include <functional>
#include <optional>

class QPainter;

/// What is known about a photo when its overlay is painted.
struct OverlayData {
    QDateTime dateTime; ///< capture date-time, local
    UtmPosition utm;
    std::optional<GeoPosition>
        geo; ///< for the line in degrees, minutes and seconds; none: the UTM line stays
    std::optional<double> orientation; ///< heading in degrees
    std::optional<double> altitude;    ///< metres
    int exifOrientation =
        1; ///< how the pixels are stored, see uprightimage.h; the overlay is upright as displayed
};

/// What all photos of a run share. Only read.
struct OverlayResources {
    const Logo *logo = nullptr; ///< none: no logo
    QString fontFamily;         ///< empty: the general font
};

/// The stamp of one photo: logo, text blocks and compass rose, painted in this order, as the options ask for.
/// It is laid out once, for the size of the picture, and then painted onto the whole picture or onto pieces
/// of it; the pixels are the same.
class Overlay
{
public:
    /// `stored` is the size in pixels of the picture as it is stored. All sizes derive from the width and
    /// height as displayed. The line about the compass goes to `log` at once, from the calling thread.
    Overlay(QSize stored, const OverlayData &data, const ProcessOptions &options,
            const OverlayResources &resources, const LogCallback &log);

    /// The size of the stored picture.
    QSize pictureSize() const { return m_picture.size(); }

    /// Rectangles of the stored picture, all within it, outside which nothing is painted. They may overlap.
    QList<QRect> areas() const;

    /// Paints what falls onto `image`, a piece of the stored picture whose top left pixel is `topLeft` there.
    ///
    /// The image must be of a format that QPainter paints in full colour. The density it claims does not
    /// matter and is left as it was: it is painted as on a device of 96 dpi. Several threads may each paint
    /// onto an image of their own.
    void paint(QImage &image, QPoint topLeft = {}) const;

private:
    struct Element {
        QRect area; ///< of the stored picture
        std::function<void(QPainter &)> paint;
    };

    void add(const QRect &displayed, const std::function<void(QPainter &)> &paint);
    void addPicture(const QImage &picture, QPoint place);
    void addLogo(const ProcessOptions &options, const Logo &logo);
    void addText(const OverlayData &data, const ProcessOptions &options, const QString &fontFamily);
    void addTextBlock(const QFont &font, const CornerPosition &position, const QStringList &lines,
                      const ProcessOptions &options);
    void addCompass(double orientation, const ProcessOptions &options);

    QRect m_picture;
    QSize m_canvas; ///< the picture as displayed
    int m_orientation;
    QTransform m_toStored;
    QList<Element> m_elements; ///< in painting order
};

/// Lays the overlay out for `image` and paints it.
void drawOverlay(QImage &image, const OverlayData &data, const ProcessOptions &options,
                 const OverlayResources &resources, const LogCallback &log);
