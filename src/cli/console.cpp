// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/console.h"

#include "files/descriptor.h"

#include <QMutexLocker>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace
{

constexpr int barWidth = 40;

// The number of the error that kept the text from being written, or 0.
int put(int stream, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    qsizetype written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            ::write(stream, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
        if (count < 0 && errno != EINTR)
            return errno;
        written += count > 0 ? count : 0;
    }
    return 0;
}

} // namespace

Console::Console()
{
    // Where whoever started the program has closed a stream, the next file that is opened would take its
    // number, and the log would be written into that.
    int number = 0;
    do
        number = ::open("/dev/null", O_RDWR);
    while (number >= 0 && number <= STDERR_FILENO);
    if (number >= 0)
        ::close(number);
}

void Console::log(const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    if (m_logClosed)
        return;
    clearBar();
    const int error = put(STDOUT_FILENO, line + QLatin1Char('\n'));
    m_logClosed = error != 0;
    // Who closes the log has read what he wanted of it.
    if (error != 0 && error != EPIPE) {
        m_logError = systemReason(error);
        put(STDERR_FILENO,
            QStringLiteral("No se pudo escribir el registro: ") + m_logError + QLatin1Char('\n'));
    }
}

QString Console::logError() const
{
    const QMutexLocker locker(&m_mutex);
    return m_logError;
}

void Console::progress(int done, int total)
{
    const QMutexLocker locker(&m_mutex);
    if (total <= 0)
        return;
    if (::isatty(STDERR_FILENO) != 0) {
        const auto filled = static_cast<qsizetype>(static_cast<qint64>(barWidth) * done / total);
        const QString bar = QString(filled, QLatin1Char('#')).leftJustified(barWidth, QLatin1Char('.'));
        put(STDERR_FILENO,
            QStringLiteral("\r[%1] %2/%3").arg(bar, QString::number(done), QString::number(total)));
        m_barShown = true;
        return;
    }
    const int tenths = static_cast<int>(static_cast<qint64>(10) * done / total);
    if (tenths <= m_shownTenths)
        return;
    m_shownTenths = tenths;
    put(STDERR_FILENO, QStringLiteral("Progreso: %1/%2\n").arg(done).arg(total));
}

void Console::error(const QString &line)
{
    const QMutexLocker locker(&m_mutex);
    clearBar();
    put(STDERR_FILENO, line + QLatin1Char('\n'));
}

// A line below the bar; the next progress draws the bar anew.
void Console::clearBar()
{
    if (m_barShown)
        put(STDERR_FILENO, QStringLiteral("\r\x1b[K"));
    m_barShown = false;
}
