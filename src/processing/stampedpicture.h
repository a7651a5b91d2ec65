// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/batchrun.h"
#include "processing/photometadata.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// A photo with its stamp, encoded anew; its metadata are still to be put in.
struct StampedPicture {
    bool isImage = false;              ///< false: the photo cannot be decoded
    std::optional<QByteArray> encoded; ///< nothing when it cannot be encoded
    QString error;                     ///< why not

    /// Outside the stamp nothing was lost. Of a JPEG it counts only when that was asked for.
    bool isLossless = false;
};

/// Stamps a photo with what is settled in `data` and encodes it in the format that the file name suffix
/// `suffix` names. Pixels are turned when `data` has another orientation than the photo's own tags.
///
/// Here alone is decided which way a photo goes: by its coefficients where it is a JPEG that stays one with
/// its pixels as they are, otherwise, and where that way is refused, through pixels.
StampedPicture stampedPicture(const QByteArray &photo, const PhotoMetadata &metadata, const OverlayData &data,
                              const QString &suffix, const BatchRun &run);
