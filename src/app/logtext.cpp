// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/logtext.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QTextEdit>

void appendPlainLines(QTextEdit *view, const QStringList &lines)
{
    if (lines.isEmpty())
        return;
    QTextCursor cursor(view->document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    if (!view->document()->isEmpty())
        cursor.insertBlock();
    cursor.insertText(lines.join(u'\n'));
    cursor.endEditBlock();
}

void followEnd(QTextEdit *view)
{
    QScrollBar *bar = view->verticalScrollBar();
    QObject::connect(bar, &QScrollBar::rangeChanged, bar,
                     [bar, end = bar->maximum()](int, int maximum) mutable {
                         if (bar->value() >= end)
                             bar->setValue(maximum);
                         end = maximum;
                     });
}
