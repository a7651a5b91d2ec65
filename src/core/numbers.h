// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <limits>

/// The integer part of `value`, truncated toward zero. A value beyond the range of T gives the nearest end of
/// the range, NaN gives 0: unlike a plain cast it is defined for every double.
template <typename T = int>
T truncated(double value)
{
    if (std::isnan(value))
        return 0;
    constexpr double lowest = static_cast<double>(std::numeric_limits<T>::min());
    constexpr double highest = static_cast<double>(std::numeric_limits<T>::max());
    if (value <= lowest)
        return std::numeric_limits<T>::min();
    if (value >= highest)
        return std::numeric_limits<T>::max();
    return static_cast<T>(value);
}

/// `value` rounded half away from zero to an integer, with the limits of `truncated`.
template <typename T = int>
T rounded(double value)
{
    return truncated<T>(std::round(value));
}
