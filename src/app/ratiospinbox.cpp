// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/ratiospinbox.h"

QValidator::State RatioSpinBox::validate(QString &text, int &position) const
{
    text = withOwnMark(text);
    return QDoubleSpinBox::validate(text, position);
}

double RatioSpinBox::valueFromText(const QString &text) const
{
    return QDoubleSpinBox::valueFromText(withOwnMark(text));
}

QString RatioSpinBox::withOwnMark(QString text) const
{
    const QString mark = locale().decimalPoint();
    return text.replace(u',', mark).replace(u'.', mark);
}
