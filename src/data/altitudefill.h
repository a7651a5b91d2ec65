// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "data/elevationaccess.h"

#include <QString>

/// Asks an elevation service for the ground altitude at every row of a coordinates file, writes the answers
/// into its column "altitud", which is added where it is missing, and replaces the file by one atomic write.
///
/// Rows that have an altitude are asked for only with `overwrite`. A row without usable position or answer
/// stays byte for byte as it is; every line then ends with a line feed alone, and a byte order mark stays.
/// The requests go out one after the other, each followed by the pause of `access`; the calling thread is
/// held up until the last one, in event loops of its own while a request is under way.
///
/// Everything that happens goes to `log`, which must be callable, the addresses with the key included.
/// `progress`, which may be empty, gets (0, rows), then one call per row. Without a file that can be read and
/// written, or a key for Google, nothing is written; nor once `stopRequested`, which may be empty and is
/// asked between the rows and while the thread waits, says yes.
void fillAltitudesFromApi(const QString &csvPath, const QString &provider, const QString &apiKey,
                          bool overwrite, const LogCallback &log, const ProgressCallback &progress,
                          const ElevationAccess &access = elevationAccess(),
                          const StopRequest &stopRequested = {});
