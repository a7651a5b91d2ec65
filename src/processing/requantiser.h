// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <jpeglib.h>

/// Brings coefficients of one component from one quantisation table to another: coefficient × old step / new
/// step, rounded to the nearest, halves away from zero, and kept within what baseline JPEG can code. What
/// stands for a value beyond ±16383, which no picture holds, counts as less.
class Requantiser
{
public:
    /// Changes nothing.
    Requantiser() = default;

    /// No step is 0, those of `to` are at most 255.
    Requantiser(const JQUANT_TBL &from, const JQUANT_TBL &to);

    /// Whether there is anything to convert. What comes out of a conversion can be coded whatever went in.
    bool changes() const { return m_changes; }

    void convert(JBLOCKROW blocks, int count) const;

private:
    using Lane = std::array<uint16_t, DCTSIZE2>;

    void convertEach(JBLOCKROW blocks, int count) const;
    void convert(JCOEF *block) const;

    alignas(16) Lane m_from{};
    alignas(16) Lane m_half{};
    alignas(16) std::array<int16_t, DCTSIZE2> m_most{};
    alignas(16) Lane m_inverse{};
    alignas(16) Lane m_scale{};
    bool m_changes = false;
};
