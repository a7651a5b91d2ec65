// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/descriptor.h"
#include "files/unfinishedfile.h"

#include <QByteArray>
#include <QString>

/// A text file that only grows, line by line, and that one process alone has open for that.
///
/// A line that was appended stays whole whatever becomes of the program. When the machine stops, or the disk
/// is full, the end of the file may be missing, the last line cut short; the next line begins anew below it.
class AppendFile
{
public:
    enum class Opening {
        Done,
        InUse, ///< another process, on this machine or on one that shares the disk, has it open
        Failed,
    };

    AppendFile() = default;

    /// Opens the file, which is made when it is missing. `Failed` gives the reason in `error`. File systems
    /// that know no locks cannot tell that it is in use.
    Opening open(const QString &path, QString *error);

    /// Appends a line; with `Durability::OnReturn` it is on the disk, and all before it, when the call
    /// returns. False, with the reason in `error`, when it could not be written whole.
    bool append(const QByteArray &line, Durability durability, QString *error);

private:
    Descriptor m_file;
    bool m_endsInLine = false; ///< which is cut short
};
