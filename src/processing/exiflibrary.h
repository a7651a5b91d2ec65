// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/exiv2compat.h"
#include "processing/metadatablocks.h"

#include <QString>

#include <optional>

/// The work that is left to the EXIF library. It is not thread-safe everywhere: each function holds the one
/// lock of the process while the library works, and nothing but the library works meanwhile.

/// The tags in a TIFF structure. None when it is damaged beyond reading, or empty. Nothing, with the
/// library's text in `error`, when it gives up.
std::optional<Exiv2::ExifData> decodedExif(const QByteArray &structure, QString *error);

/// A TIFF structure with `exif`; empty without tags.
QByteArray encodedExif(const Exiv2::ExifData &exif);

/// A TIFF structure with the tags of another, less the largest ones that keep it from fitting into `limit`
/// bytes; position and dates are small.
QByteArray shortenedExif(const QByteArray &structure, qsizetype limit);

/// What a file that is neither JPEG nor PNG holds.
struct LibraryMetadata {
    Exiv2::ExifData exif; ///< without the tags that describe the pixels of this one file
    MetadataBlocks blocks;
};

/// Nothing, with the library's text in `error`, when the file is no image that the library knows.
std::optional<LibraryMetadata> readByLibrary(const QByteArray &file, QString *error);

/// The TIFF `picture` with EXIF, IPTC and XMP data replaced, and its colour profile too when there is one;
/// the EXIF data are `exif`. Nothing, with the library's text in `error`, when it cannot take them.
std::optional<QByteArray> tiffWithMetadata(const QByteArray &picture, const Exiv2::ExifData &exif,
                                           const MetadataBlocks &blocks, QString *error);
