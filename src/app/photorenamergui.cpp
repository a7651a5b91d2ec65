// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/photorenamergui.h"

#include "app/backgroundjob.h"
#include "app/logtext.h"
#include "data/settings.h"
#include "data/settingsdialog.h"

#include <QComboBox>
#include <QEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QStatusBar>

PhotoRenamerGUI::PhotoRenamerGUI(const ElevationAccess &elevationAccess)
    : access(elevationAccess)
{
    loadSettings();
    buildUi();
    connectWidgets();
    applyEnableRules();
}

PhotoRenamerGUI::~PhotoRenamerGUI()
{
    // A field that loses the focus by its own end tells so; by then the window is none any more.
    for (QWidget *widget : findChildren<QWidget *>())
        widget->disconnect(this);
    qDeleteAll(findChildren<BackgroundJob *>(Qt::FindDirectChildrenOnly));
}

bool PhotoRenamerGUI::event(QEvent *event)
{
    // A menu entry without a tip of its own would clear what the status bar says.
    if (event->type() == QEvent::StatusTip)
        return true;
    return QMainWindow::event(event);
}

void PhotoRenamerGUI::resizeEvent(QResizeEvent *event)
{
    QMainWindow::resizeEvent(event);
    rescalePreview();
}

void PhotoRenamerGUI::loadSettings()
{
    const Settings settings = Settings::load();
    altitudeProvider = settings.altitudeProvider;
    googleApiKey = settings.googleApiKey;
    jpegQuality = settings.jpegQuality;
}

void PhotoRenamerGUI::appendLog(const QString &line)
{
    appendPlainLines(logView, {line});
}

void PhotoRenamerGUI::showError(const QString &message)
{
    QMessageBox::critical(this, QStringLiteral("Error"), message);
}

// What needs attention is set off, and its details are told by a tool tip.
void PhotoRenamerGUI::tell(const QString &message, const QString &details)
{
    QFont font = this->font();
    font.setBold(!details.isEmpty());
    statusBar()->setFont(font);
    statusBar()->setToolTip(details);
    statusBar()->showMessage(message);
}

// How a run ended is to be read until the next one, whatever else is told meanwhile.
void PhotoRenamerGUI::tellBesideRun(const QString &message, const QString &details)
{
    QStringList messages{message, runSummary};
    messages.removeAll(QString());
    QStringList allDetails{details, runDetails};
    allDetails.removeAll(QString());
    tell(messages.join(u' '), allDetails.join(u'\n'));
}

// Qt would hand the focus on to whatever field comes next, and the next key into it.
void PhotoRenamerGUI::disableKeepingFocus(QWidget *widget, QWidget *refuge)
{
    if (widget->hasFocus())
        refuge->setFocus();
    widget->setEnabled(false);
}

void PhotoRenamerGUI::openSettingsDialog()
{
    SettingsDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    Settings settings;
    settings.altitudeProvider = dialog.providerCombo->currentText();
    settings.googleApiKey = dialog.apiKeyEdit->text();
    settings.jpegQuality = dialog.jpegQualitySpin->value();
    settings.save();
    loadSettings();
    appendLog(QStringLiteral("Configuración de salida y altitud actualizada."));
}
