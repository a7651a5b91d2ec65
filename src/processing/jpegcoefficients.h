// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/pixelbuffers.h"
#include "render/overlay.h"

#include <QByteArray>
#include <QSize>

#include <optional>

/// How the picture of a stamped JPEG is coded.
struct JpegCoding {
    int quality = 90; ///< as in `encodedJpeg`

    /// The tables stay the photo's own, so that no coefficient changes outside the stamp; `quality` does not
    /// count.
    bool keepTables = false;

    QSize dotsPerMeter =
        {}; ///< the density written when the photo's JFIF header gives none; empty: no density
};

/// Stamps a JPEG without decoding what the stamp leaves alone.
///
/// A JPEG holds its picture as blocks of coefficients (ITU-T T.81, annex A). Here they are read row by row;
/// the rectangles that the overlay paints on are cut out on whole MCUs, decoded, painted, encoded with the
/// photo's own chroma sampling, and the MCUs in which a pixel has changed are put back; all other
/// coefficients are requantised to the tables of the quality, or stay as they are; and the rows are written.
/// Only the rows that a rectangle needs at once are in memory, unless the JPEG has several scans.
///
/// The result is a baseline JPEG of a picture alone: a JFIF header (and, for a picture that is stored as RGB,
/// an Adobe marker), tables and one scan. No metadata segment of `jpeg` is in it.
///
/// What is requantised is as near to the photo as it would be through pixels, or nearer, but for 0.3 dB of
/// PSNR: a photo for which samples show otherwise (`PixelTrial`) has to go through pixels.
///
/// Nothing when the photo has to go through pixels: it is not of three components in YCbCr or RGB with 8
/// bits, is damaged or gives the library any reason to warn, the overlay is laid out for another size; unless
/// the tables are kept also when its chroma sampling is none of 4:4:4, 4:2:2, 4:4:0 and 4:2:0, the stamp
/// covers more than half of it, or it comes out nearer through pixels.
std::optional<QByteArray> stampedByCoefficients(const QByteArray &jpeg, const Overlay &overlay,
                                                const JpegCoding &coding, PixelBuffers &buffers);
