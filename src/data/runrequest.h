// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/processoptions.h"
#include "data/preset.h"

#include <QString>

/// A run as it is asked for, in the window or on the command line.
struct RunRequest {
    QString directory;
    Preset preset;
    bool drawLogo = true;
    RunOptions run;

    /// Why the run cannot start, as a sentence for the user: the first that applies of a missing folder, logo
    /// (with `drawLogo`), coordinates file and output folder. Empty when it can.
    QString refusal() const;

    /// The options of the run: no logo without `drawLogo`, no coordinates file in EXIF mode, no backup copies
    /// with an output folder.
    ProcessOptions options() const;
};
