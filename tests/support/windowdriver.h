// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/photorenamergui.h"

#include <QAbstractButton>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>

/// The main window as a person uses it: by the names of its widgets, its real dialogs answered while they are
/// open.
class WindowDriver
{
public:
    WindowDriver();
    ~WindowDriver();

    /// To be called before the application object exists: settings go to a folder of this process, and file
    /// dialogs are Qt's own.
    static void prepareProcess();

    template <typename Widget>
    Widget *find(const char *name) const
    {
        auto *widget = window->findChild<Widget *>(QString::fromLatin1(name));
        if (!widget)
            qFatal("no widget %s", name);
        return widget;
    }

    void click(const char *button) const;
    void check(const char *box, bool on) const;
    void type(const char *lineEdit, const QString &text) const;
    bool isEnabled(const char *name) const;
    QString log() const;

    /// Answers the next modal dialog, as soon as it is shown.
    void onNextDialog(const std::function<void(QWidget *dialog)> &answer) const;

    /// Puts "Aceptar" on the next message box; its title and text join `messages`.
    void acceptNextMessage();

    /// Chooses a path in the next file dialog.
    void chooseInNextDialog(const QString &path) const;

    std::unique_ptr<PhotoRenamerGUI> window;
    QStringList messages; ///< "title: text" of every message box accepted
};
