// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>

/// Where the elevation services are and how they want to be asked.
struct ElevationAccess {
    QString googleUrl; ///< scheme, host and optional port
    QString openTopoDataUrl;
    std::chrono::milliseconds pause{1100}; ///< after every request, the rate limit of both services
};

/// The access with which the program was built.
ElevationAccess elevationAccess();
