// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settings.h"

#include <QSettings>

namespace
{

const QString organisation = QStringLiteral("Velmaro");
const QString application = QStringLiteral("Velmaro");

const QString providerKey = QStringLiteral("altitude/provider");
const QString apiKeyKey = QStringLiteral("altitude/apiKey");
const QString jpegQualityKey = QStringLiteral("output/jpegQuality");

} // namespace

Settings Settings::load()
{
    const QSettings store(QSettings::NativeFormat, QSettings::UserScope, organisation, application);
    Settings settings;
    settings.altitudeProvider = store.value(providerKey, settings.altitudeProvider).toString();
    settings.googleApiKey = store.value(apiKeyKey, settings.googleApiKey).toString();
    bool isNumber = false;
    const int quality = store.value(jpegQualityKey, settings.jpegQuality).toInt(&isNumber);
    settings.jpegQuality = isNumber ? quality : settings.jpegQuality;
    return settings;
}

void Settings::save() const
{
    QSettings store(QSettings::NativeFormat, QSettings::UserScope, organisation, application);
    store.setValue(providerKey, altitudeProvider);
    store.setValue(apiKeyKey, googleApiKey);
    store.setValue(jpegQualityKey, jpegQuality);
}
