// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDateTime>
#include <QString>
#include <QTimeZone>

/// The local date-time at which a clock shows `date` and `time`. In the hour that is skipped when clocks go
/// forward there is no such local time, but a camera that nobody has set yet shows it: the reading is kept,
/// with the offset from UTC of the day before. Invalid when date or time is.
inline QDateTime clockReading(const QDate &date, const QTime &time)
{
    const QDateTime local(date, time);
    if (!date.isValid() || !time.isValid() || (local.isValid() && local.time() == time))
        return local;
    const int offset = QDateTime(date.addDays(-1), time).offsetFromUtc();
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    return QDateTime(date, time, QTimeZone::fromSecondsAheadOfUtc(offset));
#else
    return QDateTime(date, time, Qt::OffsetFromUTC, offset);
#endif
}

/// The reading in a text of the form `pattern`: a date pattern and a time pattern, as QDate and QTime take
/// them, with one blank between them. Invalid when the text is not of that form.
inline QDateTime clockReading(const QString &text, const QString &pattern)
{
    const QLatin1Char blank(' ');
    return clockReading(QDate::fromString(text.section(blank, 0, 0), pattern.section(blank, 0, 0)),
                        QTime::fromString(text.section(blank, 1), pattern.section(blank, 1)));
}
