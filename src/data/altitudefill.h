// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "data/elevationaccess.h"

#include <QString>

/// Asks an elevation service for the altitude at the position of every row of a coordinates file, writes the
/// answers into the column "altitud" (added when there is none) and saves the file in place, in one step.
/// With `overwrite` off, rows that have an altitude are left as they are.
///
/// `provider` and `apiKey` are those of `ElevationService`. Blocks, one request after the other, for as long
/// as the service takes; to be called from a thread that may block. Everything that happens goes to `log`;
/// `progress` is called with (0, rows) and after every row. When the file cannot be read or saved, or the key
/// is missing, it stays as it is.
void fillAltitudesFromApi(const QString &csvPath, const QString &provider, const QString &apiKey,
                          bool overwrite, const LogCallback &log, const ProgressCallback &progress,
                          const ElevationAccess &access = elevationAccess());
