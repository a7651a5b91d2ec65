// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/exiv2compat.h"
#include "processing/jpegsegments.h"
#include "processing/metadatablocks.h"
#include "processing/pngchunks.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// What a photo carries beside its pixels: understood, as blocks that fit into any format, and as it stands
/// in the file.
struct PhotoMetadata {
    Exiv2::ExifData exif;
    MetadataBlocks blocks;
    JpegSegments segments;          ///< of a JPEG
    PngChunks chunks;               ///< of a PNG
    bool isFresh = false;           ///< `exif` was made anew and is not what segments and chunks hold
    bool isFollowed = false;        ///< something stands behind the picture of a JPEG
    bool hasForeignProfile = false; ///< the colour profile does not describe RGB pixels, and is not kept
    QStringList lost;               ///< what no result can hold, in words for the user
};

/// The EXIF tags of a photo file. Nothing, with the reason in `error`, when it is no image. The beginning of
/// a JPEG, up to its pixels, is enough.
std::optional<Exiv2::ExifData> readExif(const QByteArray &file, QString *error);

/// All metadata of a photo file.
std::optional<PhotoMetadata> readMetadata(const QByteArray &file, QString *error);

/// The metadata with `exif` in place of all tags: nothing is left that tells of another position, neither XMP
/// nor what cameras keep in segments of their own, nor the place names of IPTC.
PhotoMetadata withFreshExif(const PhotoMetadata &metadata, const Exiv2::ExifData &exif);

/// A complete file, and what it could not take of the metadata, in words for the user.
struct PhotoContents {
    QByteArray bytes;
    QStringList lost;
};

/// The encoded picture (JPEG, PNG or TIFF) with `metadata` in place of its own. What its format can hold as
/// it stood in the file stays so to the byte. Nothing, with the reason in `error`, on failure.
std::optional<PhotoContents> withMetadata(QByteArray picture, const PhotoMetadata &metadata, QString *error);
