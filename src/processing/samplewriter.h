// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"

#include <QString>

/// Where the sample file takes its lines from.
struct SampleSource {
    QString directory; ///< folder of photos
    bool includeSubfolders = false;
    bool fromExif = true; ///< otherwise placeholders and the current time
};

/// Writes a coordinates file with one line for each photo of a folder, in the order of the walk. Each photo
/// is read once. Photos without a position get placeholders, and `log` a line; then it gets the path of the
/// file. False when the file cannot be written: what was there stays, `log` gets that line alone and `error`
/// the reason.
bool writeSampleFile(const QString &path, const SampleSource &source, const LogCallback &log, QString *error);
