// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "render/geodesy.h"

#include <QDateTime>
#include <QMap>
#include <QString>

/// The columns of the coordinates file, in their order.
struct CoordinatesColumns {
    enum Column { Name, Zone, Letter, Easting, Northing, Orientation, Date, Altitude };
    static constexpr qsizetype required = Northing + 1; ///< how many a row must have
};

/// One accepted row of the coordinates file.
struct UtmEntry : UtmPosition {
    double orientation = 0.0; ///< degrees, as written
    bool hasOrientation = false;
    QDateTime dateTime; ///< capture time, local
    bool hasDateTime = false;
    double altitude = 0.0; ///< metres, as written
    bool hasAltitude = false;
};

/// Stands in for a position that nobody knows, so that a photo still has a name of the usual form.
inline constexpr UtmPosition fallbackPosition{19, 'J', 500000.0, 6000000.0};

/// The rows by photo file name, exact and case-sensitive.
using CoordinatesTable = QMap<QString, UtmEntry>;

/// The header line of a coordinates file, without line end.
QString coordinatesHeader();

/// Reads a coordinates file: UTF-8 text, one photo per line, fields separated by ";", numbers with a dot.
///
/// Every problem goes to `log` as one line. A row whose zone, easting or northing cannot be read is left out;
/// an unreadable heading, date or altitude leaves out that value alone. Of several rows with one name the
/// last counts. A file that cannot be opened gives an empty table. One whose bytes are not UTF-8 is read as
/// far as it goes, after a line that says so and how to save it right.
CoordinatesTable readCoordinatesFile(const QString &path, const LogCallback &log);
