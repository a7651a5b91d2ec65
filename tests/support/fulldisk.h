// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

#include <csignal>
#include <sys/resource.h>

/// As long as it lives, no file of this process can grow beyond a number of bytes, as if the disk were full
/// there: a write that goes beyond falls short, and the next one fails.
class FullDisk
{
public:
    explicit FullDisk(qint64 bytes)
        : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{static_cast<rlim_t>(bytes), m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }

private:
    Q_DISABLE_COPY_MOVE(FullDisk)

    rlimit m_before{};
    void (*m_handler)(int);
};
