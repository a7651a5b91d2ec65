// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QTimeZone>

/// What a clock showed, as local time. A reading in the hour that a change to daylight saving time skips is
/// no local time, and Qt either rejects or moves it: such a reading is held with the offset in force before
/// the change, as a clock that was not yet put forward shows it, so that neither the reading nor the moment
/// is lost.
inline QDateTime localReading(QDate date, QTime time)
{
    if (!date.isValid() || !time.isValid())
        return {};
    QDateTime local(date, time);
    if (local.isValid() && local.time() == time)
        return local;
    return QDateTime(date, time, QTimeZone(QDateTime(date.addDays(-1), time).offsetFromUtc()));
}
