// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDoubleSpinBox>

/// A number field that takes a comma and a dot alike as the decimal mark, whatever the locale. It knows no
/// thousands.
class RatioSpinBox : public QDoubleSpinBox
{
    Q_OBJECT

public:
    using QDoubleSpinBox::QDoubleSpinBox;

    QValidator::State validate(QString &text, int &position) const override;
    double valueFromText(const QString &text) const override;

private:
    QString withOwnMark(QString text) const;
};
