// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pathedit.h"
#include "app/photorenamergui.h"
#include "files/safewrite.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QJsonDocument>
#include <QScopedValueRollback>

#include <utility>

namespace
{

// The profile buttons stand in a menu, which would stay open, and hold the keyboard, above a file dialog.
void closeOpenMenus()
{
    while (QWidget *popup = QApplication::activePopupWidget()) {
        if (!popup->close())
            return;
    }
}

} // namespace

void PhotoRenamerGUI::savePreset()
{
    closeOpenMenus();
    QFileDialog dialog(this, tr("Guardar Perfil"), QString(), tr("Perfiles (*.json)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("json")); // which the filter wants when it is to be found again
    if (dialog.exec() != QDialog::Accepted)
        return;
    const QString path = dialog.selectedFiles().constFirst();
    QString error; // which nobody is told
    writeWhole(path, QJsonDocument(presetFromWidgets().toJson()).toJson(QJsonDocument::Indented), &error);

    const QString name = QFileInfo(path).baseName();
    const int index = presetCombo->findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (index >= 0)
        presetCombo->setItemData(index, path);
    else
        presetCombo->addItem(name, path);
}

void PhotoRenamerGUI::loadPreset()
{
    closeOpenMenus();
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Cargar Perfil"), QString(), tr("Perfiles (*.json)"));
    if (!path.isEmpty())
        loadPresetFromCombo(path);
}

// The profile that is shown can be chosen again, although the text of the list does not change then.
void PhotoRenamerGUI::choosePreset()
{
    if (!std::exchange(presetShown, false) && presetCombo->count() > 0)
        loadPresetFromCombo(presetCombo->currentText());
}

void PhotoRenamerGUI::loadPresetFromCombo(const QString &name)
{
    const int index = presetCombo->findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
    const std::optional<QJsonObject> profile =
        readProfile(index >= 0 ? presetCombo->itemData(index).toString() : name);
    if (!profile)
        return;
    Preset preset = presetFromWidgets();
    preset.apply(*profile);
    {
        const QScopedValueRollback<bool> guard(holdPreview, true);
        applyPreset(preset);
    }
    updatePreview();
}

Preset PhotoRenamerGUI::presetFromWidgets() const
{
    Preset preset;
    preset.logoPath = logoPathValue;
    preset.fontPath = fontPathValue;
    preset.fontSizeRatio = fontSizeSpin->value();
    preset.logoRatio = logoSizeSpin->value();
    preset.logoPosition = logoPositionCombo->currentText();
    preset.dtPosition = dtPositionCombo->currentText();
    preset.coordsPosition = coordsPositionCombo->currentText();
    preset.orientationPosition = orientationPositionCombo->currentText();
    preset.compassRatio = compassSizeSpin->value();
    preset.compassPosition = compassPositionCombo->currentText();
    preset.compassStyle = compassStyleCombo->currentIndex();
    preset.compassArrowColor = arrowColor;
    preset.rotateCompass = rotateCompassCheck->isChecked();
    preset.usePrefix = prefixCheck->isChecked();
    preset.prefix = prefixEdit->text();
    preset.renamePhotos = renameCheck->isChecked();
    preset.drawData = drawDataCheck->isChecked();
    preset.drawOrientation = drawOrientationCheck->isChecked();
    preset.drawTime = drawTimeCheck->isChecked();
    preset.addCompass = compassCheck->isChecked();
    preset.bgText = bgTextCheck->isChecked();
    preset.drawGeo = drawGeoCheck->isChecked();
    preset.fontColor = fontColorName;
    preset.drawAltitude = drawAltitudeCheck->isChecked();
    preset.altitudePosition = altitudePositionCombo->currentText();
    return preset;
}

void PhotoRenamerGUI::applyPreset(const Preset &preset)
{
    setLogoPath(preset.logoPath);
    setFontPath(preset.fontPath);
    fontSizeSpin->setValue(preset.fontSizeRatio);
    logoSizeSpin->setValue(preset.logoRatio);
    logoPositionCombo->setCurrentText(preset.logoPosition);
    dtPositionCombo->setCurrentText(preset.dtPosition);
    coordsPositionCombo->setCurrentText(preset.coordsPosition);
    orientationPositionCombo->setCurrentText(preset.orientationPosition);
    compassSizeSpin->setValue(preset.compassRatio);
    compassPositionCombo->setCurrentText(preset.compassPosition);
    compassStyleCombo->setCurrentIndex(preset.compassStyle);
    rotateCompassCheck->setChecked(preset.rotateCompass);
    setArrowColor(preset.compassArrowColor);
    prefixCheck->setChecked(preset.usePrefix);
    prefixEdit->setText(preset.prefix);
    renameCheck->setChecked(preset.renamePhotos);
    drawDataCheck->setChecked(preset.drawData);
    drawOrientationCheck->setChecked(preset.drawOrientation);
    drawTimeCheck->setChecked(preset.drawTime);
    compassCheck->setChecked(preset.addCompass);
    bgTextCheck->setChecked(preset.bgText);
    drawGeoCheck->setChecked(preset.drawGeo);
    setFontColor(preset.fontColor);
    drawAltitudeCheck->setChecked(preset.drawAltitude);
    altitudePositionCombo->setCurrentText(preset.altitudePosition);
}
