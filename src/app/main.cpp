// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/photorenamergui.h"
#include "app/spanish.h"

#include <QApplication>
#include <QIcon>

int main(int argc, char *argv[])
{
    chooseSpanish();
    // The photos are painted side by side; newer versions of Qt would hand out the painting of each once
    // more.
    qputenv("QT_NO_GUI_THREADPOOL", "1");
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMARO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("velmaro"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/velmaro.png")));
    SpanishTexts texts;
    QCoreApplication::installTranslator(&texts);

    PhotoRenamerGUI window;
    window.show();
    return QApplication::exec();
}
