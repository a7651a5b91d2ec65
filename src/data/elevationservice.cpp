// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/elevationservice.h"

#include "data/settings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{

// A query value in which every character arrives as it stands; QUrlQuery would let "+" through, which servers
// take for a blank.
QString queryItem(const QString &key, const QString &value)
{
    return key + QLatin1Char('=') + QString::fromLatin1(QUrl::toPercentEncoding(value, ","));
}

} // namespace

ElevationService::ElevationService(const QString &provider, const QString &apiKey,
                                   const ElevationAccess &access)
    : m_google(provider == ElevationProvider::Google)
    , m_apiKey(apiKey)
    , m_baseUrl(m_google ? access.googleUrl : access.openTopoDataUrl)
{
}

bool ElevationService::lacksKey() const
{
    return m_google && m_apiKey.isEmpty();
}

QUrl ElevationService::requestUrl(const QString &location) const
{
    QUrl url(m_baseUrl);
    url.setPath(m_google ? QStringLiteral("/maps/api/elevation/json") : QStringLiteral("/v1/srtm30m"));
    QString query = queryItem(QStringLiteral("locations"), location);
    if (m_google)
        query += QLatin1Char('&') + queryItem(QStringLiteral("key"), m_apiKey);
    url.setQuery(query, QUrl::StrictMode);
    return url;
}

ElevationService::Answer ElevationService::read(const QByteArray &body) const
{
    const QJsonObject answer = QJsonDocument::fromJson(body).object();
    const QString status = answer.value(QLatin1String("status")).toString();
    const QJsonValue results = answer.value(QLatin1String("results"));
    const bool usable = status == QLatin1String("OK") && (m_google || !results.isUndefined());
    if (usable) {
        const QJsonArray list = results.toArray();
        if (list.isEmpty())
            return {};
        return {list.first().toObject().value(QLatin1String("elevation")).toDouble(), {}};
    }
    if (m_google) {
        const QString message = answer.value(QLatin1String("error_message")).toString();
        return {std::nullopt,
                QStringLiteral("Error de API Google: ") + status + QStringLiteral(" - ") + message};
    }
    const QString message = answer.value(QLatin1String("error")).toString(QStringLiteral("Sin detalles"));
    return {std::nullopt, QStringLiteral("Error de API OpenTopoData: %1 - %2").arg(status, message)};
}
