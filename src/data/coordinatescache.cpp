// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatescache.h"

CoordinatesTable CoordinatesCache::table(const QString &path)
{
    // Taken before the file is read: what is written meanwhile makes the stamp an old one.
    const FileStamp stamp = FileStamp::of(path);
    if (path != m_path || !(stamp == m_stamp)) {
        m_table = readCoordinatesFile(path, [](const QString &) {});
        m_path = path;
        m_stamp = stamp;
    }
    return m_table;
}
