// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/requantiser.h"

#include <algorithm>
#include <bit>

// Most processors of today do sixteen coefficients at a time; which this is, is found out at the start.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__)
#define VELMARO_WIDEST_VECTORS [[gnu::target_clones("avx2", "default")]]
#else
#define VELMARO_WIDEST_VECTORS
#endif

// The division by a step d is two multiplications that keep the upper 16 bits, which processors do eight at a
// time. With u = 2v + 1 and D = 2d, floor(v / d) = floor(u / D). Let k = floor(log2 D) and
// m = ceil(2^(16 + k) / D) - 1. Then m < 2^16, and u × m / 2^(16 + k) falls short of u / D by no more than
// u / 2^(16 + k), which is below 1 / D for u < 2^15; u is odd and D even, so the integer part stays the same.
Requantiser::Requantiser(const JQUANT_TBL &from, const JQUANT_TBL &to)
{
    constexpr uint32_t mostValue = 16383;
    for (size_t at = 0; at < DCTSIZE2; ++at) {
        const uint32_t step = to.quantval[at];
        const auto bits = static_cast<uint32_t>(std::bit_width(step)); // floor(log2(2 × step))
        m_from[at] = from.quantval[at];
        m_half[at] = static_cast<uint16_t>(step / 2);
        m_most[at] = static_cast<int16_t>((mostValue - step / 2) / from.quantval[at]);
        m_inverse[at] = static_cast<uint16_t>(((1U << (16 + bits)) + 2 * step - 1) / (2 * step) - 1);
        m_scale[at] = static_cast<uint16_t>(1U << (16 - bits));
        m_changes = m_changes || from.quantval[at] != to.quantval[at];
    }
}

void Requantiser::convert(JBLOCKROW blocks, int count) const
{
    if (m_changes)
        convertEach(blocks, count);
}

VELMARO_WIDEST_VECTORS void Requantiser::convertEach(JBLOCKROW blocks, int count) const
{
    for (int block = 0; block < count; ++block)
        convert(blocks[block]);
}

inline void Requantiser::convert(JCOEF *block) const
{
    // Minimums are of signed numbers: the oldest vector units have no others.
    constexpr int16_t greatest = 1023;
    for (size_t at = 0; at < DCTSIZE2; ++at) {
        const auto sign = static_cast<int16_t>(block[at] >> 15); // 0 or -1
        const auto magnitude = static_cast<int16_t>((std::max<int16_t>(block[at], -32767) ^ sign) - sign);
        const int16_t kept = std::min(magnitude, m_most[at]);
        const auto odd = static_cast<uint16_t>(2 * (kept * m_from[at] + m_half[at]) + 1);
        const auto product = static_cast<uint16_t>((uint32_t(odd) * m_inverse[at]) >> 16);
        const auto quotient = static_cast<int16_t>((uint32_t(product) * m_scale[at]) >> 16);
        block[at] = static_cast<JCOEF>((std::min(quotient, greatest) ^ sign) - sign);
    }
}
