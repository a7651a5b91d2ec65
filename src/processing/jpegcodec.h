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

/// Encodes an image of Format_RGB32 as a baseline JPEG with halved colour resolution (4:2:0) and the density
/// of the image. `quality` is 1 to 100. Nothing, with the reason in `error`, on failure.
std::optional<QByteArray> encodedJpeg(const QImage &image, int quality, QString *error);
