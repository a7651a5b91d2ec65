// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "data/coordinatesfile.h"
#include "processing/journal.h"
#include "processing/pixelbuffers.h"
#include "processing/runfiles.h"
#include "render/overlay.h"

#include <optional>

/// What the photos of one run share. What the tasks change takes care of its threads itself.
struct BatchRun {
    const ProcessOptions &options;
    const LogCallback &log;                ///< for the lines that do not wait for the end of the run
    QString directory;                     ///< root of the run, absolute
    std::optional<CoordinatesTable> table; ///< none in EXIF mode or without a coordinates file
    OverlayResources resources;
    RunFiles &files;
    PixelBuffers &buffers;
    Journal *journal = nullptr; ///< none: the run cannot be taken up again
};
