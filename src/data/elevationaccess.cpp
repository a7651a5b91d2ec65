// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/elevationaccess.h"

ElevationAccess elevationAccess()
{
    return {QStringLiteral(VELMARO_GOOGLE_ELEVATION_URL), QStringLiteral(VELMARO_OPENTOPODATA_URL)};
}
