// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/placing.h"

#include "files/descriptor.h"

#include <QFile>
#include <QMutexLocker>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

Placing outcome(bool done, QString *error)
{
    if (done)
        return Placing::Done;
    if (errno == EEXIST)
        return Placing::NameTaken;
    *error = systemReason(errno);
    return Placing::Failed;
}

// Nothing when the file system cannot do it in this way.
std::optional<Placing> renameByKernel(const QByteArray &from, const QByteArray &to, QString *error)
{
    const bool done =
        ::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0;
    if (!done && (errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP))
        return std::nullopt;
    return outcome(done, error);
}

std::optional<Placing> renameByLink(const QByteArray &from, const QByteArray &to, QString *error)
{
    if (::link(from.constData(), to.constData()) != 0) {
        if (errno == EPERM || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP || errno == EMLINK)
            return std::nullopt;
        return outcome(false, error);
    }
    if (::unlink(from.constData()) == 0)
        return Placing::Done;
    const int reason = errno;
    ::unlink(to.constData());
    errno = reason;
    return outcome(false, error);
}

} // namespace

Placing FilePlacer::rename(const QString &from, const QString &to, QString *error) const
{
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (const std::optional<Placing> placing = renameByKernel(source, target, error))
        return *placing;
    if (const std::optional<Placing> placing = renameByLink(source, target, error))
        return *placing;

    const QMutexLocker locker(&m_mutex);
    struct stat status {
    };
    if (::lstat(target.constData(), &status) == 0)
        return Placing::NameTaken;
    return outcome(errno == ENOENT && ::rename(source.constData(), target.constData()) == 0, error);
}

bool FilePlacer::replace(const QString &from, const QString &to, QString *error)
{
    if (::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0)
        return true;
    *error = systemReason(errno);
    return false;
}
