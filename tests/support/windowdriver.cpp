// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowdriver.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

WindowDriver::WindowDriver()
    : window(std::make_unique<PhotoRenamerGUI>())
{
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()))
        qFatal("the window is not shown");
}

WindowDriver::~WindowDriver() = default;

void WindowDriver::prepareProcess()
{
    static const QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void WindowDriver::click(const char *button) const
{
    auto *found = find<QAbstractButton>(button);
    if (!found->isEnabled())
        qFatal("%s is disabled", button);
    found->click();
}

void WindowDriver::check(const char *box, bool on) const
{
    if (find<QAbstractButton>(box)->isChecked() != on)
        click(box);
}

void WindowDriver::type(const char *lineEdit, const QString &text) const
{
    find<QLineEdit>(lineEdit)->setText(text);
}

bool WindowDriver::isEnabled(const char *name) const
{
    return find<QWidget>(name)->isEnabled();
}

QString WindowDriver::log() const
{
    return find<QTextEdit>("logView")->toPlainText();
}

void WindowDriver::onNextDialog(const std::function<void(QWidget *)> &answer) const
{
    auto *timer = new QTimer(window.get());
    QObject::connect(timer, &QTimer::timeout, window.get(), [timer, answer] {
        QWidget *dialog = QApplication::activeModalWidget();
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        answer(dialog);
    });
    timer->start(5);
}

void WindowDriver::acceptNextMessage()
{
    onNextDialog([this](QWidget *dialog) {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        if (!box) {
            acceptNextMessage(); // a progress dialog
            return;
        }
        messages.append(box->windowTitle() + QStringLiteral(": ") + box->text());
        box->button(QMessageBox::Ok)->click();
    });
}

void WindowDriver::chooseInNextDialog(const QString &path) const
{
    onNextDialog([path](QWidget *dialog) {
        auto *fileDialog = qobject_cast<QFileDialog *>(dialog);
        if (!fileDialog)
            qFatal("no file dialog");
        fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(fileDialog, "accept");
    });
}
