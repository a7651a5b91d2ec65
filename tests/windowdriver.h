// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/photorenamergui.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSettings>
#include <QTest>
#include <QTextEdit>
#include <QTimer>

#include <functional>

// Drives the real window: widgets by their names, and the modal dialogs that it opens on the way.

inline QString text(const char *utf8)
{
    return QString::fromUtf8(utf8);
}

/// Settings in `folder`, and file dialogs that a test can fill in. Before the first window.
inline void isolateWindow(const QString &folder)
{
    for (const QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat})
        QSettings::setPath(format, QSettings::UserScope, folder);
    QCoreApplication::setOrganizationName(QStringLiteral("Velmaro"));
    QCoreApplication::setApplicationName(QStringLiteral("Velmaro"));
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

/// The window under test, shown.
class Window : public PhotoRenamerGUI
{
public:
    Window()
    {
        show();
        get<QCheckBox>("logoCheck")->setChecked(false); // no test has a logo unless it says so
    }

    template <typename Widget = QWidget>
    Widget *get(const char *name) const
    {
        auto *widget = findChild<Widget *>(QString::fromLatin1(name));
        if (!widget)
            qFatal("the window has no %s", name);
        return widget;
    }

    void click(const char *name) const { get<QAbstractButton>(name)->click(); }
    void check(const char *name, bool on) const { get<QAbstractButton>(name)->setChecked(on); }
    void type(const char *name, const QString &text) const { get<QLineEdit>(name)->setText(text); }
    bool enabled(const char *name) const { return get(name)->isEnabled(); }
    QString log() const { return get<QTextEdit>("logView")->toPlainText(); }
    QImage preview() const { return get<QLabel>("previewLabel")->pixmap(Qt::ReturnByValue).toImage(); }
};

/// Answers the modal dialogs that come up while it lives.
class DialogDriver : public QObject
{
public:
    DialogDriver()
    {
        connect(&m_timer, &QTimer::timeout, this, [this] { answer(); });
        m_timer.start(5);
    }

    /// The texts of the message boxes so far, as "title: text", each closed with its button.
    QStringList boxes;

    /// What to do with the other dialogs, in the order in which they come.
    QList<std::function<void(QWidget *)>> answers;

    void chooseFile(const QString &path)
    {
        answers.append([path](QWidget *dialog) {
            dialog->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(dialog, "accept");
        });
    }

private:
    void answer()
    {
        QWidget *modal = QApplication::activeModalWidget();
        if (auto *box = qobject_cast<QMessageBox *>(modal)) {
            boxes.append(box->windowTitle() + QStringLiteral(": ") + box->text());
            box->accept();
        } else if (modal && qstrcmp(modal->metaObject()->className(), "QProgressDialog") != 0 &&
                   !answers.isEmpty()) {
            answers.takeFirst()(modal);
        }
    }

    QTimer m_timer;
};

/// Counts the previews made while it lives: without a place for temporary files each leaves a line in the
/// log.
class PreviewCounter
{
public:
    explicit PreviewCounter(const Window &window)
        : m_window(window)
        , m_before(count())
    {
        qputenv("TMPDIR", "/dev/null");
    }
    ~PreviewCounter() { m_place.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_place); }

    qsizetype made() const { return count() - m_before; }

private:
    Q_DISABLE_COPY_MOVE(PreviewCounter)

    qsizetype count() const
    {
        return m_window.log().count(
            text("Error: No se pudo crear el directorio temporal para la vista previa."));
    }

    const Window &m_window;
    const qsizetype m_before;
    const QByteArray m_place = qgetenv("TMPDIR");
};
