// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/jpegheader.h"

JpegHeader JpegHeader::read(QIODevice &device)
{
    constexpr uchar startOfScan = 0xda;
    constexpr uchar application1 = 0xe1;
    const QByteArray exifName = QByteArrayLiteral("Exif\0\0");

    JpegHeader header;
    if (device.read(2) != "\xff\xd8")
        return header;
    while (true) {
        const QByteArray start = device.read(4);
        if (start.size() < 4 || static_cast<uchar>(start[0]) != 0xff)
            return header;
        const auto marker = static_cast<uchar>(start[1]);
        const int length =
            static_cast<uchar>(start[2]) << 8 | static_cast<uchar>(start[3]); // with its own two bytes
        const QByteArray payload = device.read(qMax(0, length - 2));
        if (length < 2 || payload.size() < length - 2)
            return header;
        if (marker == application1 && header.exif.isEmpty() && payload.startsWith(exifName))
            header.exif = start + payload;
        if (marker == startOfScan) {
            header.startOfPixels = device.pos();
            return header;
        }
    }
}
