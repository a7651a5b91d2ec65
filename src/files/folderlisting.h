// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

struct FolderEntry {
    enum Kind { File, Folder, Link, Other };
    QString name;           ///< where it cannot be read as UTF-8, with marks in place of what cannot
    Kind kind = Other;      ///< what it is itself, not what a link leads to
    bool nameIsText = true; ///< its name is UTF-8; others cannot be opened by name
};

struct FolderListing {
    QList<FolderEntry> entries; ///< in the order of the file system, without "." and ".."
    QString error;              ///< why it could not be read to the end; empty when it was
};

/// What is in a folder, hidden files included.
FolderListing listFolder(const QString &path);
