// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/photometadata.h"

#include "processing/exiflibrary.h"
#include "processing/imagefile.h"
#include "processing/imageresources.h"
#include "processing/xmpclaims.h"

#include <algorithm>

namespace
{

using Kind = JpegSegment::Kind;

// Some cameras fill their files up.
bool isPadding(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == 0 || byte == '\xff'; });
}

bool isTiff(const QByteArray &file)
{
    return file.startsWith(QByteArrayView("II*\0", 4)) || file.startsWith(QByteArrayView("MM\0*", 4));
}

// A structure that the library does not understand is carried like any other.
std::optional<PhotoMetadata> withDecodedExif(PhotoMetadata metadata, QString *error)
{
    if (const std::optional<Exiv2::ExifData> exif = decodedExif(metadata.blocks.exif, error))
        metadata.exif = *exif;
    return metadata;
}

std::optional<PhotoMetadata> ofJpeg(const QByteArray &file, QString *error)
{
    PhotoMetadata metadata;
    metadata.segments = JpegSegments(file);
    metadata.blocks = metadata.segments.blocks();
    metadata.isFollowed = !isPadding(QByteArrayView(file).sliced(metadata.segments.endOfPicture()));
    if (metadata.isFollowed) {
        metadata.blocks.xmp = withoutFollowingData(metadata.blocks.xmp);
        metadata.lost += QStringLiteral("lo que sigue a la imagen (vídeo, otra imagen o mapa de ganancia)");
    }
    return withDecodedExif(std::move(metadata), error);
}

std::optional<PhotoMetadata> ofPng(const QByteArray &file, QString *error)
{
    PhotoMetadata metadata;
    metadata.chunks = PngChunks(file);
    metadata.blocks = metadata.chunks.blocks();
    if (metadata.chunks.contains("acTL"))
        metadata.lost += QStringLiteral("la animación");
    if (!isPadding(QByteArrayView(file).sliced(metadata.chunks.end())))
        metadata.lost += QStringLiteral("lo que sigue a la imagen");
    return withDecodedExif(std::move(metadata), error);
}

std::optional<PhotoMetadata> ofAnother(const QByteArray &file, QString *error)
{
    const std::optional<LibraryMetadata> read = readByLibrary(file, error);
    if (!read)
        return std::nullopt;
    PhotoMetadata metadata;
    metadata.exif = read->exif;
    metadata.blocks = read->blocks;
    if (isTiff(file) && pageCount(file) > 1)
        metadata.lost += QStringLiteral("las páginas después de la primera");
    return metadata;
}

QByteArray keptSegments(const PhotoMetadata &metadata)
{
    QByteArray kept;
    for (const JpegSegment &each : metadata.segments.list()) {
        if (each.kind == Kind::Coding || each.kind == Kind::FurtherPictures ||
            (each.kind == Kind::Profile && metadata.hasForeignProfile))
            continue;
        if (each.kind == Kind::Xmp && metadata.isFollowed)
            kept.append(jpegXmpSegment(withoutFollowingData(each.content.toByteArray())));
        else
            kept.append(each.bytes);
    }
    return kept;
}

// What only segments or chunks of the photo's own format can hold, and nobody else understands.
QStringList privateData(const PhotoMetadata &metadata)
{
    const QList<JpegSegment> &segments = metadata.segments.list();
    const bool has = std::any_of(segments.begin(), segments.end(),
                                 [](const JpegSegment &each) { return each.kind == Kind::Other; });
    return has || metadata.chunks.hasPrivate()
               ? QStringList(QStringLiteral("los datos propios de la cámara o del programa que la guardó"))
               : QStringList();
}

// The blocks in segments, as far as these are large enough.
QByteArray newSegments(MetadataBlocks blocks, QStringList *lost)
{
    if (blocks.xmp.size() > jpegXmpLimit) {
        blocks.xmp.clear();
        lost->append(QStringLiteral("los datos XMP, demasiado grandes para un JPEG"));
    }
    if (blocks.exif.size() > jpegExifLimit) {
        blocks.exif = shortenedExif(blocks.exif, jpegExifLimit);
        lost->append(QStringLiteral("las etiquetas EXIF más grandes"));
    }
    return jpegSegmentsOf(blocks);
}

QByteArray jpegWithMetadata(QByteArray picture, const PhotoMetadata &metadata, QStringList *lost)
{
    if (metadata.segments.list().isEmpty() || metadata.isFresh) {
        *lost += privateData(metadata);
        return jpegWithSegments(std::move(picture), newSegments(metadata.blocks, lost),
                                JpegDensity::OfPicture);
    }
    return jpegWithSegments(std::move(picture), keptSegments(metadata), JpegDensity::OfSegments);
}

QByteArray pngWithMetadata(const QByteArray &picture, const PhotoMetadata &metadata, QStringList *lost)
{
    if (metadata.chunks.list().isEmpty() || metadata.isFresh)
        *lost += privateData(metadata);
    if (metadata.chunks.list().isEmpty())
        return pngWithMetadata(picture, pngMetadataOf(metadata.blocks), PngDensity::OfPicture);
    const bool withProfile = !metadata.hasForeignProfile;
    if (!metadata.isFresh) {
        return pngWithMetadata(picture, metadata.chunks.metadata(PngChunks::Keep::All, withProfile),
                               PngDensity::OfMetadata);
    }
    PngMetadata kept = metadata.chunks.metadata(PngChunks::Keep::WithoutTags, withProfile);
    MetadataBlocks tags;
    tags.exif = metadata.blocks.exif;
    tags.imageResources = metadata.blocks.imageResources;
    kept.before += pngMetadataOf(tags).before;
    return pngWithMetadata(picture, kept, PngDensity::OfMetadata);
}

} // namespace

std::optional<Exiv2::ExifData> readExif(const QByteArray &file, QString *error)
{
    if (JpegSegments::isJpeg(file))
        return decodedExif(JpegSegments(file).first(Kind::Exif).toByteArray(), error);
    if (PngChunks::isPng(file))
        return decodedExif(PngChunks(file).blocks().exif, error);
    std::optional<LibraryMetadata> read = readByLibrary(file, error);
    return read ? std::optional(std::move(read->exif)) : std::nullopt;
}

std::optional<PhotoMetadata> readMetadata(const QByteArray &file, QString *error)
{
    const auto read = JpegSegments::isJpeg(file) ? ofJpeg : PngChunks::isPng(file) ? ofPng : ofAnother;
    std::optional<PhotoMetadata> metadata = read(file, error);
    if (metadata && !metadata->blocks.iccProfile.isEmpty() && !describesRgb(metadata->blocks.iccProfile)) {
        metadata->hasForeignProfile = true;
        metadata->blocks.iccProfile.clear();
        metadata->lost += QStringLiteral("el perfil de color, que no es RGB");
    }
    return metadata;
}

PhotoMetadata withFreshExif(const PhotoMetadata &metadata, const Exiv2::ExifData &exif)
{
    PhotoMetadata fresh = metadata;
    fresh.isFresh = true;
    fresh.exif = exif;
    fresh.blocks.exif = encodedExif(exif);
    fresh.blocks.xmp.clear();
    fresh.blocks.imageResources = withoutPlace(metadata.blocks.imageResources);
    fresh.blocks.comments.removeIf([](const QByteArray &comment) { return comment.startsWith("exif:"); });
    return fresh;
}

std::optional<PhotoContents> withMetadata(QByteArray picture, const PhotoMetadata &metadata, QString *error)
{
    QStringList lost = metadata.lost;
    if (JpegSegments::isJpeg(picture))
        return PhotoContents{jpegWithMetadata(std::move(picture), metadata, &lost), lost};
    if (PngChunks::isPng(picture))
        return PhotoContents{pngWithMetadata(picture, metadata, &lost), lost};
    const std::optional<QByteArray> tiff = tiffWithMetadata(picture, metadata.exif, metadata.blocks, error);
    return tiff ? std::optional(PhotoContents{*tiff, lost + privateData(metadata)}) : std::nullopt;
}
