// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/formbuilding.h"

#include "app/ratiospinbox.h"
#include "app/wrappingcheckbox.h"

#include <QComboBox>
#include <QEvent>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>

namespace
{

// What a group in a tab of the control panel can show side by side, with margins and a scroll bar beside it.
constexpr int widestRow = 320;

// Leaves the wheel to the scroll area while the watched widget has no focus.
class WheelGuard : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *widget = qobject_cast<QWidget *>(watched);
        if (event->type() != QEvent::Wheel || !widget || widget->hasFocus())
            return false;
        event->ignore();
        return true;
    }
};

// Asks for the whole height of its content. The base class stops at some lines, and keeps what it asked for
// when the content grows.
class FormArea : public QScrollArea
{
public:
    using QScrollArea::QScrollArea;

    QSize sizeHint() const override { return widget()->sizeHint(); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::LayoutRequest)
            updateGeometry();
        return QScrollArea::eventFilter(watched, event);
    }
};

void guardFromWheel(QWidget *widget)
{
    widget->setFocusPolicy(Qt::StrongFocus);
    widget->installEventFilter(new WheelGuard(widget));
}

template <typename Widget>
Widget *named(Widget *widget, const char *name)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}

} // namespace

namespace FormBuilding
{

PathEdit *lineEdit(QWidget *parent, const char *name, PathEdit::Takes takes)
{
    return named(new PathEdit(takes, parent), name);
}

QPushButton *button(QWidget *parent, const char *name, const QString &text, const QString &purpose)
{
    QPushButton *push = named(new QPushButton(text, parent), name);
    push->setAccessibleName(purpose);
    return push;
}

QCheckBox *checkBox(QWidget *parent, const char *name, const QString &text, const QString &toolTip)
{
    QCheckBox *box = named(new WrappingCheckBox(text, parent), name);
    box->setToolTip(toolTip);
    return box;
}

QComboBox *comboBox(QWidget *parent, const char *name, const QStringList &items)
{
    QComboBox *combo = named(new QComboBox(parent), name);
    combo->addItems(items);
    guardFromWheel(combo);
    return combo;
}

QComboBox *cornerCombo(QWidget *parent, const char *name)
{
    return comboBox(parent, name, Corner::All);
}

QDoubleSpinBox *ratioSpin(QWidget *parent, const char *name, const RatioRange &range, const QString &toolTip)
{
    QDoubleSpinBox *spin = named(new RatioSpinBox(parent), name);
    spin->findChild<QLineEdit *>()->setAcceptDrops(false); // a file dropped there is no number
    spin->setDecimals(range.decimals);
    spin->setRange(range.minimum, range.maximum);
    spin->setSingleStep(range.step);
    spin->setToolTip(toolTip);
    guardFromWheel(spin);
    return spin;
}

QLabel *swatch(QWidget *parent, const char *name)
{
    QLabel *label = named(new QLabel(parent), name);
    label->setFixedWidth(50);
    label->setFrameShape(QFrame::StyledPanel); // so that white is seen as a field, too
    return label;
}

QHBoxLayout *fieldRow(QWidget *first, QPushButton *button)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(5);
    row->addWidget(first);
    row->addWidget(button);
    return row;
}

void stackIfTooWide(QBoxLayout *row)
{
    if (row->minimumSize().width() > widestRow)
        row->setDirection(QBoxLayout::TopToBottom);
}

void addFieldRow(QFormLayout *form, const QString &label, QWidget *first, QPushButton *button)
{
    auto *caption = new QLabel(label, form->parentWidget());
    caption->setBuddy(qobject_cast<QLineEdit *>(first) ? first : button);
    form->addRow(caption, fieldRow(first, button));
}

QScrollArea *scrollable(QWidget *content)
{
    auto *area = new FormArea(content->parentWidget());
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus); // the widgets in it have it, and bring themselves into view
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidgetResizable(true);
    area->setWidget(content);
    return area;
}

QString swatchStyle(const QString &colorName)
{
    return QStringLiteral("background-color: ") + colorName;
}

} // namespace FormBuilding
