// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/appendfile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

AppendFile::Opening AppendFile::open(const QString &path, QString *error)
{
    m_file = openFile(path, O_RDWR | O_CREAT | O_APPEND | O_NOFOLLOW, 0666);
    if (m_file.isOpen() && ::flock(m_file.number(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return Opening::InUse;
    const off_t size = m_file.isOpen() ? ::lseek(m_file.number(), 0, SEEK_END) : -1;
    char last = '\n';
    if (size < 0 || (size > 0 && ::pread(m_file.number(), &last, 1, size - 1) != 1)) {
        *error = systemReason(errno);
        return Opening::Failed;
    }
    m_endsInLine = last != '\n';
    return Opening::Done;
}

bool AppendFile::append(const QByteArray &line, Durability durability, QString *error)
{
    const QByteArray bytes = (m_endsInLine ? "\n" : "") + line + '\n';
    ssize_t written = 0;
    do {
        written = ::write(m_file.number(), bytes.constData(), static_cast<size_t>(bytes.size()));
    } while (written < 0 && errno == EINTR);
    if (written >= 0)
        m_endsInLine = written > 0 ? bytes.at(written - 1) != '\n' : m_endsInLine;
    if (written >= 0 && written < bytes.size())
        errno = ENOSPC;
    if (written != bytes.size() ||
        (durability == Durability::OnReturn && ::fdatasync(m_file.number()) != 0 && errno != EINVAL)) {
        *error = systemReason(errno);
        return false;
    }
    return true;
}
