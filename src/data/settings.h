// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// The names of the elevation services, as settings and dialogs hold them.
namespace ElevationProvider
{
inline const QString OpenTopoData = QStringLiteral("OpenTopoData");
inline const QString Google = QStringLiteral("Google Elevation");
} // namespace ElevationProvider

/// The application settings that outlive the program and are no part of a profile.
struct Settings {
    QString altitudeProvider = ElevationProvider::OpenTopoData;
    QString googleApiKey;
    int jpegQuality = 90;

    /// The values in the platform's settings store, as they stand; defaults for those that are missing, and
    /// for a quality that is no number.
    static Settings load();

    /// Writes all three values to the store, in a file that only its owner can read.
    void save() const;
};
