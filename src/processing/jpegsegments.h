// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/metadatablocks.h"

#include <QByteArrayView>
#include <QList>

/// One segment of a JPEG: views of the bytes it lies in.
struct JpegSegment {
    enum class Kind {
        Coding, ///< needed to decode the pixels
        Jfif,
        Exif,
        Xmp,
        ExtendedXmp,
        Profile,
        ImageResources,
        Comment,
        FurtherPictures, ///< describes pictures that follow the first
        Other,
    };

    Kind kind = Kind::Coding;
    QByteArrayView bytes;   ///< marker and length included
    QByteArrayView content; ///< behind marker, length and the name that tells the kind
};

/// The segments of a JPEG (ITU-T T.81, annex B) up to and with the header of its first scan.
class JpegSegments
{
public:
    JpegSegments() = default;

    /// `file` may be the beginning of a file; what is no JPEG has no segments.
    explicit JpegSegments(const QByteArray &file);

    static bool isJpeg(const QByteArray &file);

    const QList<JpegSegment> &list() const { return m_list; }

    /// The content of the first segment of a kind; empty when there is none.
    QByteArrayView first(JpegSegment::Kind kind) const;

    /// The contents of all segments of a kind, one behind the other.
    QByteArray joined(JpegSegment::Kind kind) const;

    /// The offset behind the first scan header, 0 when the file ends before.
    qsizetype startOfPixels() const { return m_startOfPixels; }

    /// The offset behind the first picture; what is left is something else.
    qsizetype endOfPicture() const;

    MetadataBlocks blocks() const;

private:
    QByteArray m_file; // the views are of it
    QList<JpegSegment> m_list;
    qsizetype m_startOfPixels = 0;
};

/// The largest EXIF structure and XMP packet that a segment holds.
inline constexpr qsizetype jpegExifLimit = 65533 - 6;
inline constexpr qsizetype jpegXmpLimit = 65533 - 29;

/// The segments that hold `blocks`, EXIF first. EXIF and XMP must not exceed their limits.
QByteArray jpegSegmentsOf(const MetadataBlocks &blocks);

/// A segment that holds an XMP packet.
QByteArray jpegXmpSegment(const QByteArray &packet);

enum class JpegDensity {
    OfPicture,  ///< the JFIF header of the picture stays
    OfSegments, ///< the density is what the segments say, or nothing
};

/// The JPEG `picture` with `segments` in place of all its own metadata. One that ends before its pixels stays
/// as it is.
QByteArray jpegWithSegments(QByteArray picture, const QByteArray &segments, JpegDensity density);
