// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/elevationaccess.h"

// Alone in its file, so that a program that defines this function itself is linked without it.
ElevationAccess elevationAccess()
{
    return {QStringLiteral(VELMARO_GOOGLE_ELEVATION_URL), QStringLiteral(VELMARO_OPENTOPODATA_URL)};
}
