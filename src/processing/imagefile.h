// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/jpegcodec.h"
#include "processing/pixelbuffers.h"

#include <QByteArray>
#include <QImage>
#include <QString>

#include <optional>

/// Decodes an image file by its contents, whatever its name says, with its pixels as they are stored, in a
/// format that can be painted on in full colour; of several pages the first. Null when it is no image, or
/// claims to be larger than memory should ever be asked for.
QImage decodedImage(const QByteArray &file, PixelBuffers &buffers);

/// The same from a file on the disk.
QImage readImage(const QString &path, PixelBuffers &buffers);

/// A photo as a viewer shows it, turned as its orientation tag says.
QImage viewedImage(const QString &path);

/// How many images a file holds, as far as Qt can tell.
int pageCount(const QByteArray &file);

/// Whether an image of this size in pixels may be decoded; what claims more is not believed.
bool isCredible(QSize size);

/// Whether a file name suffix means JPEG.
bool isJpegSuffix(const QString &suffix);

/// Encodes `image` in a format named as a file suffix is ("jpg", "JPEG", "tiff", "png"). `quality` and
/// `sampling` count for JPEG, see `encodedJpeg`. For JPEG an image with transparency is laid on white.
/// Nothing, with the reason in `error`, on failure.
std::optional<QByteArray> encodedImage(const QImage &image, const QString &suffix, int quality,
                                       ChromaSampling sampling, QString *error);
