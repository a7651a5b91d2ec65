// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/coefficientrows.h"
#include "processing/jpegcodec.h"
#include "processing/pixelbuffers.h"
#include "processing/requantiser.h"

#include <QList>
#include <QRect>

#include <array>
#include <functional>

/// Tries on samples whether a photo would be nearer to what it was if it went through pixels than if its
/// coefficients are requantised.
///
/// The way through pixels rounds once more; but so does whoever shows the photo, and only that way sees how.
/// What this does depends on how the photo's coefficients lie between the steps of the other table: where
/// many of them are halfway, its errors are smaller by 1 dB or more; elsewhere they are larger by as much or
/// by far more. Neither the quality nor the tables tell.
class PixelTrial
{
public:
    /// Decodes the first samples, as many as fit into `pixels`. Those that are `requantised` have the tables
    /// of the result. False on failure.
    using Decode = std::function<bool(const CoefficientRows &samples, bool requantised, QImage &pixels)>;

    /// `stamped` are the rectangles, in MCUs, that do not count.
    PixelTrial(const BlockLayout &layout, QList<QRect> stamped);

    /// Takes the samples that are due from a row of MCUs. To be called with every row, from the first one on,
    /// while it is as it is in the photo.
    void takeFrom(const CoefficientRows &rows, int mcuRow);

    /// Whether the samples are nearer through pixels, at a quality as in `encodedJpeg`, by more than some
    /// 0.2 dB of PSNR. False when the PSNR is so low that they cannot be, there are no samples or one cannot
    /// be decoded. Requantises the samples: to be called once.
    bool isNearerThroughPixels(const std::array<Requantiser, 3> &requantisers, const Decode &decode,
                               int quality, ChromaSampling sampling);

private:
    void take(const CoefficientRows &rows, QPoint mcu);
    double squaredError(const QImage &photo, const QImage &result) const;

    PixelBuffers m_buffers; ///< for little: those for whole photos are not to be filled with it
    BlockLayout m_whole;
    QSize m_mcu; ///< in pixels
    QList<QRect> m_stamped;
    int m_across; ///< MCUs of a sample
    int m_most;   ///< samples
    int m_taken = 0;
    int m_tried = 0;
    CoefficientRows m_samples; ///< side by side
};
