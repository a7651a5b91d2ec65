// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "data/coordinatesfile.h"
#include "files/filestamp.h"

#include <QString>

/// The coordinates file that was read last, which is parsed again only after it has changed.
class CoordinatesCache
{
public:
    /// The rows of a coordinates file; problems in it are not told. A file that cannot be opened gives none.
    CoordinatesTable table(const QString &path);

private:
    QString m_path;
    FileStamp m_stamp;
    CoordinatesTable m_table;
};
