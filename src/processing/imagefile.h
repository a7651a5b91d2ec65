// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/pixelbuffers.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

/// Decodes a photo by its contents, whatever its name says, with its pixels as they are stored, in a format
/// that can be painted on in full colour. Null when it cannot be read, or claims to be larger than memory
/// should ever be asked for.
QImage readImage(const QString &path, PixelBuffers &buffers);

/// Encodes `image` in a format named as a file suffix is ("jpg", "JPEG", "tiff", "png"). `quality` is 1 to
/// 100 and counts for JPEG. For JPEG an image with transparency is laid on white. Nothing, with the reason in
/// `error`, on failure.
std::optional<QByteArray> encodedImage(const QImage &image, const QString &suffix, int quality,
                                       QString *error);

/// Whether a colour profile (ICC.1, header bytes 16 to 19) describes RGB pixels.
bool describesRgb(const QByteArray &iccProfile);
