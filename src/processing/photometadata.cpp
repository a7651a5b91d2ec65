// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photometadata.h"

#include "core/numbers.h"
#include "processing/exifreader.h"
#include "processing/jpegheader.h"

#include <QBuffer>
#include <QDebug>
#include <QFile>
#include <QMutexLocker>
#include <QRecursiveMutex>

#include <mutex>

namespace
{

// The one lock of the process for metadata work.
Q_CONSTINIT QBasicMutex metadataMutex;

void lockXmpToolkit(void *mutex, bool lock)
{
    auto *toolkitMutex = static_cast<QRecursiveMutex *>(mutex);
    if (lock)
        toolkitMutex->lock();
    else
        toolkitMutex->unlock();
}

void logLibraryMessage(int level, const char *text)
{
    qDebug() << "exiv2" << level << text;
}

// The XMP toolkit inside the library is not thread-safe until it has been given a lock, and its set-up never
// is.
void prepareLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] {
        static QRecursiveMutex toolkitMutex;
        Exiv2::LogMsg::setHandler(logLibraryMessage);
        Exiv2::XmpParser::initialize(lockXmpToolkit, &toolkitMutex);
    });
}

// Tags of a TIFF that say where and how the file holds its pixels. Another TIFF has its own, and in a JPEG
// they are wrong.
constexpr const char *pixelLayoutTags[] = {
    "BitsPerSample",       "ColorMap",     "Compression",       "ExtraSamples",   "FillOrder",
    "ImageLength",         "ImageWidth",   "InterColorProfile", "NewSubfileType", "PhotometricInterpretation",
    "PlanarConfiguration", "Predictor",    "RowsPerStrip",      "SampleFormat",   "SamplesPerPixel",
    "StripByteCounts",     "StripOffsets", "SubfileType",       "TileByteCounts", "TileLength",
    "TileOffsets",         "TileWidth",
};

void dropPixelLayout(Exiv2::ExifData &exif)
{
    for (const char *name : pixelLayoutTags) {
        const auto tag = exif.findKey(Exiv2::ExifKey(std::string("Exif.Image.") + name));
        if (tag != exif.end())
            exif.erase(tag);
    }
}

QByteArray contentsOf(Exiv2::BasicIo &io)
{
    io.seek(0, Exiv2::BasicIo::beg);
    const auto *bytes = reinterpret_cast<const char *>(io.mmap());
    return QByteArray(bytes, static_cast<qsizetype>(io.size()));
}

// The head of a JPEG, up to its pixels, with an EXIF segment put in where cameras put it: first, or behind
// the JFIF header.
QByteArray withExifSegment(QByteArray head, const QByteArray &segment)
{
    qsizetype at = 2;
    if (head.mid(at, 2) == "\xff\xe0")
        at += 2 + (static_cast<uchar>(head[at + 2]) << 8 | static_cast<uchar>(head[at + 3]));
    return head.insert(at, segment);
}

std::optional<QByteArray> withMetadataInFull(const QByteArray &encoded, const PhotoMetadata &metadata,
                                             QString *error)
{
    prepareLibrary();
    const QMutexLocker locker(&metadataMutex);
    try {
        const Exiv2Compat::ImagePtr image = Exiv2Compat::openImage(encoded);
        image->readMetadata();
        image->setExifData(metadata.exif);
        image->setIptcData(metadata.iptc);
        image->setXmpData(metadata.xmp);
        if (!metadata.iccProfile.isEmpty())
            Exiv2Compat::setIccProfile(*image, metadata.iccProfile);
        image->writeMetadata();
        return contentsOf(image->io());
    } catch (const std::exception &exception) {
        *error = QString::fromUtf8(exception.what());
        return std::nullopt;
    }
}

} // namespace

int PhotoMetadata::orientation() const
{
    const auto tag = exif.findKey(Exiv2::ExifKey("Exif.Image.Orientation"));
    if (tag == exif.end() || tag->count() == 0)
        return 1;
    const qint64 value = Exiv2Compat::toInteger(*tag);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
}

std::optional<QSize> PhotoMetadata::dotsPerMeter() const
{
    const auto x = exif.findKey(Exiv2::ExifKey("Exif.Image.XResolution"));
    const auto y = exif.findKey(Exiv2::ExifKey("Exif.Image.YResolution"));
    if (x == exif.end() || y == exif.end() || x->count() == 0 || y->count() == 0)
        return std::nullopt;
    const auto unit = exif.findKey(Exiv2::ExifKey("Exif.Image.ResolutionUnit"));
    const bool centimetres = unit != exif.end() && unit->count() > 0 && Exiv2Compat::toInteger(*unit) == 3;
    const double perMetre = centimetres ? 100.0 : 1 / 0.0254;
    const QSize size(rounded(static_cast<double>(x->toFloat()) * perMetre),
                     rounded(static_cast<double>(y->toFloat()) * perMetre));
    constexpr int credible = 1000000; // 25,400 dpi
    if (size.isEmpty() || size.width() > credible || size.height() > credible)
        return std::nullopt;
    return size;
}

std::optional<PhotoMetadata> readPhotoMetadata(const QString &path, QString *error)
{
    prepareLibrary();
    const std::string nativePath = qPathToNativeStdString(path);
    QByteArray exifSegment;
    if (QFile file(path); file.open(QIODevice::ReadOnly))
        exifSegment = JpegHeader::read(file).exif;
    const QMutexLocker locker(&metadataMutex);
    try {
        const Exiv2Compat::ImagePtr image = Exiv2::ImageFactory::open(nativePath);
        image->readMetadata();
        PhotoMetadata metadata{image->exifData(), image->iptcData(), image->xmpData(),
                               Exiv2Compat::iccProfile(*image), exifSegment};
        if (image->mimeType() == "image/tiff")
            dropPixelLayout(metadata.exif);
        return metadata;
    } catch (const std::exception &exception) {
        *error = QString::fromUtf8(exception.what());
        return std::nullopt;
    }
}

std::optional<QByteArray> withMetadata(const QByteArray &encoded, const PhotoMetadata &metadata,
                                       QString *error)
{
    QBuffer buffer;
    buffer.setData(encoded);
    buffer.open(QIODevice::ReadOnly);
    const qint64 pixels = JpegHeader::read(buffer).startOfPixels;
    if (pixels == 0)
        return withMetadataInFull(encoded, metadata, error);

    // All metadata of a JPEG stand before its pixels: without these the library, and with it the lock, has
    // little to do. The original's EXIF segment goes in as it stands: the library finds nothing to change
    // there, so that not even maker notes that it does not know are touched.
    const QByteArray head = withExifSegment(encoded.first(pixels), metadata.exifSegment) + endOfJpeg;
    std::optional<QByteArray> result = withMetadataInFull(head, metadata, error);
    if (result) {
        Q_ASSERT(result->endsWith(endOfJpeg));
        result->chop(endOfJpeg.size());
        result->append(QByteArrayView(encoded).sliced(pixels));
    }
    return result;
}
