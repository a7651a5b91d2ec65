// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <functional>

/// Takes one line of the log. It may be called from any thread.
using LogCallback = std::function<void(const QString &line)>;

/// Takes (done, total). It may be called from any thread.
using ProgressCallback = std::function<void(int done, int total)>;

/// Whether a long job is to end as soon as nothing is left half done. It may be asked from any thread.
using StopRequest = std::function<bool()>;
