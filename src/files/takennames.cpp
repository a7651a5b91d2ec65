// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/takennames.h"

#include "files/folderidentity.h"

#include <QMutexLocker>

std::optional<QString> TakenNames::place(const QString &folder, const NameOf &nameOf, const Place &place)
{
    const QString series = folder + u'/' + nameOf(0);
    for (;;) {
        const Number number{series, claim(series)};
        const QString name = nameOf(number.number);
        const QString path = folder + u'/' + name;
        const Placing placing = place(path);
        if (placing == Placing::Failed) {
            giveBack(number);
            return std::nullopt;
        }
        remember(path, number);
        if (placing == Placing::Done)
            return name;
    }
}

void TakenNames::becameFree(const QString &path)
{
    const QMutexLocker locker(&m_mutex);
    if (const auto taken = m_taken.constFind(foldedName(path)); taken != m_taken.constEnd()) {
        m_series[taken->series].free.insert(taken->number);
        m_taken.erase(taken);
    }
}

int TakenNames::claim(const QString &series)
{
    const QMutexLocker locker(&m_mutex);
    Series &numbers = m_series[series];
    return numbers.free.empty() ? numbers.next++ : numbers.free.extract(numbers.free.begin()).value();
}

void TakenNames::giveBack(const Number &number)
{
    const QMutexLocker locker(&m_mutex);
    m_series[number.series].free.insert(number.number);
}

void TakenNames::remember(const QString &path, const Number &number)
{
    const QMutexLocker locker(&m_mutex);
    m_taken.insert(foldedName(path), number);
}
