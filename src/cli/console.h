// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMutex>
#include <QString>

/// The two output streams of a console program, UTF-8. May be used from any thread.
class Console
{
public:
    /// To be made before anything else opens a file.
    Console();

    /// Writes a line to standard output. The first that cannot be written is the last that is tried; unless
    /// only the reader has gone away, standard error tells.
    void log(const QString &line);

    /// Why the log is not complete; empty when it is, or its reader has gone away.
    QString logError() const;

    /// Shows the progress on standard error: a bar on a terminal, elsewhere a line for every tenth.
    void progress(int done, int total);

    /// Writes a line to standard error.
    void error(const QString &line);

private:
    Q_DISABLE_COPY_MOVE(Console)

    void clearBar();

    mutable QMutex m_mutex;
    int m_shownTenths = 0;
    bool m_barShown = false;
    bool m_logClosed = false;
    QString m_logError;
};
