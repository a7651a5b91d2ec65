// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/imagefile.h"

#include "processing/jpegcodec.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QPainter>

#include <mutex>

namespace
{

// 200 megapixels take 800 MB in 32-bit colour and 1600 MB in 64-bit colour.
constexpr int decodingLimitMegabytes = 2048;

bool paintsInFullColour(const QImage &image)
{
    return image.pixelFormat().colorModel() == QPixelFormat::RGB && image.depth() >= 24;
}

QImage laidOnWhite(const QImage &image)
{
    QImage opaque(image.size(), QImage::Format_RGB32);
    opaque.fill(Qt::white);
    opaque.setDotsPerMeterX(image.dotsPerMeterX());
    opaque.setDotsPerMeterY(image.dotsPerMeterY());
    opaque.setColorSpace(image.colorSpace());
    QPainter(&opaque).drawImage(0, 0, image);
    return opaque;
}

} // namespace

QImage readImage(const QString &path, PixelBuffers &buffers)
{
    static std::once_flag once;
    std::call_once(once, [] { QImageReader::setAllocationLimit(decodingLimitMegabytes); });

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    if (file.peek(3) == "\xff\xd8\xff") {
        const QImage photo = decodedJpeg(file.readAll(), decodingLimitMegabytes, buffers);
        if (!photo.isNull())
            return photo;
        file.seek(0);
    }

    QImageReader reader(&file);
    reader.setAutoTransform(false);
    const QImage image = reader.read();
    if (image.isNull() || paintsInFullColour(image))
        return image;
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

std::optional<QByteArray> encodedImage(const QImage &image, const QString &suffix, int quality,
                                       QString *error)
{
    const QByteArray format = suffix.toLower().toLatin1();
    if (format == "jpg" || format == "jpeg") {
        const QImage opaque = image.hasAlphaChannel() ? laidOnWhite(image) : image;
        return encodedJpeg(opaque.convertToFormat(QImage::Format_RGB32), quality, ChromaSampling::Half,
                           error);
    }

    QByteArray encoded;
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    writer.setQuality(quality);
    if (format == "png")
        writer.setCompression(0);
    if (writer.write(image))
        return encoded;
    *error = writer.errorString();
    return std::nullopt;
}

bool describesRgb(const QByteArray &iccProfile)
{
    return iccProfile.mid(16, 4) == "RGB ";
}
