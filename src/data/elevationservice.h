// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "data/elevationaccess.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

/// One of the two elevation services: how it is asked for one location, and how its answers read.
class ElevationService
{
public:
    /// `provider` is a name of `ElevationProvider`; any but Google's means OpenTopoData. `apiKey` is sent to
    /// Google alone, as it was typed.
    ElevationService(const QString &provider, const QString &apiKey, const ElevationAccess &access);

    /// Whether the service wants a key and there is none.
    bool lacksKey() const;

    /// The request for `location`, "latitude,longitude" in decimal degrees.
    QUrl requestUrl(const QString &location) const;

    struct Answer {
        std::optional<double> altitude; ///< metres
        QString error;                  ///< the line for the log, if any
    };

    /// What the body of an answer says. An empty list of results gives neither altitude nor error; an
    /// elevation that is missing or no number gives 0.
    Answer read(const QByteArray &body) const;

private:
    bool m_google;
    QString m_apiKey;
    QString m_baseUrl;
};
