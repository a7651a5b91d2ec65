// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/placing.h"

#include <QHash>
#include <QMutex>
#include <QString>

#include <functional>
#include <optional>
#include <set>

/// The numbered names ("a", "a (1)", "a (2)", ...) that a run knows to be taken, in all its folders. The file
/// system is asked only about those that are not known, so that the thousandth name of a series costs no more
/// than the first. The lowest free number is the one that is given. Serves all threads of a run.
class TakenNames
{
public:
    using NameOf = std::function<QString(int number)>; ///< the name with this number; 0 is the first
    using Place = std::function<Placing(const QString &path)>;

    TakenNames() = default;

    /// Calls `place` with the lowest number's path in `folder` until it was not taken. Returns the name that
    /// was placed, or nothing when `place` failed.
    std::optional<QString> place(const QString &folder, const NameOf &nameOf, const Place &place);

    /// To be called when a file has lost its path to another one.
    void becameFree(const QString &path);

private:
    Q_DISABLE_COPY_MOVE(TakenNames)

    struct Series {
        int next = 0;       ///< lowest number that was never given
        std::set<int> free; ///< those below that are free again
    };
    struct Number {
        QString series;
        int number;
    };

    int claim(const QString &series);
    void giveBack(const Number &number);
    void remember(const QString &path, const Number &number);

    QMutex m_mutex;
    QHash<QString, Series> m_series; ///< by the path with number 0
    QHash<QString, Number> m_taken;  ///< by path, letters folded
};
