// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/photorenamergui.h"

#include <QAbstractButton>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>

/// The main window as a person uses it, beside a folder of photos: by the names of its widgets, its real
/// dialogs answered while they are open.
class WindowDriver
{
public:
    explicit WindowDriver(const ElevationAccess &access = elevationAccess());
    ~WindowDriver();

    /// To be called before the application object exists: settings go to a folder of this process, and file
    /// dialogs are Qt's own.
    static void prepareProcess();

    /// A path beside the folder of photos, and that folder.
    QString path(const QString &name) const { return m_folder.filePath(name); }
    QString photos() const { return path(QStringLiteral("fotos")); }

    /// Paints photos "0.jpg", "1.jpg" and so on into the folder, each with another colour.
    void writePhotos(int count, QSize size) const;

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
    QString textOf(const char *lineEdit) const;
    QString log() const;
    QString status() const;

    /// What the preview pane shows once no drawing waits any more.
    QImage preview() const;
    QString previewText() const;

    /// How many previews an action asks for, which it does not get.
    int previewsOf(const std::function<void()> &action) const;

    /// Each widget with a text or a value, one to a line, sorted: name, text or value, and what is unusual
    /// about it.
    QStringList state() const;

    /// Answers the next modal dialog, as soon as it is shown.
    void onNextDialog(const std::function<void(QWidget *dialog)> &answer) const;

    /// Puts "Aceptar" on the next message box; its title and text join `messages`.
    void acceptNextMessage();

    /// Clicks a button whose answer is a message box; the title and text of that.
    QString messageOf(const char *button);

    /// Chooses a path in the file dialog that a button opens; an empty path cancels it.
    void choose(const char *button, const QString &path) const;

    /// Starts a batch over the folder without a logo and waits for its closing box.
    void runBatch();

    std::unique_ptr<PhotoRenamerGUI> window;
    QStringList messages; ///< "title: text" of every message box accepted

private:
    QTemporaryDir m_folder;
};
