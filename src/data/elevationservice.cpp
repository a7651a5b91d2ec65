// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/elevationservice.h"

#include "data/settings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrlQuery>

namespace
{

QString errorMessage(const QString &provider, const QString &status, const QJsonObject &answer)
{
    if (provider == ElevationProvider::Google) {
        return QStringLiteral("Error de API Google: ") + status + QStringLiteral(" - ") +
               answer.value(u"error_message").toString();
    }
    return QStringLiteral("Error de API OpenTopoData: %1 - %2")
        .arg(status, answer.value(u"error").toString(QStringLiteral("Sin detalles")));
}

} // namespace

QUrl elevationRequestUrl(const ElevationAccess &access, const QString &provider, const QString &apiKey,
                         const QString &location)
{
    const bool google = provider == ElevationProvider::Google;
    QUrl url(google ? access.googleUrl : access.openTopoDataUrl);
    url.setPath(google ? QStringLiteral("/maps/api/elevation/json") : QStringLiteral("/v1/srtm30m"));

    QUrlQuery query;
    query.addQueryItem(QStringLiteral("locations"), location);
    if (google) {
        // Encoded here: QUrlQuery would take a "%" in the key for an encoding, and send "+", which stands for
        // a blank.
        query.addQueryItem(QStringLiteral("key"), QString::fromLatin1(QUrl::toPercentEncoding(apiKey)));
    }
    url.setQuery(query);
    return url;
}

ElevationAnswer parseElevationAnswer(const QString &provider, const QByteArray &body)
{
    const QJsonObject answer = QJsonDocument::fromJson(body).object();
    const QString status = answer.value(u"status").toString();
    const QJsonValue results = answer.value(u"results");
    const bool needsResults = provider != ElevationProvider::Google;
    if (status != u"OK" || (needsResults && results.isUndefined()))
        return {std::nullopt, errorMessage(provider, status, answer)};

    const QJsonArray locations = results.toArray();
    if (locations.isEmpty())
        return {};
    return {locations.first().toObject().value(u"elevation").toDouble(), QString()};
}
