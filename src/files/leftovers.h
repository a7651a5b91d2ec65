// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

// What is left behind by a program that was killed, or when the machine stopped.

/// Undoes the renaming of `oldName` to `newName` (paths) if it took place: then the file bears the old name
/// again, and the new one is free. It took place when nothing has the old name any more, or when both names
/// are those of one file, as `FilePlacer::rename` may leave it. Does nothing otherwise.
void takeBackRename(const QString &oldName, const QString &newName);

/// Removes from a folder the unfinished files of the program run whose mark (`UnfinishedFile::mark`) is
/// given. That run must be over.
void removeUnfinishedFiles(const QString &folder, const QString &mark);
