// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/exiv2compat.h"

#include <QByteArray>
#include <QSize>
#include <QString>

#include <optional>

/// The metadata of one photo file, as the EXIF library gives it.
struct PhotoMetadata {
    Exiv2::ExifData exif;
    Exiv2::IptcData iptc;
    Exiv2::XmpData xmp;
    QByteArray iccProfile; ///< empty when there is none

    /// The EXIF segment of a JPEG as it stands in the file; empty for other formats, and to be emptied when
    /// `exif` is replaced.
    QByteArray exifSegment;

    /// How the pixels are stored, 1 to 8 (see render/uprightimage.h); 1 when no tag, or none that makes
    /// sense, tells.
    int orientation() const;

    /// Pixels per metre across and down as the EXIF tags give them; nothing when they do not.
    std::optional<QSize> dotsPerMeter() const;
};

/// Reads all metadata of a photo file. Of a TIFF, the tags that describe how its pixels are laid out in the
/// file are left out: they belong to that file alone. Nothing, with the library's text in `error`, when the
/// file cannot be read or is no image. Holds the process-wide metadata lock while the library works.
std::optional<PhotoMetadata> readPhotoMetadata(const QString &path, QString *error);

/// The encoded image `image` (JPEG, PNG or TIFF) with its EXIF, IPTC and XMP data replaced by those of
/// `metadata`, and its colour profile too when `metadata` has one. Nothing, with the library's text in
/// `error`, when it cannot take them. Holds the process-wide metadata lock.
std::optional<QByteArray> withMetadata(const QByteArray &image, const PhotoMetadata &metadata,
                                       QString *error);
