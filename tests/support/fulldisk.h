// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QScopeGuard>

#include <csignal>
#include <sys/resource.h>

/// As long as what it returns lives, no file of this process can grow beyond a number of bytes, as if the
/// disk were full there: a write that goes beyond falls short, and the next one fails.
[[nodiscard]] inline auto fullDisk(qint64 bytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{static_cast<rlim_t>(bytes), before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    return qScopeGuard([before] { setrlimit(RLIMIT_FSIZE, &before); });
}
