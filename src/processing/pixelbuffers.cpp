// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/pixelbuffers.h"

#include <QMutex>
#include <QMutexLocker>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace
{

struct Buffer {
    struct Free {
        void operator()(uchar *bytes) const { std::free(bytes); }
    };

    std::unique_ptr<uchar, Free> bytes;
    size_t size = 0;
};

} // namespace

struct PixelBuffers::Shelf {
    // A buffer that is large enough or, failing that, none; one that is too small makes room for it.
    Buffer take(size_t size)
    {
        const QMutexLocker locker(&mutex);
        if (free.empty())
            return {};
        const auto smaller = [](const Buffer &a, const Buffer &b) {
            return a.size < b.size;
        };
        auto largest = std::max_element(free.begin(), free.end(), smaller);
        Buffer buffer = std::move(*largest);
        free.erase(largest);
        return buffer.size >= size ? std::move(buffer) : Buffer();
    }

    void put(Buffer buffer)
    {
        const QMutexLocker locker(&mutex);
        free.push_back(std::move(buffer));
    }

    QMutex mutex;
    std::vector<Buffer> free;
};

struct PixelBuffers::Lease {
    std::shared_ptr<Shelf> shelf;
    Buffer buffer;
};

PixelBuffers::PixelBuffers()
    : m_shelf(std::make_shared<Shelf>())
{
}

PixelBuffers::~PixelBuffers() = default;

QImage PixelBuffers::image(QSize size)
{
    constexpr size_t pixelBytes = 4;
    if (size.isEmpty())
        return {};
    const size_t needed = pixelBytes * static_cast<size_t>(size.width()) * static_cast<size_t>(size.height());
    auto lease = std::make_unique<Lease>(Lease{m_shelf, m_shelf->take(needed)});
    if (!lease->buffer.bytes) {
        lease->buffer.bytes.reset(static_cast<uchar *>(std::malloc(needed)));
        lease->buffer.size = needed;
    }
    uchar *bytes = lease->buffer.bytes.get();
    if (!bytes)
        return {};
    return QImage(bytes, size.width(), size.height(), static_cast<qsizetype>(pixelBytes) * size.width(),
                  QImage::Format_RGB32, giveBack, lease.release());
}

void PixelBuffers::giveBack(void *lease)
{
    const std::unique_ptr<Lease> owned(static_cast<Lease *>(lease));
    owned->shelf->put(std::move(owned->buffer));
}
