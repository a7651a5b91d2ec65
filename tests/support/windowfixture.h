// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/photorenamergui.h"
#include "photofiles.h"

#include <QSignalSpy>
#include <QTest>
#include <QtWidgets>

#include <functional>
#include <memory>

/// The main window as a person uses it, beside a folder of photos: by the names of its widgets, its real
/// dialogs answered while they are open.
class WindowFixture : public QObject
{
public:
    /// Before the application object exists: settings go to a folder of this process, and file dialogs are
    /// Qt's own.
    static void initMain();

protected:
    /// A new window, and a new folder.
    void startOver(const ElevationAccess &access = elevationAccess());

    /// A path beside the folder of photos, and that folder.
    QString path(const QString &name = {}) const { return m_folder->filePath(name); }
    QString photos() const { return path(QStringLiteral("fotos")); }
    QString photo(const QString &name) const { return photos() + u'/' + name; }

    /// Paints photos "0.jpg", "1.jpg" and so on into the folder, each with another colour, and shows them.
    void showPhotos(int count, QSize size = {20, 15}) const;

    template <typename Widget = QWidget>
    Widget *find(const QString &name) const
    {
        auto *widget = window->findChild<Widget *>(name);
        if (!widget)
            qFatal("no widget %s", qPrintable(name));
        return widget;
    }

    void click(const QString &button) const;
    void check(const QString &box, bool on = true) const;
    void type(const QString &lineEdit, const QString &text) const
    {
        find<QLineEdit>(lineEdit)->setText(text);
    }
    bool isEnabled(const QString &name) const { return find(name)->isEnabled(); }
    QString log() const { return find<QTextEdit>(QStringLiteral("logView"))->toPlainText(); }
    QString status() const { return window->statusBar()->currentMessage(); }

    /// The text that a widget shows, or its chosen entry, or its title.
    static QString textOf(const QWidget *widget);

    /// What the preview pane shows once no drawing waits any more.
    QImage preview() const;

    /// Each widget that shows something, in tab order, with its name, its label and what else is read aloud,
    /// its text or value, and a question mark when it has a tool tip.
    QStringList state() const;

    /// What an action brings about: how many previews it asks for (which it does not get), what it changes of
    /// the run, and which widgets look different afterwards.
    QString effectOf(const std::function<void()> &action) const;

    /// What the run is asked to do, by the keys of profiles and the names of the other options, and the
    /// state.
    QStringList everything() const;

    /// Answers the next modal dialog of a kind, as soon as it is shown.
    template <typename Dialog>
    void onNext(const std::function<void(Dialog *)> &answer) const
    {
        auto *timer = new QTimer(window.get());
        connect(timer, &QTimer::timeout, window.get(), [timer, answer] {
            auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible())
                return;
            timer->stop();
            timer->deleteLater();
            answer(dialog);
        });
        timer->start(5);
    }

    /// Clicks a button, and answers the dialog that comes of it with a path or a colour, or by cancelling it.
    /// What the dialog says; later in `m_dialog` when it comes later.
    QString dialogOf(const QString &button, const QString &answer = {});

    /// Runs a batch over the folder without a logo, up to its closing box.
    void runBatch();

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PhotoRenamerGUI> window;
    QString m_dialog;

private:
    void answerNextDialog(const QString &answer);
};
