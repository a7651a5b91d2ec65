// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/elevationaccess.h"

// This file defines one function and nothing else: a program that links the library and defines
// elevationAccess() itself, as a test does that runs the whole window against a server of its own, never
// takes this object from the archive. Any other symbol here would draw it in and give two definitions.
ElevationAccess elevationAccess()
{
    return {QStringLiteral(VELMARO_GOOGLE_ELEVATION_URL), QStringLiteral(VELMARO_OPENTOPODATA_URL)};
}
