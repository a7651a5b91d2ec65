// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/coefficientrows.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <utility>

namespace
{

// Beyond it a header is not believed.
constexpr size_t mostBytes = size_t(2048) * 1024 * 1024;

} // namespace

CoefficientRows::CoefficientRows(const BlockLayout &layout, int rows, PixelBuffers &buffers)
    : m_layout(layout)
{
    size_t blocks = 0;
    for (size_t component = 0; component < m_components.size(); ++component) {
        const auto down = static_cast<size_t>(layout.down[component]);
        m_components[component].rows.resize(static_cast<size_t>(layout.mcusDown) * down);
        m_components[component].free.resize(static_cast<size_t>(rows) * down);
        blocks += m_components[component].free.size() * static_cast<size_t>(blocksAcross(component));
    }
    if (blocks * sizeof(JBLOCK) <= mostBytes)
        m_memory = buffers.memory(blocks * sizeof(JBLOCK));
    if (!m_memory)
        throw std::bad_alloc();

    auto *next = reinterpret_cast<JBLOCKROW>(m_memory.get());
    for (size_t component = 0; component < m_components.size(); ++component) {
        for (JBLOCKROW &row : m_components[component].free) {
            row = next;
            next += blocksAcross(component);
        }
    }
}

JBLOCKARRAY CoefficientRows::rows(size_t component, JDIMENSION first, JDIMENSION count, bool) noexcept
{
    Component &kept = m_components[component];
    for (JDIMENSION index = first; index < first + count; ++index) {
        if (kept.rows[index])
            continue;
        if (kept.free.empty())
            return nullptr;
        kept.rows[index] = kept.free.back();
        kept.free.pop_back();
        std::memset(kept.rows[index], 0, static_cast<size_t>(blocksAcross(component)) * sizeof(JBLOCK));
    }
    return kept.rows.data() + first;
}

void CoefficientRows::letGo(int mcuRow) noexcept
{
    for (size_t component = 0; component < m_components.size(); ++component) {
        Component &kept = m_components[component];
        const auto down = static_cast<size_t>(m_layout.down[component]);
        const size_t first = static_cast<size_t>(mcuRow) * down;
        for (size_t index = first; index < first + down; ++index)
            kept.free.push_back(std::exchange(kept.rows[index], nullptr));
    }
}

bool codesOnlyCodableAc(const jpeg_decompress_struct &source)
{
    constexpr int mostBits = 10;
    const auto isShort = [](UINT8 symbol) {
        return (symbol & 15) <= mostBits;
    };
    return !source.arith_code &&
           std::all_of(source.comp_info, source.comp_info + source.num_components,
                       [&](const jpeg_component_info &component) {
                           const JHUFF_TBL *table = source.ac_huff_tbl_ptrs[component.ac_tbl_no];
                           return table &&
                                  std::all_of(std::begin(table->huffval), std::end(table->huffval), isShort);
                       });
}

bool CoefficientRows::isCodable(size_t component, int index, bool acIsCodable) const
{
    constexpr JCOEF most = 1023;
    const JBLOCKROW blocks = row(component, index);
    const auto isWithin = [](const JCOEF *first, const JCOEF *end) {
        JCOEF lowest = 0;
        JCOEF highest = 0;
        for (; first != end; ++first) {
            lowest = std::min(lowest, *first);
            highest = std::max(highest, *first);
        }
        return lowest >= -most && highest <= most;
    };
    if (!acIsCodable && isWithin(blocks[0], blocks[blocksAcross(component)]))
        return true;
    return std::all_of(blocks, blocks + blocksAcross(component), [&](const JBLOCK &block) {
        // black is the one value more that a DC coefficient has
        return block[0] >= -most - 1 && block[0] <= most &&
               (acIsCodable || isWithin(block + 1, block + DCTSIZE2));
    });
}

EmptyRows::EmptyRows(const BlockLayout &layout)
{
    const int widest = *std::max_element(layout.across.begin(), layout.across.end()) * layout.mcusAcross;
    m_zeros.resize(static_cast<size_t>(widest) * DCTSIZE2);
    m_rows.fill(reinterpret_cast<JBLOCKROW>(m_zeros.data()));
}

JBLOCKARRAY EmptyRows::rows(size_t, JDIMENSION, JDIMENSION, bool) noexcept
{
    return m_rows.data();
}

PartOfRows::PartOfRows(const CoefficientRows &whole, QPoint topLeft, EmptyRows &unread)
    : m_whole(whole)
    , m_unread(unread)
    , m_topLeft(topLeft)
{
}

JBLOCKARRAY PartOfRows::rows(size_t component, JDIMENSION first, JDIMENSION count, bool toWrite) noexcept
{
    if (toWrite)
        return m_unread.rows(component, first, count, true);
    const BlockLayout &layout = m_whole.layout();
    const int top = m_topLeft.y() * layout.down[component] + static_cast<int>(first);
    for (JDIMENSION row = 0; row < count; ++row)
        m_rows[row] = m_whole.row(component, top + static_cast<int>(row)) +
                      static_cast<ptrdiff_t>(m_topLeft.x()) * layout.across[component];
    return m_rows.data();
}
