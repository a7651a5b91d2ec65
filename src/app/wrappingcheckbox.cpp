// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/wrappingcheckbox.h"

#include <QStyleOption>
#include <QStylePainter>

namespace
{
constexpr int textFlags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap;
}

WrappingCheckBox::WrappingCheckBox(const QString &text, QWidget *parent)
    : QCheckBox(text, parent)
{
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum, QSizePolicy::CheckBox);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

// Styles leave room around the text that a column of boxes does not need.
QSize WrappingCheckBox::sizeHint() const
{
    const QSize styled = QCheckBox::sizeHint();
    const int box = style()->pixelMetric(QStyle::PM_IndicatorHeight, nullptr, this);
    return {styled.width(), std::min(styled.height(), std::max(fontMetrics().height(), box) + 2)};
}

QSize WrappingCheckBox::minimumSizeHint() const
{
    int longestWord = 0;
    for (const QString &word : text().split(u' '))
        longestWord = std::max(longestWord, fontMetrics().horizontalAdvance(word));
    return {textOffset() + longestWord + 1, sizeHint().height()};
}

bool WrappingCheckBox::hasHeightForWidth() const
{
    return true;
}

int WrappingCheckBox::heightForWidth(int width) const
{
    const int oneLine = sizeHint().height();
    if (fitsOneLine(width))
        return oneLine;
    const QRect available(0, 0, width - textOffset(), QWIDGETSIZE_MAX);
    const int textHeight = fontMetrics().boundingRect(available, textFlags, text()).height();
    return std::max(oneLine, oneLine - fontMetrics().height() + textHeight);
}

void WrappingCheckBox::paintEvent(QPaintEvent *event)
{
    if (fitsOneLine(width())) {
        QCheckBox::paintEvent(event);
        return;
    }
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QRect all = option.rect;
    const int oneLine = sizeHint().height();

    // The box stands beside the first line.
    option.rect.setHeight(oneLine);
    option.rect = style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, this);
    painter.drawPrimitive(QStyle::PE_IndicatorCheckBox, option);

    const int above = (oneLine - fontMetrics().height()) / 2;
    const QRect textRect =
        QStyle::visualRect(layoutDirection(), all, all.adjusted(textOffset(), above, 0, 0));
    painter.drawItemText(textRect, textFlags, palette(), isEnabled(), text(), QPalette::WindowText);
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.rect = textRect;
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }
}

bool WrappingCheckBox::hitButton(const QPoint &position) const
{
    return rect().contains(position);
}

bool WrappingCheckBox::fitsOneLine(int width) const
{
    return width >= sizeHint().width();
}

// The space that the style takes for the box and the gap beside it.
int WrappingCheckBox::textOffset() const
{
    QStyleOptionButton option;
    initStyleOption(&option);
    option.direction = Qt::LeftToRight;
    return style()->subElementRect(QStyle::SE_CheckBoxContents, &option, this).left();
}
