// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/processoptions.h"
#include "data/coordinatescache.h"

#include <QImage>
#include <QString>

/// One photo as a run would stamp it.
struct StampedPreview {
    QImage picture; ///< at full size, as a viewer shows it; null when there is none
    QString error;  ///< why the engine was not even started; the old preview holds
};

/// Stamps a throw-away copy of a photo with the options of a run, and leaves no other trace: nothing is
/// renamed, backed up or written into an output folder, and no new tags are written.
StampedPreview stampedPreview(const QString &photo, ProcessOptions options, CoordinatesCache &coordinates);
