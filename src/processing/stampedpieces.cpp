// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/stampedpieces.h"

namespace
{

qint64 cost(const QRect &piece)
{
    return qint64(piece.width() + 2) * (piece.height() + 2);
}

// Joins the last piece with one before it; false when none is worth it.
bool joinLast(QList<QRect> &pieces)
{
    for (qsizetype other = 0; other < pieces.size() - 1; ++other) {
        const QRect both = pieces[other] | pieces.last();
        if (cost(both) <= cost(pieces[other]) + cost(pieces.last())) {
            pieces.removeLast();
            pieces.removeAt(other);
            pieces.append(both);
            return true;
        }
    }
    return false;
}

} // namespace

QList<QRect> piecesOf(const QList<QRect> &areas, QSize mcu)
{
    QList<QRect> pieces;
    for (const QRect &area : areas) {
        pieces.append(QRect(QPoint(area.left() / mcu.width(), area.top() / mcu.height()),
                            QPoint(area.right() / mcu.width(), area.bottom() / mcu.height())));
        while (joinLast(pieces)) {
        }
    }
    return pieces;
}
