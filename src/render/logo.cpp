// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/logo.h"

#include "core/numbers.h"

#include <QMutexLocker>

Logo::Logo(const QImage &image)
    : m_image(image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                            : QImage::Format_RGB32))
{
    // A file called "logo@2x.png" is loaded as an image of half its size in pixels.
    m_image.setDevicePixelRatio(1.0);
}

bool Logo::isNull() const
{
    return m_image.isNull();
}

QSize Logo::sizeFor(double ratio, int imageWidth) const
{
    const int width = truncated(ratio * imageWidth);
    if (m_image.width() == 0)
        return {width, 0};
    const qint64 height = qint64(m_image.height()) * width / m_image.width();
    return {width, truncated(static_cast<double>(height))};
}

QImage Logo::scaled(QSize size) const
{
    if (m_image.isNull() || size.isEmpty())
        return {};
    const std::pair<int, int> key(size.width(), size.height());
    {
        const QMutexLocker locker(&m_mutex);
        if (const QImage *known = m_scaled.object(key))
            return *known;
    }
    // Scaled outside the lock: at the start some threads may do the same work, but none waits for another.
    const QImage scaled = m_image.scaled(size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    const QMutexLocker locker(&m_mutex);
    m_scaled.insert(key, new QImage(scaled));
    return scaled;
}
