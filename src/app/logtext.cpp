// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/logtext.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QTextEdit>

void appendPlainLines(QTextEdit *view, const QStringList &lines)
{
    if (lines.isEmpty())
        return;
    QScrollBar *bar = view->verticalScrollBar();
    const bool atEnd = bar->value() >= bar->maximum();
    QTextCursor cursor(view->document());
    cursor.movePosition(QTextCursor::End);
    cursor.beginEditBlock();
    if (!view->document()->isEmpty())
        cursor.insertBlock();
    cursor.insertText(lines.join(u'\n'));
    cursor.endEditBlock();
    if (atEnd)
        bar->setValue(bar->maximum());
}
