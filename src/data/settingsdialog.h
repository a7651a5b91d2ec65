// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "data/settings.h"

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

/// Shows the application settings as they are stored and lets the user change them. It writes nothing:
/// whoever opened it reads `values()` when it has been accepted.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SettingsDialog(QWidget *parent);

    /// What the widgets hold.
    Settings values() const;

private slots:
    void updateUi();

private:
    QComboBox *providerCombo;
    QLabel *apiKeyLabel;
    QLineEdit *apiKeyEdit;
    QLabel *jpegQualityLabel;
    QSpinBox *jpegQualitySpin;
};
