// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "processing/jpegobject.h"
#include "processing/pixelbuffers.h"

#include <QPoint>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

/// How the blocks of a JPEG's components lie together.
struct BlockLayout {
    std::array<int, 3> across{}; ///< blocks of each component in an MCU
    std::array<int, 3> down{};
    int mcusAcross = 0;
    int mcusDown = 0;

    /// The layout of an image of `width` × `height` pixels with the sampling factors of `info`.
    template <typename Info>
    static BlockLayout of(const Info &info, JDIMENSION width, JDIMENSION height)
    {
        BlockLayout layout;
        int mostAcross = 1;
        int mostDown = 1;
        for (size_t component = 0; component < layout.across.size(); ++component) {
            layout.across[component] = info.comp_info[component].h_samp_factor;
            layout.down[component] = info.comp_info[component].v_samp_factor;
            mostAcross = std::max(mostAcross, layout.across[component]);
            mostDown = std::max(mostDown, layout.down[component]);
        }
        const auto steps = [](JDIMENSION pixels, int blocks) {
            const int step = blocks * DCTSIZE;
            return (static_cast<int>(pixels) + step - 1) / step;
        };
        layout.mcusAcross = steps(width, mostAcross);
        layout.mcusDown = steps(height, mostDown);
        return layout;
    }
};

/// The coefficients of some rows of MCUs, all components: a window that moves down a picture as its rows are
/// asked for.
class CoefficientRows : public BlockStore
{
public:
    /// Room for `rows` rows of MCUs at once, zero until they are written. Throws std::bad_alloc when there is
    /// none.
    CoefficientRows(const BlockLayout &layout, int rows, PixelBuffers &buffers);

    JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept override;

    /// The blocks of a component in a row of the window. Row `index` counts rows of blocks.
    JBLOCKROW row(size_t component, int index) const;

    /// Whether baseline JPEG can code a row. What no picture can hold it cannot: the library does not look
    /// and writes nonsense.
    bool isCodable(size_t component, int index) const;

    const BlockLayout &layout() const { return m_layout; }
    int blocksAcross(size_t component) const { return m_layout.across[component] * m_layout.mcusAcross; }

private:
    struct Component {
        std::vector<JBLOCKROW> rows;
        JDIMENSION used = 0; ///< rows that have been asked for, from the first one on
    };

    BlockLayout m_layout;
    std::shared_ptr<uchar> m_memory;
    std::array<Component, 3> m_components;
};

/// A part of a picture, read from the rows of the whole, which have to be in memory. What is written, goes to
/// rows that nobody reads: the coding of nothing that a decompressor asks for first.
class PartOfRows : public BlockStore
{
public:
    /// `topLeft` is the first MCU of the part. `unread` has room for a row of it.
    PartOfRows(const CoefficientRows &whole, QPoint topLeft, CoefficientRows &unread);

    JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept override;

private:
    const CoefficientRows &m_whole;
    CoefficientRows &m_unread;
    QPoint m_topLeft;
    std::array<JBLOCKROW, MAX_SAMP_FACTOR> m_rows{};
};
