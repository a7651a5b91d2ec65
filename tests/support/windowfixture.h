// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/photorenamergui.h"
#include "photofiles.h"

#include <QJsonObject>
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
    static void initMain()
    {
        static const QTemporaryDir settings;
        qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
        QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    }

protected:
    /// Without a place for temporary files each preview leaves one line in the log, and takes no time.
    static void failPreviews() { qputenv("TMPDIR", "/dev/null"); }

    /// A new window, and a new folder; previews come off again.
    void startOver(const ElevationAccess &access = elevationAccess())
    {
        static const QByteArray temporary = qgetenv("TMPDIR");
        qputenv("TMPDIR", temporary);
        window.reset();
        m_dialog.clear();
        m_folder = std::make_unique<QTemporaryDir>();
        QDir().mkpath(photos());
        window = std::make_unique<PhotoRenamerGUI>(access);
        window->show();
        if (!QTest::qWaitForWindowExposed(window.get()))
            qFatal("the window is not shown");
    }

    /// A path beside the folder of photos, and that folder.
    QString path(const QString &name = {}) const { return m_folder->filePath(name); }
    QString photos() const { return path(QStringLiteral("fotos")); }
    QString photo(const QString &name) const { return photos() + u'/' + name; }

    /// Paints photos "0.jpg", "1.jpg" and so on into the folder, each with another colour, and shows them.
    void showPhotos(int count, QSize size = {20, 15}) const
    {
        for (int i = 0; i < count; ++i)
            writePhoto(photo(QStringLiteral("%1.jpg").arg(i)),
                       plainImage(size, QColor(40 * (i % 6), 100, 200)), gpsTags());
        type(QStringLiteral("directoryEdit"), photos());
    }

    template <typename Widget = QWidget>
    Widget *find(const QString &name) const
    {
        return window->findChild<Widget *>(name);
    }

    void click(const QString &button) const { find<QAbstractButton>(button)->click(); }
    void check(const QString &box, bool on = true) const { find<QAbstractButton>(box)->setChecked(on); }
    void type(const QString &edit, const QString &text) const { find<QLineEdit>(edit)->setText(text); }
    bool isEnabled(const QString &name) const { return find(name)->isEnabled(); }
    QString log() const { return find<QTextEdit>(QStringLiteral("logView"))->toPlainText(); }
    QString status() const { return window->statusBar()->currentMessage(); }

    /// The text that a widget shows, or its chosen entry, or its title.
    static QString textOf(const QWidget *widget)
    {
        for (const char *property : {"currentText", "text", "title"}) {
            if (const QVariant text = widget->property(property); text.isValid())
                return text.toString();
        }
        return {};
    }

    QString entriesOf(const QString &combo) const
    {
        QStringList entries;
        for (int i = 0; i < find<QComboBox>(combo)->count(); ++i)
            entries.append(find<QComboBox>(combo)->itemText(i));
        return entries.join(u',');
    }

    /// What the preview pane shows once no drawing waits any more.
    QImage preview() const
    {
        const auto *pending = window->findChild<QTimer *>(QStringLiteral("previewTimer"));
        if (!QTest::qWaitFor([pending] { return !pending->isActive(); }))
            qFatal("the preview is never drawn");
        return find<QLabel>(QStringLiteral("previewLabel"))->pixmap().toImage();
    }

    /// Each widget that shows something, in tab order: its name, its label and what else is read aloud, its
    /// text or value, and a question mark when it has a tool tip.
    QStringList state() const
    {
        QWidgetList widgets = window->menuBar()->findChildren<QWidget *>();
        for (auto *next = window->nextInFocusChain(); next != window.get(); next = next->nextInFocusChain())
            widgets.append(next);
        QStringList lines;
        for (const QWidget *widget : widgets) {
            const auto *label = qobject_cast<const QLabel *>(widget);
            QString text = widget->accessibleName() + u' ' + textOf(widget) + u' ' + widget->styleSheet();
            for (const QLabel *other : window->findChildren<QLabel *>()) {
                if (other->buddy() == widget)
                    text.prepend(other->text() + u' ');
            }
            const bool isPart =
                QString(widget->objectName() + widget->parent()->objectName()).contains(u"qt_") ||
                qobject_cast<const QListView *>(widget); // of a combo box
            const bool isStop = (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy();
            if (isPart || (label && label->buddy()) || (!isStop && text.trimmed().isEmpty()))
                continue;
            if (widget->property("checkable").toBool())
                text.prepend(widget->property("checked").toBool() ? u"[x] " : u"[ ] ");
            else if (const auto *combo = qobject_cast<const QComboBox *>(widget))
                text += QStringLiteral("of %1").arg(combo->count());
            else if (const auto *spin = qobject_cast<const QDoubleSpinBox *>(widget))
                text += QStringLiteral("in %1 to %2 by %3%4")
                            .arg(spin->textFromValue(spin->minimum()), spin->textFromValue(spin->maximum()),
                                 spin->textFromValue(spin->singleStep()),
                                 spin->keyboardTracking() ? QString() : QStringLiteral(" when done"));
            const QString name = widget->objectName();
            lines.append(
                QStringLiteral("%1%2%3 %4%5%6")
                    .arg(name.isEmpty() ? QStringLiteral("-") : name,
                         widget->isEnabled() ? QString() : QStringLiteral("(disabled)"),
                         widget->isHidden() ? QStringLiteral("(hidden)") : QString(), text,
                         widget->property("readOnly").toBool() ? QStringLiteral(" read-only") : QString(),
                         widget->toolTip().isEmpty() ? QString() : QStringLiteral(" ?"))
                    .simplified());
        }
        return lines;
    }

    /// What the run is asked to do, by the keys of profiles and the names of the other options, and the
    /// state.
    QStringList everything() const
    {
        const RunRequest request = window->currentRequest();
        QVariantMap all = request.preset.toJson().toVariantMap();
        all.insert({{QStringLiteral("directory"), request.directory},
                    {QStringLiteral("drawLogo"), request.drawLogo},
                    {QStringLiteral("useExif"), request.run.useExif},
                    {QStringLiteral("txtPath"), request.run.txtPath},
                    {QStringLiteral("includeSubfolders"), request.run.includeSubfolders},
                    {QStringLiteral("embedCsvInExif"), request.run.embedCsvInExif},
                    {QStringLiteral("createBackup"), request.run.createBackup},
                    {QStringLiteral("useOutputFolder"), request.run.useOutputFolder},
                    {QStringLiteral("outputFolder"), request.run.outputFolder}});
        QStringList lines;
        for (auto value = all.constBegin(); value != all.constEnd(); ++value)
            lines.append(value.key() + u'=' + value->toString());
        return lines + state();
    }

    /// What an action brings about: how many previews it asks for (which it does not get), what it changes of
    /// the run, and which widgets look different afterwards.
    QString effectOf(const std::function<void()> &action) const
    {
        const auto previews = [this] {
            return log().count(
                QStringLiteral("Error: No se pudo crear el directorio temporal para la vista previa."));
        };
        const QStringList before = everything();
        const auto previewsBefore = previews();
        const QByteArray place = qgetenv("TMPDIR");
        failPreviews();
        action();
        preview();
        qputenv("TMPDIR", place);
        QString effect = QString::number(previews() - previewsBefore);
        for (const QString &line : everything()) {
            if (!before.contains(line))
                effect += u' ' + line.section(u' ', 0, 0);
        }
        return effect.remove(path());
    }

    /// Answers the next modal dialog of a kind, as soon as it is shown.
    template <typename Dialog>
    void onNext(const std::function<void(Dialog *)> &answer) const
    {
        QTimer::singleShot(5, window.get(), [this, answer] {
            auto *dialog = qobject_cast<Dialog *>(QApplication::activeModalWidget());
            dialog && dialog->isVisible() ? answer(dialog) : onNext<Dialog>(answer);
        });
    }

    /// Notes what the next dialog says, and answers it with a path or a colour, or by cancelling it.
    void answerNextDialog(const QString &answer)
    {
        onNext<QDialog>([this, answer](QDialog *dialog) {
            if (qobject_cast<QProgressDialog *>(dialog))
                return answerNextDialog(answer);
            m_dialog = dialog->windowTitle();
            const auto *box = qobject_cast<QMessageBox *>(dialog);
            if (box) {
                m_dialog += QStringLiteral(": ") + box->text();
            } else if (auto *colours = qobject_cast<QColorDialog *>(dialog)) {
                m_dialog += u' ' + colours->currentColor().name();
                colours->setCurrentColor(QColor::fromString(answer));
            } else if (auto *files = qobject_cast<QFileDialog *>(dialog)) {
                if (files->fileMode() != QFileDialog::Directory)
                    m_dialog += u' ' + files->nameFilters().join(u' ');
                files->setOption(QFileDialog::DontConfirmOverwrite);
                files->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(answer);
            }
            QMetaObject::invokeMethod(dialog, answer.isEmpty() && !box ? "reject" : "accept");
        });
    }

    /// What the dialog says that comes of clicking a button; later in `m_dialog` when it comes later.
    QString dialogOf(const QString &button, const QString &answer = {})
    {
        m_dialog.clear();
        answerNextDialog(answer);
        click(button);
        return m_dialog;
    }

    /// Clicks a button that is out of use until its work is done. What the closing box says.
    QString finish(const QString &button)
    {
        dialogOf(button);
        if (!QTest::qWaitFor([&] { return isEnabled(button); }, 60000))
            qFatal("the work does not come to its end");
        return m_dialog;
    }

    /// Runs a batch over the folder without a logo.
    QString runBatch()
    {
        check(QStringLiteral("logoCheck"), false);
        type(QStringLiteral("directoryEdit"), photos());
        return finish(QStringLiteral("startButton"));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<PhotoRenamerGUI> window;
    QString m_dialog;
};
