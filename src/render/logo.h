// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCache>
#include <QImage>
#include <QMutex>

/// The logo of one run, shared by all its photos. Photos of one camera ask for one size, so the scaled images
/// are kept.
class Logo
{
public:
    Logo() = default;
    explicit Logo(const QImage &image);

    bool isNull() const;

    /// The logo's size in pixels on a photo `imageWidth` pixels wide: the integer part of ratio × width, and
    /// the height that keeps the logo's shape, in integer arithmetic.
    QSize sizeFor(double ratio, int imageWidth) const;

    /// The logo scaled smoothly to `size`, keeping its shape; null when a side is 0. Safe to call from
    /// several threads.
    QImage scaled(QSize size) const;

private:
    Q_DISABLE_COPY_MOVE(Logo)

    QImage m_image;
    mutable QMutex m_mutex;
    mutable QCache<std::pair<int, int>, QImage> m_scaled{8};
};
