// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/pixelbuffers.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

/// JPEG straight from and to the pixel format that is painted on. Qt's own reader and writer convert every
/// pixel once more each way, a fifth of the time that a photo takes.

/// Decodes a JPEG in colour or grey to Format_RGB32, with the density of its JFIF header, if any. A file that
/// ends early gives what there is of it. Null when `encoded` is no such JPEG (a CMYK one included), is
/// damaged, or would take more than `limitMegabytes` of memory.
QImage decodedJpeg(const QByteArray &encoded, int limitMegabytes, PixelBuffers &buffers);

/// At which part of the picture's resolution, across and down, the colours of a JPEG are stored.
enum class ChromaSampling {
    Full,       ///< 4:4:4
    HalfAcross, ///< 4:2:2
    HalfDown,   ///< 4:4:0
    Half,       ///< 4:2:0
};

struct JpegFormat {
    QSize size; ///< in pixels; empty when there is no header of a JPEG

    /// The sampling that the photo keeps: its own where that is one of these, otherwise, and for what is no
    /// JPEG in colour, 4:2:0.
    ChromaSampling sampling = ChromaSampling::Half;
};

/// What the header of a JPEG says.
JpegFormat jpegFormatOf(const QByteArray &encoded);

/// The quality of an encoder, 1 to 100, as Qt's image writer understands it: below 0 it is 75.
int encoderQuality(int quality);

/// Encodes an image of Format_RGB32 as a baseline JPEG with the density of the image. `quality` is as
/// in `encoderQuality`. Nothing, with the reason in `error`, on failure.
std::optional<QByteArray> encodedJpeg(const QImage &image, int quality, ChromaSampling sampling,
                                      QString *error);
