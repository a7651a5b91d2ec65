// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/exiflibrary.h"

#include "processing/imageresources.h"

#include <QDebug>
#include <QMutexLocker>
#include <QRecursiveMutex>

#include <algorithm>
#include <iterator>
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
// is: it happens once in the process, whatever is asked of the library first.
void prepareLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] {
        static QRecursiveMutex toolkitMutex;
        Exiv2::LogMsg::setHandler(logLibraryMessage);
        Exiv2::XmpParser::initialize(lockXmpToolkit, &toolkitMutex);
    });
}

// Calls `work` with the lock held and the library prepared.
template <typename Work>
auto withLibrary(QString *error, const Work &work) -> std::optional<decltype(work())>
{
    prepareLibrary();
    const QMutexLocker locker(&metadataMutex);
    try {
        return work();
    } catch (const std::exception &exception) {
        *error = QString::fromUtf8(exception.what());
        return std::nullopt;
    }
}

const Exiv2::byte *dataOf(const QByteArray &bytes)
{
    return reinterpret_cast<const Exiv2::byte *>(bytes.constData());
}

// Tags of a TIFF that say where and how the file holds its pixels. Another TIFF has its own, and in a JPEG
// they are wrong.
constexpr const char *pixelLayoutTags[] = {
    "BitsPerSample",
    "ColorMap",
    "Compression",
    "ExtraSamples",
    "FillOrder",
    "ImageLength",
    "ImageWidth",
    "InterColorProfile",
    "JPEGInterchangeFormat",
    "JPEGInterchangeFormatLength",
    "JPEGTables",
    "NewSubfileType",
    "PageNumber",
    "PhotometricInterpretation",
    "PlanarConfiguration",
    "Predictor",
    "ReferenceBlackWhite",
    "RowsPerStrip",
    "SampleFormat",
    "SamplesPerPixel",
    "StripByteCounts",
    "StripOffsets",
    "SubIFDs",
    "SubfileType",
    "TileByteCounts",
    "TileLength",
    "TileOffsets",
    "TileWidth",
    "YCbCrCoefficients",
    "YCbCrPositioning",
    "YCbCrSubSampling",
};

// Tags of a TIFF whose content other files hold outside the EXIF data.
constexpr const char *embeddedBlockTags[] = {"IPTCNAA", "ImageResources", "XMLPacket"};

void erase(Exiv2::ExifData &exif, const char *name)
{
    const auto tag = exif.findKey(Exiv2::ExifKey(std::string("Exif.Image.") + name));
    if (tag != exif.end())
        exif.erase(tag);
}

// Whether a tag stands in a directory of another picture of the file: a page, a thumbnail, a tile pyramid.
bool isOfAnotherPicture(const Exiv2::Exifdatum &tag)
{
    const std::string group = tag.groupName();
    return group == "Thumbnail" || group == "Image2" || group == "Image3" || group.compare(0, 3, "Sub") == 0;
}

void dropPixelLayout(Exiv2::ExifData &exif)
{
    for (const char *name : pixelLayoutTags)
        erase(exif, name);
    for (auto tag = exif.begin(); tag != exif.end();)
        tag = isOfAnotherPicture(*tag) ? exif.erase(tag) : std::next(tag);
}

QByteArray rawValue(const Exiv2::ExifData &exif, const char *name, Exiv2::ByteOrder byteOrder)
{
    const auto tag = exif.findKey(Exiv2::ExifKey(std::string("Exif.Image.") + name));
    if (tag == exif.end())
        return {};
    QByteArray value(static_cast<qsizetype>(tag->size()), '\0');
    tag->copy(reinterpret_cast<Exiv2::byte *>(value.data()), byteOrder);
    return value;
}

// From 0.28 on the library changes the tags that it is given.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
QByteArray encoded(Exiv2::ExifData exif, Exiv2::ByteOrder byteOrder)
{
    if (exif.empty())
        return {};
    Exiv2::Blob blob;
    Exiv2::ExifParser::encode(blob, byteOrder, exif);
    return QByteArray(reinterpret_cast<const char *>(blob.data()), static_cast<qsizetype>(blob.size()));
}

Exiv2::ByteOrder decode(const QByteArray &structure, Exiv2::ExifData &exif)
{
    const Exiv2::ByteOrder byteOrder =
        Exiv2::ExifParser::decode(exif, dataOf(structure), Exiv2Compat::sizeOf(structure));
    if (byteOrder == Exiv2::invalidByteOrder)
        exif.clear();
    return byteOrder;
}

MetadataBlocks blocksOf(Exiv2::Image &image, Exiv2::ExifData exif)
{
    const Exiv2::ByteOrder byteOrder =
        image.byteOrder() == Exiv2::invalidByteOrder ? Exiv2::littleEndian : image.byteOrder();
    MetadataBlocks blocks;
    blocks.iccProfile = Exiv2Compat::iccProfile(image);
    blocks.xmp = rawValue(exif, "XMLPacket", byteOrder);
    if (blocks.xmp.isEmpty())
        blocks.xmp = QByteArray::fromStdString(image.xmpPacket());
    blocks.imageResources = rawValue(exif, "ImageResources", byteOrder);
    const QByteArray iptc = rawValue(exif, "IPTCNAA", byteOrder);
    if (!iptc.isEmpty())
        blocks.imageResources = withIptc(blocks.imageResources, iptc);
    for (const char *name : embeddedBlockTags)
        erase(exif, name);
    blocks.exif = encoded(exif, byteOrder);
    return blocks;
}

QByteArray contentsOf(Exiv2::BasicIo &io)
{
    io.seek(0, Exiv2::BasicIo::beg);
    const auto *bytes = reinterpret_cast<const char *>(io.mmap());
    return QByteArray(bytes, static_cast<qsizetype>(io.size()));
}

} // namespace

std::optional<Exiv2::ExifData> decodedExif(const QByteArray &structure, QString *error)
{
    if (structure.isEmpty())
        return Exiv2::ExifData();
    return withLibrary(error, [&] {
        Exiv2::ExifData exif;
        decode(structure, exif);
        return exif;
    });
}

QByteArray encodedExif(const Exiv2::ExifData &exif)
{
    QString error;
    return withLibrary(&error, [&] { return encoded(exif, Exiv2::littleEndian); }).value_or(QByteArray());
}

QByteArray shortenedExif(const QByteArray &structure, qsizetype limit)
{
    QString error;
    const auto shortened = withLibrary(&error, [&] {
        Exiv2::ExifData exif;
        const Exiv2::ByteOrder byteOrder = decode(structure, exif);
        QByteArray result = encoded(exif, byteOrder);
        while (result.size() > limit && !exif.empty()) {
            exif.erase(std::max_element(exif.begin(), exif.end(),
                                        [](const auto &a, const auto &b) { return a.size() < b.size(); }));
            result = encoded(exif, byteOrder);
        }
        return result;
    });
    return shortened.value_or(QByteArray());
}

std::optional<LibraryMetadata> readByLibrary(const QByteArray &file, QString *error)
{
    return withLibrary(error, [&] {
        const Exiv2Compat::ImagePtr image = Exiv2Compat::openImage(file);
        image->readMetadata();
        LibraryMetadata metadata;
        metadata.exif = image->exifData();
        dropPixelLayout(metadata.exif);
        metadata.blocks = blocksOf(*image, metadata.exif);
        return metadata;
    });
}

std::optional<QByteArray> tiffWithMetadata(const QByteArray &picture, const Exiv2::ExifData &exif,
                                           const MetadataBlocks &blocks, QString *error)
{
    return withLibrary(error, [&] {
        const Exiv2Compat::ImagePtr image = Exiv2Compat::openImage(picture);
        image->readMetadata();
        Exiv2::ExifData portable = exif;
        dropPixelLayout(portable);
        image->setExifData(portable);
        Exiv2::IptcData iptcData;
        const QByteArray iptc = iptcIn(blocks.imageResources);
        Exiv2::IptcParser::decode(iptcData, dataOf(iptc), Exiv2Compat::sizeOf(iptc));
        image->setIptcData(iptcData);
        // The packet as it stands, whether the library understands it or not.
        image->clearXmpData();
        image->xmpData().setPacket(blocks.xmp.toStdString());
        image->writeXmpFromPacket(true);
        if (!blocks.iccProfile.isEmpty())
            Exiv2Compat::setIccProfile(*image, blocks.iccProfile);
        image->writeMetadata();
        return contentsOf(image->io());
    });
}
