// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/pixelbuffers.h"

#include <QMutex>
#include <QMutexLocker>

#include <cstdlib>
#include <iterator>
#include <map>
#include <utility>

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
    // The smallest buffer that is large enough or, failing that, none; the largest then makes room for one.
    Buffer take(size_t size)
    {
        const QMutexLocker locker(&mutex);
        Buffer buffer;
        if (const auto enough = free.lower_bound(size); enough != free.end()) {
            buffer = std::move(enough->second);
            free.erase(enough);
        } else if (!free.empty()) {
            free.erase(std::prev(free.end()));
        }
        return buffer;
    }

    void put(Buffer buffer)
    {
        const QMutexLocker locker(&mutex);
        free.emplace(buffer.size, std::move(buffer));
    }

    QMutex mutex;
    std::multimap<size_t, Buffer> free; ///< by size
};

struct PixelBuffers::Lease {
    Lease(const std::shared_ptr<Shelf> &from, size_t size)
        : shelf(from)
        , buffer(from->take(size))
    {
        if (!buffer.bytes) {
            buffer.bytes.reset(static_cast<uchar *>(std::malloc(size)));
            buffer.size = size;
        }
    }
    ~Lease()
    {
        if (buffer.bytes)
            shelf->put(std::move(buffer));
    }
    Q_DISABLE_COPY_MOVE(Lease)

    std::shared_ptr<Shelf> shelf;
    Buffer buffer;
};

PixelBuffers::PixelBuffers()
    : m_shelf(std::make_shared<Shelf>())
{
}

PixelBuffers::~PixelBuffers() = default;

std::shared_ptr<uchar> PixelBuffers::memory(size_t size)
{
    const auto lease = std::make_shared<Lease>(m_shelf, size);
    return {lease, lease->buffer.bytes.get()};
}

QImage PixelBuffers::image(QSize size)
{
    constexpr size_t pixelBytes = 4;
    if (size.isEmpty())
        return {};
    using Memory = std::shared_ptr<uchar>;
    auto held = std::make_unique<Memory>(
        memory(pixelBytes * static_cast<size_t>(size.width()) * static_cast<size_t>(size.height())));
    uchar *bytes = held->get();
    if (!bytes)
        return {};
    const auto release = [](void *memory) {
        delete static_cast<Memory *>(memory);
    };
    return QImage(bytes, size.width(), size.height(), static_cast<qsizetype>(pixelBytes) * size.width(),
                  QImage::Format_RGB32, release, held.release());
}
