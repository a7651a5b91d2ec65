// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayList>

/// What a photo carries beside its pixels, freed from the file format that held it. What is missing is empty.
struct MetadataBlocks {
    QByteArray exif;           ///< a TIFF structure, as behind "Exif\0\0" in a JPEG
    QByteArray xmp;            ///< the packet
    QByteArray imageResources; ///< Photoshop image resources, IPTC among them
    QByteArray iccProfile;
    QByteArrayList comments; ///< UTF-8, or bytes of an encoding that nobody knows
};

/// Whether a colour profile (ICC.1, header bytes 16 to 19) describes RGB pixels.
inline bool describesRgb(const QByteArray &iccProfile)
{
    return iccProfile.mid(16, 4) == "RGB ";
}
