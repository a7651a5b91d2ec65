// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/stampedpieces.h"

#include <algorithm>

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

QList<bool> changedMcus(const QImage &before, const QImage &after, const QRect &area, QSize mcu)
{
    const qsizetype across = (area.width() + mcu.width() - 1) / mcu.width();
    const qsizetype down = (area.height() + mcu.height() - 1) / mcu.height();
    QList<bool> result(across * down, false);
    for (int y = 0; y < area.height(); ++y) {
        const auto *old = reinterpret_cast<const QRgb *>(before.constScanLine(area.top() + y)) + area.left();
        const auto *now = reinterpret_cast<const QRgb *>(after.constScanLine(area.top() + y)) + area.left();
        bool *changed = result.data() + y / mcu.height() * across;
        for (int left = 0; left < area.width(); left += mcu.width(), ++changed) {
            const int right = std::min(left + mcu.width(), area.width());
            *changed = *changed || !std::equal(old + left, old + right, now + left);
        }
    }
    return result;
}
