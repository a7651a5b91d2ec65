// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QIODevice>

/// Writes all of `contents`, in as many steps as it takes: the write that fills a disk up is only short, and
/// it is the next one that tells the reason. Returns false, with the reason in the device's error text, when
/// that cannot be done.
inline bool writeAll(QIODevice &device, const QByteArray &contents)
{
    qint64 written = 0;
    while (written < contents.size()) {
        const qint64 count = device.write(contents.constData() + written, contents.size() - written);
        if (count <= 0)
            return false;
        written += count;
    }
    return true;
}
