// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "files/attributes.h"
#include "files/descriptor.h"

#include <QByteArray>
#include <QString>

enum class Durability {
    OnReturn, ///< on the disk when the call returns
    Later,    ///< when the system gets round to it, or at `syncFileSystem`
};

/// A file in the making. It is hidden in the folder where it will be needed, under a name that is no photo's
/// (".velmaro-" and 16 digits, whatever the target is called; the first eight are the mark), and removed
/// together with the object unless it was moved from there. A program that is killed, or a machine that
/// stops, leaves it behind, and the photo that it was made for as it was.
class UnfinishedFile
{
public:
    UnfinishedFile() = default;
    ~UnfinishedFile();

    /// What the names of all unfinished files begin with, and then those of this process.
    static QString namePrefix() { return QStringLiteral(".velmaro-"); }
    static QString mark();

    /// Makes the empty file, for the user alone to read until it gets the attributes of another one, or, for
    /// a `newKind`, with those that the system gives new files. False, with the reason in `error`.
    bool open(const QString &folder, bool newKind, QString *error);

    /// Writes the contents, gives the file the attributes of the file `attributesOf` (empty: leaves it those
    /// that it has), and closes it. False, with the reason in `error`, unless every byte has arrived: in the
    /// file, or on the disk (with NFS: on the server's) with `OnReturn`. What was not synced may be missing,
    /// on any file system, after a stop of the machine.
    bool write(const QByteArray &contents, const QString &attributesOf, Attributes attributes,
               Durability durability, QString *error);

    const QString &path() const { return m_path; }

    /// It has got another name, and is finished.
    void moved() { m_path.clear(); }

private:
    Q_DISABLE_COPY_MOVE(UnfinishedFile)

    bool writeAll(const QByteArray &contents);

    QString m_path;
    Descriptor m_file;
};
