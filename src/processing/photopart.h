// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// One of the equal parts into which the photos of a folder are shared out among tasks.
struct PhotoPart {
    int number = 1; ///< 1 to `count`
    int count = 1;  ///< at least 1

    /// Whether a photo belongs to the part, by its path relative to the root of the run.
    ///
    /// Depends on nothing but that path, so that tasks that see the folder at different moments, on different
    /// machines, still agree. Paths that differ in case alone belong together: on an output folder that does
    /// not tell them apart, one task has to know of both.
    bool holds(const QString &relativePath) const;
};
