// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

/// Photoshop image resources: blocks with a number, of which one holds IPTC data (IIM 4.2).

/// `block` as image resources, whether it is that already or bare IPTC data.
QByteArray asImageResources(const QByteArray &block);

/// The IPTC data in image resources; empty when there are none.
QByteArray iptcIn(const QByteArray &resources);

/// The image resources without what tells where a photo was taken: the place names of IPTC, and copies of
/// EXIF and XMP data. Everything else stays to the byte.
QByteArray withoutPlace(const QByteArray &resources);

/// The image resources with other IPTC data, or without when `iptc` is empty.
QByteArray withIptc(const QByteArray &resources, const QByteArray &iptc);
