// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/pathedit.h"
#include "data/preset.h"

#include <QString>

class QBoxLayout;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QFormLayout;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QWidget;

/// The widgets of the window's forms, each made ready for use as a child of `parent` with the given object
/// name.
namespace FormBuilding
{
PathEdit *lineEdit(QWidget *parent, const char *name, PathEdit::Takes takes);

/// `purpose` tells those who cannot see what stands around the button, which others share its text with.
QPushButton *button(QWidget *parent, const char *name, const QString &text, const QString &purpose = {});

/// Text that is too long for the form goes on in further lines.
QCheckBox *checkBox(QWidget *parent, const char *name, const QString &text, const QString &toolTip = {});

/// Combo and spin boxes change by the mouse wheel only while they have the focus, so that scrolling a form
/// changes nothing on the way.
QComboBox *comboBox(QWidget *parent, const char *name, const QStringList &items);
QComboBox *cornerCombo(QWidget *parent, const char *name);
QDoubleSpinBox *ratioSpin(QWidget *parent, const char *name, const RatioRange &range, const QString &toolTip);

/// A field that shows a colour.
QLabel *swatch(QWidget *parent, const char *name);

/// `first` and `button` side by side.
QHBoxLayout *fieldRow(QWidget *first, QPushButton *button);

/// Turns a row of widgets into a column when it is too wide for the panel.
void stackIfTooWide(QBoxLayout *row);

/// A row of `form` with a field and its button; the label belongs to `first`, or to the button when the field
/// takes no input.
void addFieldRow(QFormLayout *form, const QString &label, QWidget *first, QPushButton *button);

/// `content` in an area that scrolls it up and down when it is higher than the space there is.
QScrollArea *scrollable(QWidget *content);

/// The style sheet of a swatch.
QString swatchStyle(const QString &colorName);
} // namespace FormBuilding
