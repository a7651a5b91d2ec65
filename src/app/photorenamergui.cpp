// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/photorenamergui.h"

#include "app/logtext.h"
#include "data/settings.h"

#include <QMessageBox>

PhotoRenamerGUI::PhotoRenamerGUI()
{
    loadSettings();
    buildUi();
    connectWidgets();
    applyEnableRules();
}

PhotoRenamerGUI::~PhotoRenamerGUI() = default;

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
