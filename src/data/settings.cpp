// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settings.h"

#include <QSettings>

namespace
{

const QString organization = QStringLiteral("Velmaro");
const QString application = QStringLiteral("Velmaro");
const QString providerKey = QStringLiteral("altitude/provider");
const QString apiKeyKey = QStringLiteral("altitude/apiKey");
const QString qualityKey = QStringLiteral("output/jpegQuality");

} // namespace

Settings Settings::load()
{
    const QSettings store(organization, application);
    Settings settings;
    settings.altitudeProvider = store.value(providerKey, settings.altitudeProvider).toString();
    settings.googleApiKey = store.value(apiKeyKey, settings.googleApiKey).toString();
    settings.jpegQuality = store.value(qualityKey, settings.jpegQuality).toInt();
    return settings;
}

void Settings::save() const
{
    QSettings store(organization, application);
    store.setValue(providerKey, altitudeProvider);
    store.setValue(apiKeyKey, googleApiKey);
    store.setValue(qualityKey, jpegQuality);
}
