// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowdriver.h"

#include "photofiles.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QStatusBar>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

WindowDriver::WindowDriver(const ElevationAccess &access)
    : window(std::make_unique<PhotoRenamerGUI>(access))
{
    QDir().mkpath(photos());
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

void WindowDriver::writePhotos(int count, QSize size) const
{
    for (int i = 0; i < count; ++i)
        writePhoto(photos() + QStringLiteral("/%1.jpg").arg(i),
                   plainImage(size, QColor(40 * (i % 6), 100, 200)), gpsTags());
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

QString WindowDriver::textOf(const char *lineEdit) const
{
    return find<QLineEdit>(lineEdit)->text();
}

QString WindowDriver::log() const
{
    return find<QTextEdit>("logView")->toPlainText();
}

QString WindowDriver::status() const
{
    return window->statusBar()->currentMessage();
}

QImage WindowDriver::preview() const
{
    const auto *pending = window->findChild<QTimer *>(QStringLiteral("previewTimer"));
    if (!QTest::qWaitFor([pending] { return !pending->isActive(); }))
        qFatal("the preview is never drawn");
    return find<QLabel>("previewLabel")->pixmap().toImage();
}

QString WindowDriver::previewText() const
{
    return find<QLabel>("previewLabel")->text();
}

QStringList WindowDriver::state() const
{
    QStringList lines;
    for (const QWidget *widget : window->findChildren<QWidget *>()) {
        if (widget->objectName().startsWith(u"qt_"))
            continue; // a part of another widget
        QString text;
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget))
            text = (button->isCheckable()
                        ? (button->isChecked() ? QStringLiteral("[x] ") : QStringLiteral("[ ] "))
                        : QString()) +
                   button->text();
        else if (const auto *box = qobject_cast<const QGroupBox *>(widget))
            text = box->title();
        else if (const auto *label = qobject_cast<const QLabel *>(widget))
            text = label->text() + label->styleSheet();
        else if (const auto *edit = qobject_cast<const QLineEdit *>(widget))
            text = edit->text() + (edit->isReadOnly() ? QStringLiteral(" (read-only)") : QString());
        else if (const auto *combo = qobject_cast<const QComboBox *>(widget))
            text = QStringLiteral("%1 of %2").arg(combo->currentText()).arg(combo->count());
        else if (const auto *spin = qobject_cast<const QDoubleSpinBox *>(widget))
            text = QStringLiteral("%1 in %2 to %3 by %4%5")
                       .arg(spin->text(), spin->textFromValue(spin->minimum()),
                            spin->textFromValue(spin->maximum()), spin->textFromValue(spin->singleStep()),
                            spin->keyboardTracking() ? QString() : QStringLiteral(" when done"));
        const bool named = !widget->objectName().isEmpty();
        if (text.isEmpty() && !(named && qobject_cast<const QLineEdit *>(widget)))
            continue;
        lines.append(QStringLiteral("%1 %2 %3 %4")
                         .arg(named ? widget->objectName() : QStringLiteral("-"), text,
                              widget->isEnabled() ? QString() : QStringLiteral("(disabled)"),
                              widget->isHidden() ? QStringLiteral("(hidden)") : QString())
                         .simplified());
    }
    lines.sort();
    return lines;
}

// Without a place for temporary files each preview leaves one line in the log.
int WindowDriver::previewsOf(const std::function<void()> &action) const
{
    const auto lines = [this] {
        return log().count(
            QStringLiteral("Error: No se pudo crear el directorio temporal para la vista previa."));
    };
    const QByteArray place = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/dev/null");
    const auto before = lines();
    action();
    preview();
    const auto after = lines();
    place.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", place);
    return static_cast<int>(after - before);
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

QString WindowDriver::messageOf(const char *button)
{
    messages.clear();
    acceptNextMessage();
    click(button);
    return messages.value(0);
}

void WindowDriver::choose(const char *button, const QString &path) const
{
    onNextDialog([path](QWidget *dialog) {
        auto *fileDialog = qobject_cast<QFileDialog *>(dialog);
        if (!fileDialog)
            qFatal("no file dialog");
        if (path.isEmpty())
            return fileDialog->reject();
        fileDialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(fileDialog, "accept");
    });
    click(button);
}

void WindowDriver::runBatch()
{
    check("logoCheck", false);
    type("directoryEdit", photos());
    messages.clear();
    acceptNextMessage();
    click("startButton");
    if (isEnabled("startButton") || !QTest::qWaitFor([this] { return isEnabled("startButton"); }, 60000))
        qFatal("the batch did not run to its end");
}
