// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/photorenamergui.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTranslator>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMARO_VERSION));
    QGuiApplication::setDesktopFileName(QStringLiteral("velmaro"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/velmaro.png")));
    QTranslator qtTexts;
    if (qtTexts.load(QStringLiteral("qtbase_es"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qtTexts);

    PhotoRenamerGUI window;
    window.show();
    return QApplication::exec();
}
