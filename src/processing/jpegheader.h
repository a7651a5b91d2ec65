// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QIODevice>

/// What stands before the pixels of a JPEG (ITU-T T.81, annex B).
struct JpegHeader {
    QByteArray exif; ///< the EXIF segment as it stands, marker and length included; empty when there is none
    qint64 startOfPixels = 0; ///< behind the first scan header; 0 when this is no whole header of a JPEG

    /// Reads a header from the start of an open device, without reading the pixels.
    static JpegHeader read(QIODevice &device);
};

/// The bytes that end a JPEG.
inline const QByteArray endOfJpeg = QByteArrayLiteral("\xff\xd9");
