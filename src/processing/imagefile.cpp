// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/imagefile.h"

#include "processing/jpegsegments.h"

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

// Qt's own limit is for all readers of the process, and refuses photos of more than 33 megapixels.
void raiseDecodingLimit()
{
    static std::once_flag once;
    std::call_once(once, [] { QImageReader::setAllocationLimit(decodingLimitMegabytes); });
}

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

QImage decodedImage(const QByteArray &file, PixelBuffers &buffers)
{
    raiseDecodingLimit();
    if (JpegSegments::isJpeg(file)) {
        const QImage photo = decodedJpeg(file, decodingLimitMegabytes, buffers);
        if (!photo.isNull())
            return photo;
    }

    QBuffer buffer;
    buffer.setData(file);
    QImageReader reader(&buffer);
    reader.setAutoTransform(false);
    const QImage image = reader.read();
    if (image.isNull() || paintsInFullColour(image))
        return image;
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32 : QImage::Format_RGB32);
}

QImage readImage(const QString &path, PixelBuffers &buffers)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? decodedImage(file.readAll(), buffers) : QImage();
}

QImage viewedImage(const QString &path)
{
    raiseDecodingLimit();
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    return reader.read();
}

int pageCount(const QByteArray &file)
{
    QBuffer buffer;
    buffer.setData(file);
    return QImageReader(&buffer).imageCount();
}

bool isCredible(QSize size)
{
    return !size.isEmpty() &&
           qint64(size.width()) * size.height() * 4 <= qint64(decodingLimitMegabytes) * 1024 * 1024;
}

bool isJpegSuffix(const QString &suffix)
{
    return suffix.compare(QLatin1String("jpg"), Qt::CaseInsensitive) == 0 ||
           suffix.compare(QLatin1String("jpeg"), Qt::CaseInsensitive) == 0;
}

std::optional<QByteArray> encodedImage(const QImage &image, const QString &suffix, int quality,
                                       ChromaSampling sampling, QString *error)
{
    if (isJpegSuffix(suffix)) {
        const QImage opaque = image.hasAlphaChannel() ? laidOnWhite(image) : image;
        return encodedJpeg(opaque.convertToFormat(QImage::Format_RGB32), quality, sampling, error);
    }

    const QByteArray format = suffix.toLower().toLatin1();
    QByteArray encoded;
    QBuffer buffer(&encoded);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, format);
    if (format == "png")
        writer.setCompression(0);
    if (writer.write(image))
        return encoded;
    *error = writer.errorString();
    return std::nullopt;
}
