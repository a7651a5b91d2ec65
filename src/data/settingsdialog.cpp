// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/settingsdialog.h"

#include "data/settings.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QVBoxLayout>

namespace
{

template <typename Widget>
Widget *named(Widget *widget, const QString &name)
{
    widget->setObjectName(name);
    return widget;
}

} // namespace

SettingsDialog::SettingsDialog(QWidget *parent)
    : QDialog(parent)
    , providerCombo(named(new QComboBox(this), QStringLiteral("providerCombo")))
    , apiKeyLabel(named(new QLabel(QStringLiteral("Clave API Google Elevation:"), this),
                        QStringLiteral("apiKeyLabel")))
    , apiKeyEdit(named(new QLineEdit(this), QStringLiteral("apiKeyEdit")))
    , jpegQualityLabel(named(new QLabel(QStringLiteral("Calidad JPEG (1-100):"), this),
                             QStringLiteral("jpegQualityLabel")))
    , jpegQualitySpin(named(new QSpinBox(this), QStringLiteral("jpegQualitySpin")))
{
    setWindowTitle(QStringLiteral("Configuración"));
    setModal(true);
    providerCombo->addItems({ElevationProvider::OpenTopoData, ElevationProvider::Google});
    apiKeyEdit->setEchoMode(QLineEdit::Password);
    apiKeyEdit->setMinimumWidth(fontMetrics().averageCharWidth() * 40);
    apiKeyLabel->setBuddy(apiKeyEdit);
    jpegQualitySpin->setRange(1, 100);
    jpegQualitySpin->setSuffix(QStringLiteral("%"));
    jpegQualityLabel->setBuddy(jpegQualitySpin);

    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Proveedor de API de Altitud:"), providerCombo);
    form->addRow(apiKeyLabel, apiKeyEdit);
    form->addRow(jpegQualityLabel, jpegQualitySpin);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *page = new QVBoxLayout(this);
    page->addLayout(form);
    page->addStretch();
    page->addWidget(buttons);
    // Room for all rows from the start, so that the dialog keeps its size when the key row comes and goes.
    setMinimumSize(sizeHint());

    const Settings settings = Settings::load();
    providerCombo->setCurrentText(settings.altitudeProvider);
    apiKeyEdit->setText(settings.googleApiKey);
    jpegQualitySpin->setValue(settings.jpegQuality);
    connect(providerCombo, &QComboBox::currentTextChanged, this, &SettingsDialog::updateUi);
    updateUi();
}

SettingsDialog::~SettingsDialog() = default;

void SettingsDialog::updateUi()
{
    const bool needsKey = providerCombo->currentText() == ElevationProvider::Google;
    apiKeyLabel->setVisible(needsKey);
    apiKeyEdit->setVisible(needsKey);
}
