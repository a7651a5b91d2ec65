// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLineEdit>

class QDropEvent;
class QMimeData;

/// The local path in what is being dragged, when it is exactly one; otherwise empty.
QString droppedPath(const QMimeData *data);

/// Takes what is dropped as a path alone. A file manager may propose to move it: what it hands over by a move
/// it may delete.
void acceptPath(QDropEvent *event);

/// A line edit that takes no file as text: what is dropped on it is told as a path.
class PathEdit : public QLineEdit
{
    Q_OBJECT

public:
    enum class Takes {
        Nothing, ///< leaves files to the window below
        File,
        Folder
    };

    PathEdit(Takes takes, QWidget *parent);

signals:
    void dropped(const QString &path);

protected:
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    bool isTaken(const QMimeData *mimeData) const;

    Takes m_takes;
};
