// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegcodec.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <memory>
#include <turbojpeg.h>

namespace
{

// The bytes of a Format_RGB32 pixel in memory.
constexpr TJPF paintedPixel = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? TJPF_BGRA : TJPF_ARGB;

// In the order of ChromaSampling.
constexpr std::array<int, 4> samplings{TJSAMP_444, TJSAMP_422, TJSAMP_440, TJSAMP_420};

struct HandleDeleter {
    void operator()(void *handle) const { tjDestroy(handle); }
};
using Handle = std::unique_ptr<void, HandleDeleter>;

// The JFIF header follows the start of the image: FF D8, FF E0, length, "JFIF\0", version, then unit (0 none,
// 1 inch, 2 centimetre), and the densities across and down in big-endian 16 bits (JFIF 1.02).
constexpr qsizetype jfifName = 6;
constexpr qsizetype jfifUnit = 13;
constexpr qsizetype jfifAcross = 14;
constexpr qsizetype jfifDown = 16;
constexpr qsizetype jfifEnd = 18;
constexpr double metresPerInch = 0.0254;

bool hasJfifHeader(const QByteArray &encoded)
{
    return encoded.size() >= jfifEnd && encoded.startsWith("\xff\xd8\xff\xe0") &&
           encoded.mid(jfifName, 4) == "JFIF";
}

int bigEndian16(const QByteArray &bytes, qsizetype at)
{
    return static_cast<uchar>(bytes[at]) << 8 | static_cast<uchar>(bytes[at + 1]);
}

void readDensity(const QByteArray &encoded, QImage &image)
{
    if (!hasJfifHeader(encoded))
        return;
    const int unit = static_cast<uchar>(encoded[jfifUnit]);
    const int across = bigEndian16(encoded, jfifAcross);
    const int down = bigEndian16(encoded, jfifDown);
    if ((unit != 1 && unit != 2) || across == 0 || down == 0)
        return;
    const double perMetre = unit == 1 ? 1 / metresPerInch : 100.0;
    image.setDotsPerMeterX(qRound(across * perMetre));
    image.setDotsPerMeterY(qRound(down * perMetre));
}

void writeDensity(const QImage &image, QByteArray &encoded)
{
    const auto perInch = [](int dotsPerMeter) {
        return static_cast<quint16>(qBound(1, qRound(dotsPerMeter * metresPerInch), 65535));
    };
    if (!hasJfifHeader(encoded))
        return;
    encoded[jfifUnit] = 1;
    qToBigEndian(perInch(image.dotsPerMeterX()), encoded.data() + jfifAcross);
    qToBigEndian(perInch(image.dotsPerMeterY()), encoded.data() + jfifDown);
}

const uchar *bytesOf(const QByteArray &encoded)
{
    return reinterpret_cast<const uchar *>(encoded.constData());
}

} // namespace

QImage decodedJpeg(const QByteArray &encoded, int limitMegabytes, PixelBuffers &buffers)
{
    const Handle handle(tjInitDecompress());
    const auto size = static_cast<unsigned long>(encoded.size());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colours = 0;
    if (tjDecompressHeader3(handle.get(), bytesOf(encoded), size, &width, &height, &subsampling, &colours) !=
            0 ||
        colours == TJCS_CMYK || colours == TJCS_YCCK)
        return {};
    if (qint64(width) * height * 4 > qint64(limitMegabytes) * 1024 * 1024)
        return {};

    QImage image = buffers.image({width, height});
    if (image.isNull())
        return {};
    if (tjDecompress2(handle.get(), bytesOf(encoded), size, image.bits(), width,
                      static_cast<int>(image.bytesPerLine()), height, paintedPixel,
                      TJFLAG_ACCURATEDCT) != 0 &&
        tjGetErrorCode(handle.get()) == TJERR_FATAL)
        return {};
    readDensity(encoded, image);
    return image;
}

JpegFormat jpegFormatOf(const QByteArray &encoded)
{
    const Handle handle(tjInitDecompress());
    JpegFormat format;
    int sampling = 0;
    int colours = 0;
    if (tjDecompressHeader3(handle.get(), bytesOf(encoded), static_cast<unsigned long>(encoded.size()),
                            &format.size.rwidth(), &format.size.rheight(), &sampling, &colours) != 0)
        return {};
    const auto *known = std::find(samplings.begin(), samplings.end(), sampling);
    if (known != samplings.end())
        format.sampling = static_cast<ChromaSampling>(known - samplings.begin());
    return format;
}

int encoderQuality(int quality)
{
    constexpr int usual = 75;
    return quality < 0 ? usual : std::clamp(quality, 1, 100);
}

std::optional<QByteArray> encodedJpeg(const QImage &image, int quality, ChromaSampling sampling,
                                      QString *error)
{
    Q_ASSERT(image.format() == QImage::Format_RGB32);
    const Handle handle(tjInitCompress());
    uchar *buffer = nullptr;
    unsigned long size = 0;
    const int result =
        tjCompress2(handle.get(), image.constBits(), image.width(), static_cast<int>(image.bytesPerLine()),
                    image.height(), paintedPixel, &buffer, &size, samplings[static_cast<size_t>(sampling)],
                    encoderQuality(quality), TJFLAG_ACCURATEDCT);
    const std::unique_ptr<uchar, decltype(&tjFree)> owner(buffer, tjFree);
    if (result != 0) {
        *error = QString::fromUtf8(tjGetErrorStr2(handle.get()));
        return std::nullopt;
    }
    QByteArray encoded(reinterpret_cast<const char *>(buffer), static_cast<qsizetype>(size));
    writeDensity(image, encoded);
    return encoded;
}
