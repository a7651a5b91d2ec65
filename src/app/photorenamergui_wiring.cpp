// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pathedit.h"
#include "app/photorenamergui.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

void PhotoRenamerGUI::connectWidgets()
{
    connectButtons();
    connectDrops();
    connectEnableRules();
    connectPreview();
    connect(savePresetButton, &QPushButton::clicked, this, &PhotoRenamerGUI::savePreset);
    connect(loadPresetButton, &QPushButton::clicked, this, &PhotoRenamerGUI::loadPreset);
    connect(presetCombo, &QComboBox::currentTextChanged, this, &PhotoRenamerGUI::loadPresetFromCombo);
    // A choice of the user that changes the text is told twice in one go, one that does not, once.
    connect(presetCombo, &QComboBox::currentTextChanged, this, [this] {
        presetShown = true;
        QTimer::singleShot(0, this, [this] { presetShown = false; });
    });
    connect(presetCombo, &QComboBox::activated, this, &PhotoRenamerGUI::choosePreset);
}

void PhotoRenamerGUI::connectButtons()
{
    using Slot = void (PhotoRenamerGUI::*)();
    const struct {
        QPushButton *button;
        Slot slot;
    } rows[] = {
        {selectDirButton, &PhotoRenamerGUI::selectDirectory},
        {selectLogoButton, &PhotoRenamerGUI::selectLogo},
        {selectFontButton, &PhotoRenamerGUI::selectFont},
        {selectColorButton, &PhotoRenamerGUI::selectColor},
        {selectTxtButton, &PhotoRenamerGUI::selectTxt},
        {createSampleButton, &PhotoRenamerGUI::createSampleFile},
        {startButton, &PhotoRenamerGUI::startProcess},
        {populateAltitudeButton, &PhotoRenamerGUI::populateAltitude},
        {selectArrowColorButton, &PhotoRenamerGUI::selectCompassArrowColor},
        {selectOutputButton, &PhotoRenamerGUI::selectOutputDirectory},
        {prevButton, &PhotoRenamerGUI::onPreviousPreview},
        {nextButton, &PhotoRenamerGUI::onNextPreview},
    };
    for (const auto &[button, slot] : rows)
        connect(button, &QPushButton::clicked, this, slot);
    connect(exifRadio, &QRadioButton::toggled, this, &PhotoRenamerGUI::toggleMode);
}

void PhotoRenamerGUI::connectDrops()
{
    connect(logoEdit, &PathEdit::dropped, this, &PhotoRenamerGUI::chooseLogo);
    connect(fontEdit, &PathEdit::dropped, this, &PhotoRenamerGUI::chooseFont);
    for (PathEdit *edit : {directoryEdit, txtPathEdit, outputFolderEdit})
        connect(edit, &PathEdit::dropped, edit, &QLineEdit::setText);
}

void PhotoRenamerGUI::connectEnableRules()
{
    connect(outputFolderCheck, &QCheckBox::toggled, this, [this](bool on) {
        outputFolderEdit->setEnabled(on);
        selectOutputButton->setEnabled(on);
        backupCheck->setEnabled(!on);
    });
    connect(renameCheck, &QCheckBox::toggled, prefixCheck, &QWidget::setEnabled);
    connect(renameCheck, &QCheckBox::toggled, this,
            [this](bool on) { prefixEdit->setEnabled(on && prefixCheck->isChecked()); });
    connect(prefixCheck, &QCheckBox::toggled, prefixEdit, &QWidget::setEnabled);
    connect(logoCheck, &QCheckBox::toggled, logoEdit, &QWidget::setEnabled);
    connect(logoCheck, &QCheckBox::toggled, selectLogoButton, &QWidget::setEnabled);
    connect(compassCheck, &QCheckBox::toggled, rotateCompassCheck, &QWidget::setEnabled);
    connect(drawDataCheck, &QCheckBox::toggled, bgTextCheck, &QWidget::setEnabled);
}

void PhotoRenamerGUI::connectPreview()
{
    connect(directoryEdit, &QLineEdit::textEdited, this, [this] { directoryTyped = true; });
    connect(directoryEdit, &QLineEdit::textChanged, this, &PhotoRenamerGUI::onDirectoryChanged);
    connect(directoryEdit, &QLineEdit::editingFinished, this, &PhotoRenamerGUI::listTypedPhotos);
    connect(&typingTimer, &QTimer::timeout, this, &PhotoRenamerGUI::listPhotos);
    connect(&previewTimer, &QTimer::timeout, this, &PhotoRenamerGUI::drawPreview);
    connect(subdirsCheck, &QCheckBox::toggled, this, &PhotoRenamerGUI::onDirectoryChanged);

    // Everything that changes the drawn image, but for the text colour, which refreshes by itself.
    QWidget *const triggers[] = {
        logoEdit,
        fontEdit,
        logoPositionCombo,
        dtPositionCombo,
        coordsPositionCombo,
        orientationPositionCombo,
        compassPositionCombo,
        logoCheck,
        compassCheck,
        drawDataCheck,
        drawOrientationCheck,
        drawTimeCheck,
        bgTextCheck,
        rotateCompassCheck,
        exifRadio,
        txtPathEdit,
        drawGeoCheck,
        drawAltitudeCheck,
        altitudePositionCombo,
        compassStyleCombo,
        selectArrowColorButton,
    };
    for (QWidget *trigger : triggers) {
        if (auto *combo = qobject_cast<QComboBox *>(trigger))
            connect(combo, &QComboBox::currentTextChanged, this, &PhotoRenamerGUI::updatePreview);
        else if (auto *edit = qobject_cast<QLineEdit *>(trigger))
            connect(edit, &QLineEdit::textChanged, this, &PhotoRenamerGUI::updatePreview);
        else if (auto *push = qobject_cast<QPushButton *>(trigger))
            connect(push, &QPushButton::clicked, this, &PhotoRenamerGUI::updatePreview);
        else if (auto *check = qobject_cast<QAbstractButton *>(trigger))
            connect(check, &QAbstractButton::toggled, this, &PhotoRenamerGUI::updatePreview);
    }
    for (QDoubleSpinBox *spin : {fontSizeSpin, logoSizeSpin, compassSizeSpin})
        connect(spin, &QDoubleSpinBox::valueChanged, this, &PhotoRenamerGUI::updatePreview);
}

void PhotoRenamerGUI::applyEnableRules()
{
    prefixCheck->setEnabled(renameCheck->isChecked());
    prefixEdit->setEnabled(renameCheck->isChecked() && prefixCheck->isChecked());
    logoEdit->setEnabled(logoCheck->isChecked());
    selectLogoButton->setEnabled(logoCheck->isChecked());
    rotateCompassCheck->setEnabled(compassCheck->isChecked());
    bgTextCheck->setEnabled(drawDataCheck->isChecked());
}
