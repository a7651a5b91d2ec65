// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QImage>
#include <QSize>

#include <memory>

/// Memory for the pixels and coefficients of one photo after the other. Fresh memory of this size costs the
/// system some thousand page faults per photo, as much time as a tenth of the decoding.
///
/// Safe to use from several threads. It never holds more buffers than have been in use at once.
class PixelBuffers
{
public:
    PixelBuffers();
    ~PixelBuffers();

    /// `size` bytes of undefined contents, or null when there is no memory for them.
    std::shared_ptr<uchar> memory(size_t size);

    /// An image of Format_RGB32 with undefined pixels, or a null one when there is no memory for it. What it
    /// holds goes back with the last copy of the image, which may outlive this object.
    QImage image(QSize size);

private:
    Q_DISABLE_COPY_MOVE(PixelBuffers)

    struct Shelf;
    struct Lease;

    std::shared_ptr<Shelf> m_shelf;
};
