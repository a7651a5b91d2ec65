// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/windowfixture.h"

using namespace Qt::StringLiterals;

void WindowFixture::initMain()
{
    static const QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void WindowFixture::startOver(const ElevationAccess &access)
{
    window.reset();
    m_dialog.clear();
    m_folder = std::make_unique<QTemporaryDir>();
    QDir().mkpath(photos());
    window = std::make_unique<PhotoRenamerGUI>(access);
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get()))
        qFatal("the window is not shown");
}

void WindowFixture::showPhotos(int count, QSize size) const
{
    for (int i = 0; i < count; ++i)
        writePhoto(photo(u"%1.jpg"_s.arg(i)), plainImage(size, QColor(40 * (i % 6), 100, 200)), gpsTags());
    type(u"directoryEdit"_s, photos());
}

void WindowFixture::click(const QString &button) const
{
    auto *found = find<QAbstractButton>(button);
    if (!found->isEnabled())
        qFatal("%s is disabled", qPrintable(button));
    found->click();
}

void WindowFixture::check(const QString &box, bool on) const
{
    if (find<QAbstractButton>(box)->isChecked() != on)
        click(box);
}

QString WindowFixture::textOf(const QWidget *widget)
{
    for (const char *property : {"currentText", "text", "title"}) {
        if (const QVariant text = widget->property(property); text.isValid())
            return text.toString();
    }
    return {};
}

QImage WindowFixture::preview() const
{
    const auto *pending = window->findChild<QTimer *>(u"previewTimer"_s);
    if (!QTest::qWaitFor([pending] { return !pending->isActive(); }))
        qFatal("the preview is never drawn");
    return find<QLabel>(u"previewLabel"_s)->pixmap().toImage();
}

QStringList WindowFixture::state() const
{
    QWidgetList widgets = window->menuBar()->findChildren<QWidget *>();
    for (QWidget *next = window->nextInFocusChain(); next != window.get(); next = next->nextInFocusChain())
        widgets.append(next);
    QStringList lines;
    for (const QWidget *widget : widgets) {
        const auto *label = qobject_cast<const QLabel *>(widget);
        QStringList texts{widget->accessibleName(), textOf(widget), widget->styleSheet()};
        for (const QLabel *other : window->findChildren<QLabel *>()) {
            if (other->buddy() == widget)
                texts.prepend(other->text());
        }
        const bool isPart = QString(widget->objectName() + widget->parent()->objectName()).contains(u"qt_");
        const bool isStop = (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy();
        if (isPart || (label && label->buddy()) || (!isStop && texts.join(QString()).isEmpty()))
            continue;
        if (const auto *button = qobject_cast<const QAbstractButton *>(widget);
            button && button->isCheckable())
            texts.prepend(button->isChecked() ? u"[x]"_s : u"[ ]"_s);
        else if (const auto *combo = qobject_cast<const QComboBox *>(widget))
            texts.append(u"of %1"_s.arg(combo->count()));
        else if (const auto *spin = qobject_cast<const QDoubleSpinBox *>(widget))
            texts.append(u"in %1 to %2 by %3%4"_s.arg(
                spin->textFromValue(spin->minimum()), spin->textFromValue(spin->maximum()),
                spin->textFromValue(spin->singleStep()), spin->keyboardTracking() ? u""_s : u" when done"_s));
        const QString name = widget->objectName().isEmpty() ? u"-"_s : widget->objectName();
        texts.prepend(name + (widget->isEnabled() ? u""_s : u"(disabled)"_s) +
                      (widget->isHidden() ? u"(hidden)"_s : u""_s));
        texts.append(widget->property("readOnly").toBool() ? u"read-only"_s : u""_s);
        texts.append(widget->toolTip().isEmpty() ? u""_s : u"?"_s);
        lines.append(texts.join(u' ').simplified());
    }
    return lines;
}

QStringList WindowFixture::everything() const
{
    const RunRequest request = window->currentRequest();
    QVariantMap all = request.preset.toJson().toVariantMap();
    all.insert({{u"directory"_s, request.directory},
                {u"drawLogo"_s, request.drawLogo},
                {u"useExif"_s, request.run.useExif},
                {u"txtPath"_s, request.run.txtPath},
                {u"includeSubfolders"_s, request.run.includeSubfolders},
                {u"embedCsvInExif"_s, request.run.embedCsvInExif},
                {u"createBackup"_s, request.run.createBackup},
                {u"useOutputFolder"_s, request.run.useOutputFolder},
                {u"outputFolder"_s, request.run.outputFolder}});
    QStringList lines;
    for (auto value = all.constBegin(); value != all.constEnd(); ++value)
        lines.append(value.key() + u'=' + value->toString());
    return lines + state();
}

// Without a place for temporary files each preview leaves one line in the log.
QString WindowFixture::effectOf(const std::function<void()> &action) const
{
    const auto previews = [this] {
        return log().count(u"Error: No se pudo crear el directorio temporal para la vista previa."_s);
    };
    const QByteArray place = qgetenv("TMPDIR");
    qputenv("TMPDIR", "/dev/null");
    const QStringList before = everything();
    const auto previewsBefore = previews();
    action();
    preview();
    place.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", place);
    QString effect = QString::number(previews() - previewsBefore);
    for (const QString &line : everything()) {
        if (!before.contains(line))
            effect += u' ' + line.section(u' ', 0, 0);
    }
    return effect.remove(path());
}

void WindowFixture::answerNextDialog(const QString &answer)
{
    onNext<QDialog>([this, answer](QDialog *dialog) {
        m_dialog = dialog->windowTitle();
        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            m_dialog += u": "_s + box->text();
            return box->button(QMessageBox::Ok)->click();
        }
        if (auto *colours = qobject_cast<QColorDialog *>(dialog)) {
            m_dialog += u' ' + colours->currentColor().name();
            colours->setCurrentColor(QColor::fromString(answer));
        } else if (auto *files = qobject_cast<QFileDialog *>(dialog)) {
            if (files->fileMode() != QFileDialog::Directory)
                m_dialog += u' ' + files->nameFilters().join(u' ');
            files->setOption(QFileDialog::DontConfirmOverwrite);
            files->findChild<QLineEdit *>(u"fileNameEdit"_s)->setText(answer);
        } else {
            return answerNextDialog(answer); // that was a progress dialog
        }
        QMetaObject::invokeMethod(dialog, answer.isEmpty() ? "reject" : "accept");
    });
}

QString WindowFixture::dialogOf(const QString &button, const QString &answer)
{
    m_dialog.clear();
    answerNextDialog(answer);
    click(button);
    return m_dialog;
}

void WindowFixture::runBatch()
{
    check(u"logoCheck"_s, false);
    type(u"directoryEdit"_s, photos());
    dialogOf(u"startButton"_s);
    if (isEnabled(u"startButton"_s) ||
        !QTest::qWaitFor([this] { return isEnabled(u"startButton"_s); }, 60000))
        qFatal("the batch did not run to its end");
}
