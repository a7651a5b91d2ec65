// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photometadata.h"

#include "core/numbers.h"
#include "processing/exifreader.h"

#include <QDebug>
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

const QByteArray endOfJpeg = QByteArrayLiteral("\xff\xd9");

// Where the compressed pixels of a JPEG start: behind the first scan header (ITU-T T.81, annex B). 0 when it
// is no JPEG.
qsizetype startOfPixels(const QByteArray &encoded)
{
    constexpr uchar startOfScan = 0xda;
    const auto byte = [&encoded](qsizetype at) {
        return static_cast<uchar>(encoded[at]);
    };
    if (!encoded.startsWith("\xff\xd8"))
        return 0;
    qsizetype at = 2;
    while (at + 4 <= encoded.size() && byte(at) == 0xff) {
        const uchar marker = byte(at + 1);
        at += 2 + (byte(at + 2) << 8 | byte(at + 3));
        if (marker == startOfScan)
            return at < encoded.size() ? at : 0;
    }
    return 0;
}

std::optional<QByteArray> withMetadataInFull(const QByteArray &encoded, const PhotoMetadata &metadata,
                                             QString *error)
{
    prepareLibrary();
    const QMutexLocker locker(&metadataMutex);
    try {
        const Exiv2Compat::ImagePtr image = Exiv2Compat::openImage(encoded);
        image->readMetadata();
        if (metadata.byteOrder != Exiv2::invalidByteOrder)
            image->setByteOrder(metadata.byteOrder);
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
    const QMutexLocker locker(&metadataMutex);
    try {
        const Exiv2Compat::ImagePtr image = Exiv2::ImageFactory::open(nativePath);
        image->readMetadata();
        PhotoMetadata metadata{image->exifData(), image->iptcData(), image->xmpData(),
                               Exiv2Compat::iccProfile(*image), image->byteOrder()};
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
    // All metadata of a JPEG stand before its pixels. Without these the library, and with it the lock, has
    // little to do.
    const qsizetype pixels = startOfPixels(encoded);
    if (pixels == 0)
        return withMetadataInFull(encoded, metadata, error);
    std::optional<QByteArray> result = withMetadataInFull(encoded.first(pixels) + endOfJpeg, metadata, error);
    if (result) {
        Q_ASSERT(result->endsWith(endOfJpeg));
        result->chop(endOfJpeg.size());
        result->append(QByteArrayView(encoded).sliced(pixels));
    }
    return result;
}
