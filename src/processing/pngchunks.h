// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/metadatablocks.h"

#include <QByteArrayView>
#include <QList>

/// One chunk of a PNG: views of the bytes it lies in.
struct PngChunk {
    QByteArrayView type; ///< four letters
    QByteArrayView data;
    QByteArrayView bytes; ///< length, type and check sum included
};

/// Chunks as bytes: those that stand before the pixels and those behind them.
struct PngMetadata {
    QByteArray before;
    QByteArray behind;
};

/// The chunks of a PNG (ISO/IEC 15948, chapter 5).
class PngChunks
{
public:
    PngChunks() = default;

    /// What is no PNG has no chunks; of a file that ends early there are those that are whole.
    explicit PngChunks(const QByteArray &file);

    static bool isPng(const QByteArray &file);

    const QList<PngChunk> &list() const { return m_list; }
    bool contains(QByteArrayView type) const;

    /// Whether there are chunks that stay true when the pixels change, and that no standard knows.
    bool hasPrivate() const;

    /// The offset behind the last chunk.
    qsizetype end() const { return m_end; }

    /// What the chunks hold, decompressed; the colours that a gamma chunk alone describes as a profile.
    MetadataBlocks blocks() const;

    enum class Keep {
        All,
        WithoutTags, ///< EXIF, XMP, IPTC and what nobody knows are left out
    };

    /// The chunks that stay true when the pixels change, to the byte; `withProfile` tells whether the colour
    /// profile is one of them.
    PngMetadata metadata(Keep keep, bool withProfile) const;

private:
    QByteArray m_file; // the views are of it
    QList<PngChunk> m_list;
    qsizetype m_end = 0;
};

/// The chunks that hold `blocks`.
PngMetadata pngMetadataOf(const MetadataBlocks &blocks);

enum class PngDensity {
    OfPicture,  ///< the picture's own
    OfMetadata, ///< what the metadata say, or nothing
};

/// The PNG `picture` with `metadata` in place of all its own.
QByteArray pngWithMetadata(const QByteArray &picture, const PngMetadata &metadata, PngDensity density);
