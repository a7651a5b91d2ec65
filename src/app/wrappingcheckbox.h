// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCheckBox>

/// A check box whose text goes on in further lines when it does not fit into the width.
class WrappingCheckBox : public QCheckBox
{
    Q_OBJECT

public:
    WrappingCheckBox(const QString &text, QWidget *parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    bool hitButton(const QPoint &position) const override;

private:
    bool fitsOneLine(int width) const;
    int textOffset() const;
};
