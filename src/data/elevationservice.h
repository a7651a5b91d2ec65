// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "data/elevationaccess.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

/// What an elevation service said about one location. Neither altitude nor message: the service knows no
/// altitude there.
struct ElevationAnswer {
    std::optional<double> altitude; ///< metres
    QString message;                ///< the error the service reported, for the log
};

/// The address that asks `provider` for the altitude at `location`, "latitude,longitude" in degrees. Any
/// provider but Google is OpenTopoData, which takes no key. The key arrives as it was typed, whatever
/// characters it holds.
QUrl elevationRequestUrl(const ElevationAccess &access, const QString &provider, const QString &apiKey,
                         const QString &location);

/// Takes the body of an answer apart. A body that is no JSON object counts as one without status.
ElevationAnswer parseElevationAnswer(const QString &provider, const QByteArray &body);
