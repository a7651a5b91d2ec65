// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/callbacks.h"
#include "core/processoptions.h"
#include "data/coordinatesfile.h"
#include "files/safewrite.h"
#include "processing/pixelbuffers.h"
#include "render/overlay.h"

#include <QSet>
#include <QStringList>

#include <optional>

/// What the photos of one run share. What the tasks change takes care of its threads itself.
struct BatchRun {
    const ProcessOptions &options;
    const LogCallback &log;                ///< for the lines that do not wait for the end of the run
    QString directory;                     ///< root of the run, absolute
    QSet<QString> photos;                  ///< absolute paths of all photos of the run
    bool outputInsideRoot = false;         ///< the output folder is the root or lies inside it
    std::optional<CoordinatesTable> table; ///< none in EXIF mode or without a coordinates file
    OverlayResources resources;
    FilePlacer &placer;
    PixelBuffers &buffers;
};
