// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatescache.h"

CoordinatesTable CoordinatesCache::table(const QString &path)
{
    if (path != m_path || !m_stamp.isStill(path)) {
        // Taken before the file is read: what is written meanwhile makes the stamp an old one.
        m_stamp = FileStamp::of(path);
        m_stamp.letGo();
        m_table = readCoordinatesFile(path, [](const QString &) {});
        m_path = path;
    }
    return m_table;
}
