// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settings.h"

#include "files/attributes.h"

#include <QSettings>

namespace
{

const QString organisation = QStringLiteral("Velmaro");
const QString application = QStringLiteral("Velmaro");

const QString providerKey = QStringLiteral("altitude/provider");
const QString apiKeyKey = QStringLiteral("altitude/apiKey");
const QString jpegQualityKey = QStringLiteral("output/jpegQuality");

// The key is nobody else's business, but the store makes its file readable by everyone. What it writes later
// keeps the permissions.
void closeToOthers(const QSettings &store)
{
    keepForOwner(store.fileName());
}

} // namespace

Settings Settings::load()
{
    const QSettings store(QSettings::NativeFormat, QSettings::UserScope, organisation, application);
    closeToOthers(store);
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
    store.setValue(jpegQualityKey, jpegQuality);
    store.sync();
    closeToOthers(store); // before the key comes into it
    store.setValue(apiKeyKey, googleApiKey);
}
