// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

inline constexpr double metresPerInch = 0.0254;

/// The density of a screen of 96 dpi.
inline constexpr int screenDotsPerMeter = 3780;
