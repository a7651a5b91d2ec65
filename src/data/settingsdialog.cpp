// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settingsdialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

SettingsDialog::SettingsDialog(QWidget *parent)
    : QDialog(parent)
    , providerCombo(new QComboBox(this))
    , apiKeyLabel(new QLabel(QStringLiteral("Clave API Google Elevation:"), this))
    , apiKeyEdit(new QLineEdit(this))
    , jpegQualityLabel(new QLabel(QStringLiteral("Calidad JPEG (1-100):"), this))
    , jpegQualitySpin(new QSpinBox(this))
{
    setWindowTitle(QStringLiteral("Configuración"));
    setModal(true);
    setMinimumWidth(420);

    providerCombo->setObjectName(QStringLiteral("providerCombo"));
    providerCombo->addItems({ElevationProvider::OpenTopoData, ElevationProvider::Google});
    apiKeyLabel->setObjectName(QStringLiteral("apiKeyLabel"));
    apiKeyLabel->setBuddy(apiKeyEdit);
    apiKeyEdit->setObjectName(QStringLiteral("apiKeyEdit"));
    apiKeyEdit->setEchoMode(QLineEdit::Password);
    jpegQualityLabel->setObjectName(QStringLiteral("jpegQualityLabel"));
    jpegQualityLabel->setBuddy(jpegQualitySpin);
    jpegQualitySpin->setObjectName(QStringLiteral("jpegQualitySpin"));
    jpegQualitySpin->setRange(1, 100);
    jpegQualitySpin->setSuffix(QStringLiteral("%"));

    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Proveedor de API de Altitud:"), providerCombo);
    form->addRow(apiKeyLabel, apiKeyEdit);
    form->addRow(jpegQualityLabel, jpegQualitySpin);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch();
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(providerCombo, &QComboBox::currentTextChanged, this, &SettingsDialog::updateUi);

    const Settings stored = Settings::load();
    providerCombo->setCurrentText(stored.altitudeProvider);
    apiKeyEdit->setText(stored.googleApiKey);
    jpegQualitySpin->setValue(stored.jpegQuality);
    updateUi();
}

Settings SettingsDialog::values() const
{
    return {providerCombo->currentText(), apiKeyEdit->text(), jpegQualitySpin->value()};
}

void SettingsDialog::updateUi()
{
    const bool google = providerCombo->currentText() == ElevationProvider::Google;
    apiKeyLabel->setVisible(google);
    apiKeyEdit->setVisible(google);
}
