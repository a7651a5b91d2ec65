// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QSpinBox;

/// Edits the application settings. It starts with the stored values and writes nothing itself: whoever opened
/// it reads the widgets once it is accepted.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SettingsDialog(QWidget *parent = nullptr);
    ~SettingsDialog() override;

    QComboBox *providerCombo;
    QLabel *apiKeyLabel;
    QLineEdit *apiKeyEdit;
    QLabel *jpegQualityLabel;
    QSpinBox *jpegQualitySpin;

public slots:
    /// Shows the key row for the provider that needs a key, and hides it for any other.
    void updateUi();
};
