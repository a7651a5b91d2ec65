// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// Makes a folder with all missing levels. False when it is not there afterwards.
///
/// With `durable` the new levels are on the disk when it returns.
bool makeFolder(const QString &path, bool durable = false);

/// Brings the names of a folder onto the disk. File systems that cannot do so, do it by themselves.
void syncFolder(const QString &path);

/// Brings everything that was written to the file system of `path`, names included, onto the disk: on ext4,
/// exFAT and NFS, after success, nothing of it can get lost any more. False, with the reason in `error`, when
/// some of it could not be written; which, is not known.
bool syncFileSystem(const QString &path, QString *error);

/// The folder of a path.
QString folderOf(const QString &path);

/// What follows the folder in a path.
QString nameOf(const QString &path);
