// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

/// The XMP packet without the properties that tell of what follows the first picture of a JPEG: a gain map
/// (hdrgm:*), a list of pictures (Container:*), a video (GCamera:Motion*, GCamera:MicroVideo*). Every other
/// byte stays, also in a packet that is no well-formed XML.
QByteArray withoutFollowingData(const QByteArray &packet);
