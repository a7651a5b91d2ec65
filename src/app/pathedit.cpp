// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pathedit.h"

#include <QDragEnterEvent>
#include <QFileInfo>
#include <QMimeData>
#include <QUrl>

QString droppedPath(const QMimeData *data)
{
    const QList<QUrl> urls = data->urls();
    return urls.size() == 1 ? urls.constFirst().toLocalFile() : QString();
}

void acceptPath(QDropEvent *event)
{
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

PathEdit::PathEdit(Takes takes, QWidget *parent)
    : QLineEdit(parent)
    , m_takes(takes)
{
}

bool PathEdit::isTaken(const QMimeData *mimeData) const
{
    const QFileInfo file(droppedPath(mimeData));
    return (m_takes == Takes::File && file.isFile()) || (m_takes == Takes::Folder && file.isDir());
}

void PathEdit::dragEnterEvent(QDragEnterEvent *event)
{
    if (isTaken(event->mimeData()))
        acceptPath(event);
    else if (event->mimeData()->hasUrls())
        event->ignore();
    else
        QLineEdit::dragEnterEvent(event);
}

void PathEdit::dragMoveEvent(QDragMoveEvent *event)
{
    if (isTaken(event->mimeData()))
        acceptPath(event);
    else
        QLineEdit::dragMoveEvent(event);
}

void PathEdit::dropEvent(QDropEvent *event)
{
    if (isTaken(event->mimeData())) {
        acceptPath(event);
        emit dropped(droppedPath(event->mimeData()));
    } else if (!event->mimeData()->hasUrls()) {
        QLineEdit::dropEvent(event);
    }
}
