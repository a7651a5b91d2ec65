// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/console.h"

#include <QMutexLocker>

#include <cstdio>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace
{

constexpr int barWidth = 40;

bool isTerminal(std::FILE *stream)
{
#ifdef Q_OS_WIN
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

void put(std::FILE *stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fflush(stream);
}

} // namespace

void Console::log(const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    clearBar();
    put(stdout, line + QLatin1Char('\n'));
}

void Console::progress(int done, int total)
{
    const QMutexLocker locker(&m_mutex);
    if (total <= 0)
        return;
    if (isTerminal(stderr)) {
        const auto filled = static_cast<qsizetype>(static_cast<qint64>(barWidth) * done / total);
        const QString bar = QString(filled, QLatin1Char('#')).leftJustified(barWidth, QLatin1Char('.'));
        put(stderr, QStringLiteral("\r[%1] %2/%3").arg(bar, QString::number(done), QString::number(total)));
        m_barShown = true;
        return;
    }
    const int tenths = static_cast<int>(static_cast<qint64>(10) * done / total);
    if (tenths <= m_shownTenths)
        return;
    m_shownTenths = tenths;
    put(stderr, QStringLiteral("Progreso: %1/%2\n").arg(done).arg(total));
}

void Console::error(const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    clearBar();
    put(stderr, line + QLatin1Char('\n'));
}

// A line below the bar; the next progress draws the bar anew.
void Console::clearBar()
{
    if (m_barShown)
        put(stderr, QStringLiteral("\r\x1b[K"));
    m_barShown = false;
}
