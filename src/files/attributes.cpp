// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/attributes.h"

#include <QByteArrayList>
#include <QFile>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{

constexpr char accessList[] = "system.posix_acl_access";

QByteArrayList attributeNames(const QByteArray &path)
{
    const ssize_t size = ::listxattr(path.constData(), nullptr, 0);
    if (size <= 0)
        return {};
    QByteArray names(static_cast<qsizetype>(size), '\0');
    const ssize_t length = ::listxattr(path.constData(), names.data(), static_cast<size_t>(size));
    QByteArrayList list = names.left(length < 0 ? 0 : static_cast<qsizetype>(length)).split('\0');
    list.removeAll(QByteArray());
    return list;
}

void carryAttribute(const QByteArray &path, const Descriptor &to, const QByteArray &name)
{
    const ssize_t size = ::getxattr(path.constData(), name.constData(), nullptr, 0);
    if (size < 0)
        return;
    QByteArray value(static_cast<qsizetype>(size), '\0');
    const ssize_t length =
        ::getxattr(path.constData(), name.constData(), value.data(), static_cast<size_t>(size));
    if (length >= 0)
        ::fsetxattr(to.number(), name.constData(), value.constData(), static_cast<size_t>(length), 0);
}

// Gives away what can be given away: the administrator sets both, others only a group that they belong to.
void carryOwner(const struct stat &status, const Descriptor &to)
{
    if (::fchown(to.number(), status.st_uid, status.st_gid) == 0)
        return;
    if (::fchown(to.number(), static_cast<uid_t>(-1), status.st_gid) != 0)
        return;
}

} // namespace

void carryAttributes(const QString &from, const Descriptor &to, Attributes attributes)
{
    const QByteArray path = QFile::encodeName(from);
    struct stat status {
    };
    if (::stat(path.constData(), &status) != 0)
        return;
    const bool copy = attributes == Attributes::OfACopy;
    if (!copy)
        carryOwner(status, to);
    // After the owner, whose change clears mode bits, and before the access list, which settles them.
    ::fchmod(to.number(), (status.st_mode & 07777U) | (copy ? S_IRUSR | S_IWUSR : 0U));

    const QByteArrayList names = attributeNames(path);
    for (const QByteArray &name : names) {
        if (!copy || name.startsWith("user."))
            carryAttribute(path, to, name);
    }
    if (!copy && !names.contains(accessList))
        ::fremovexattr(to.number(), accessList); // which the folder gives every new file
    if (attributes == Attributes::OfABackup) {
        const timespec times[] = {status.st_atim, status.st_mtim};
        ::futimens(to.number(), times);
    }
}

void keepForOwner(const QString &path)
{
    constexpr QFile::Permissions ownerAlone = QFile::ReadOwner | QFile::WriteOwner;
    constexpr QFile::Permissions others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                          QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    if (QFile::permissions(path).testAnyFlags(others))
        QFile::setPermissions(path, ownerAlone);
}
