// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/descriptor.h"

#include <QString>

/// Whose attributes a new file gets.
enum class Attributes {
    OfAReplacement, ///< owner, group, mode, access list and extended attributes of the file it stands for
    OfABackup,      ///< the same, and its times
    OfACopy, ///< its mode, writable for the owner, and extended attributes; the rest as the folder says
};

/// Gives the open file `to` the attributes of the file `from`, as far as the system lets the user set them
/// and the file system has them. What is refused is left out without a word: the contents matter more.
void carryAttributes(const QString &from, const Descriptor &to, Attributes attributes);

/// Takes from everyone but its owner what rights they have to a file of the program's own, and leaves the
/// owner those to read and to write it. Does nothing where nobody else has any.
void keepForOwner(const QString &path);
