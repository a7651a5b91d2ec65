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

/// Whether a JPEG of one scan, which has begun, can have no AC coefficient that baseline JPEG cannot code: as
/// its Huffman tables tell.
bool codesOnlyCodableAc(const jpeg_decompress_struct &source);

/// The coefficients of a picture, all components, as far as they are needed at once: a row is there from when
/// it is first asked for until it is let go.
class CoefficientRows : public BlockStore
{
public:
    /// Room for `rows` rows of MCUs at once, zero until they are written. Throws std::bad_alloc when there is
    /// none.
    CoefficientRows(const BlockLayout &layout, int rows, PixelBuffers &buffers);

    JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept override;

    /// Lets go of a row of MCUs. The next one that is asked for takes its place in memory, which is still in
    /// the processor's cache.
    void letGo(int mcuRow) noexcept;

    /// The blocks of a component in a row that is there. Row `index` counts rows of blocks.
    JBLOCKROW row(size_t component, int index) const
    {
        return m_components[component].rows[static_cast<size_t>(index)];
    }

    /// Whether baseline JPEG can code a row. What no picture can hold it cannot: the library does not look
    /// and writes nonsense. With `acIsCodable` only the DC coefficients are looked at.
    bool isCodable(size_t component, int index, bool acIsCodable) const;

    const BlockLayout &layout() const { return m_layout; }
    int blocksAcross(size_t component) const { return m_layout.across[component] * m_layout.mcusAcross; }

private:
    struct Component {
        std::vector<JBLOCKROW> rows; ///< of the whole picture; null where a row is not there
        std::vector<JBLOCKROW> free; ///< the next one is the last
    };

    BlockLayout m_layout;
    std::shared_ptr<uchar> m_memory;
    std::array<Component, 3> m_components;
};

/// A picture in which there is nothing: one row of zeros, whatever is asked for. Only zeros may be written.
class EmptyRows : public BlockStore
{
public:
    explicit EmptyRows(const BlockLayout &layout);

    JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept override;

private:
    std::vector<JCOEF> m_zeros;
    std::array<JBLOCKROW, MAX_SAMP_FACTOR> m_rows{};
};

/// A part of a picture, read from the rows of the whole, which have to be there. What is written, goes to
/// rows that nobody reads: the coding of nothing that a decompressor asks for first.
class PartOfRows : public BlockStore
{
public:
    /// `topLeft` is the first MCU of the part. `unread` has room for a row of it.
    PartOfRows(const CoefficientRows &whole, QPoint topLeft, EmptyRows &unread);

    JBLOCKARRAY rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept override;

private:
    const CoefficientRows &m_whole;
    EmptyRows &m_unread;
    QPoint m_topLeft;
    std::array<JBLOCKROW, MAX_SAMP_FACTOR> m_rows{};
};
