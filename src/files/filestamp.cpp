// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/filestamp.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

qint64 nanoseconds(const timespec &time)
{
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

// Reads on to the end of the file, which may be more or less than it said.
bool readToEnd(const Descriptor &file, QByteArray &contents)
{
    constexpr qsizetype step = 1 << 20;
    qsizetype length = 0;
    for (;;) {
        if (contents.size() - length < 1)
            contents.resize(length + step);
        const ssize_t count =
            ::read(file.number(), contents.data() + length, static_cast<size_t>(contents.size() - length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0) {
            contents.resize(length);
            return count == 0;
        }
        length += count;
    }
}

} // namespace

std::optional<FileStamp::Facts> FileStamp::factsOf(const struct stat &status)
{
    return Facts{status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
                 nanoseconds(status.st_ctim)};
}

std::optional<FileStamp::Facts> FileStamp::factsOf(const Descriptor &file)
{
    struct stat status {
    };
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0)
        return std::nullopt;
    return factsOf(status);
}

FileStamp FileStamp::of(const QString &path)
{
    FileStamp stamp;
    stamp.m_held = std::make_shared<Descriptor>(openFile(path, O_PATH));
    stamp.m_facts = factsOf(*stamp.m_held);
    return stamp;
}

bool FileStamp::isStill(const QString &path) const
{
    struct stat status {
    };
    return m_facts && ::stat(QFile::encodeName(path).constData(), &status) == 0 && factsOf(status) == m_facts;
}

void FileStamp::renewAfterRename()
{
    const std::optional<Facts> now = m_held ? factsOf(*m_held) : std::nullopt;
    if (m_facts && now)
        m_facts->changed = now->changed;
}

Placing FileStamp::addName(const QString &path)
{
    struct stat status {
    };
    if (!m_facts || !m_held || ::fstat(m_held->number(), &status) != 0 || status.st_nlink != 1 ||
        factsOf(status) != m_facts)
        return Placing::Failed;
    const QByteArray name = QFile::encodeName(path);
    const QByteArray file = "/proc/self/fd/" + QByteArray::number(m_held->number());
    // What was copied here just now may be in memory alone.
    const Descriptor contents = openFile(QString::fromLatin1(file), O_RDONLY);
    if (!contents.isOpen() || ::fdatasync(contents.number()) != 0)
        return Placing::Failed;
    if (::linkat(AT_FDCWD, file.constData(), AT_FDCWD, name.constData(), AT_SYMLINK_FOLLOW) != 0)
        return errno == EEXIST ? Placing::NameTaken : Placing::Failed;
    renewAfterRename();
    if (::lstat(name.constData(), &status) == 0 && status.st_nlink == 2 && factsOf(status) == m_facts)
        return Placing::Done;
    // It was changed just now, or the file system gave it another inode with its second name.
    ::unlink(name.constData());
    renewAfterRename();
    return Placing::Failed;
}

std::optional<QByteArray> readWhole(const QString &path, FileStamp *stamp, QString *error)
{
    const Descriptor file = openFile(path, O_RDONLY | O_NOCTTY | O_NONBLOCK);
    struct stat status {
    };
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
        *error = systemReason(errno);
        return std::nullopt;
    }
    if (!S_ISREG(status.st_mode)) {
        *error = QStringLiteral("no es un archivo");
        return std::nullopt;
    }
    // One byte more than the file has: the read that fills the rest is then also the one that finds the end.
    QByteArray contents(static_cast<qsizetype>(status.st_size) + 1, Qt::Uninitialized);
    if (!readToEnd(file, contents)) {
        *error = systemReason(errno);
        return std::nullopt;
    }
    FileStamp read = FileStamp::of(path);
    if (FileStamp::factsOf(status) != FileStamp::factsOf(file) || read.m_facts != FileStamp::factsOf(file) ||
        contents.size() != status.st_size) {
        *error = QStringLiteral("otro programa cambió el archivo mientras se leía");
        return std::nullopt;
    }
    *stamp = std::move(read);
    return contents;
}
