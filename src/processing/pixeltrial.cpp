// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/pixeltrial.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace
{

// Samples are this wide and, one below the other, this high, in pixels: 0.5 % of 12 megapixels.
constexpr QSize sampled(96, 640);

// At the ends of a sample, in MCUs, the next one shows: its chroma is smoothed into this one's.
constexpr int margin = 1;

// The mean squared error at a PSNR of 37 dB. Beyond it the ways differ by less than 0.2 dB even where every
// coefficient lies halfway.
constexpr double mostError = 13.0;

// 0.22 dB: samples are right to some 0.1 dB, and by more than 0.3 dB no photo shall be farther.
constexpr double muchNearer = 0.9506;

BlockLayout sideBySide(BlockLayout layout, int mcus)
{
    layout.mcusAcross = mcus;
    layout.mcusDown = 1;
    return layout;
}

} // namespace

PixelTrial::PixelTrial(const BlockLayout &layout, QList<QRect> stamped)
    : m_whole(layout)
    , m_mcu(QSize(*std::max_element(layout.across.begin(), layout.across.end()),
                  *std::max_element(layout.down.begin(), layout.down.end())) *
            DCTSIZE)
    , m_stamped(std::move(stamped))
    , m_across(std::min(sampled.width() / m_mcu.width(), layout.mcusAcross))
    , m_most(sampled.height() / m_mcu.height())
    , m_samples(sideBySide(layout, m_across * m_most), 1, m_buffers)
{
}

void PixelTrial::takeFrom(const CoefficientRows &rows, int mcuRow)
{
    if (m_across <= 2 * margin)
        return;
    const qint64 due = qint64(mcuRow + 1) * m_most / m_whole.mcusDown;
    while (m_tried < due) {
        // Multiples of the golden section, less their integer part, spread evenly however many there are.
        constexpr double goldenSection = 0.6180339887;
        const double place = std::fmod(++m_tried * goldenSection, 1.0);
        const QRect mcus(static_cast<int>(place * (m_whole.mcusAcross - m_across + 1)), mcuRow, m_across, 1);
        if (std::none_of(m_stamped.begin(), m_stamped.end(),
                         [&mcus](const QRect &stamped) { return stamped.intersects(mcus); }))
            take(rows, mcus.topLeft());
    }
}

void PixelTrial::take(const CoefficientRows &rows, QPoint mcu)
{
    for (size_t component = 0; component < m_whole.across.size(); ++component) {
        const int down = m_whole.down[component];
        const ptrdiff_t across = m_whole.across[component];
        const JBLOCKARRAY samples = m_samples.rows(component, 0, static_cast<JDIMENSION>(down), true);
        for (int row = 0; row < down; ++row)
            std::memcpy(samples[row] + ptrdiff_t(m_taken) * m_across * across,
                        rows.row(component, mcu.y() * down + row) + mcu.x() * across,
                        static_cast<size_t>(m_across * across) * sizeof(JBLOCK));
    }
    ++m_taken;
}

bool PixelTrial::isNearerThroughPixels(const std::array<Requantiser, 3> &requantisers, const Decode &decode,
                                       int quality, ChromaSampling sampling)
{
    const QSize size(m_taken * m_across * m_mcu.width(), m_mcu.height());
    QImage photo = m_buffers.image(size);
    QImage requantised = m_buffers.image(size);
    if (photo.isNull() || requantised.isNull() || !decode(m_samples, false, photo))
        return false;
    for (size_t component = 0; component < requantisers.size(); ++component) {
        for (int row = 0; row < m_whole.down[component]; ++row)
            requantisers[component].convert(m_samples.row(component, row), m_samples.blocksAcross(component));
    }
    if (!decode(m_samples, true, requantised))
        return false;
    const double error = squaredError(photo, requantised);
    if (error > mostError)
        return false;
    QString reason;
    const std::optional<QByteArray> encoded = encodedJpeg(photo, quality, sampling, &reason);
    constexpr int fewMegabytes = 64;
    const QImage throughPixels = encoded ? decodedJpeg(*encoded, fewMegabytes, m_buffers) : QImage();
    return !throughPixels.isNull() && squaredError(photo, throughPixels) < muchNearer * error;
}

// The mean over all channels of what is within the margins.
double PixelTrial::squaredError(const QImage &photo, const QImage &result) const
{
    constexpr int bytes = 4; // of a pixel; the one that holds no channel is always the same
    constexpr int channels = 3;
    const int inner = (m_across - 2 * margin) * m_mcu.width() * bytes;
    qint64 sum = 0;
    for (int y = 0; y < photo.height(); ++y) {
        for (int sample = 0; sample < m_taken; ++sample) {
            const ptrdiff_t left = ptrdiff_t(sample * m_across + margin) * m_mcu.width() * bytes;
            const uchar *one = photo.constScanLine(y) + left;
            const uchar *other = result.constScanLine(y) + left;
            int ofRow = 0;
            for (int at = 0; at < inner; ++at)
                ofRow += (one[at] - other[at]) * (one[at] - other[at]);
            sum += ofRow;
        }
    }
    return static_cast<double>(sum) * bytes / channels / (double(inner) * photo.height() * m_taken);
}
