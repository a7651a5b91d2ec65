// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>

/// Where the elevation services are, and how they are to be treated.
struct ElevationAccess {
    QString googleUrl;                     ///< scheme, host and optional port
    QString openTopoDataUrl;               ///< the same
    std::chrono::milliseconds pause{1100}; ///< after each request, within the rate limits of both services
};

/// The services chosen when the program was built.
ElevationAccess elevationAccess();
