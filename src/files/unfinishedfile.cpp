// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/unfinishedfile.h"

#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

QString randomDigits()
{
    return QStringLiteral("%1").arg(QRandomGenerator::system()->generate(), 8, 16, QLatin1Char('0'));
}

} // namespace

QString UnfinishedFile::mark()
{
    static const QString mark = randomDigits();
    return mark;
}

UnfinishedFile::~UnfinishedFile()
{
    m_file.close();
    if (!m_path.isEmpty())
        ::unlink(QFile::encodeName(m_path).constData());
}

bool UnfinishedFile::open(const QString &folder, bool newKind, QString *error)
{
    do {
        m_path = folder + u'/' + namePrefix() + mark() + randomDigits();
        m_file = openFile(m_path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, newKind ? 0666 : 0600);
    } while (!m_file.isOpen() && errno == EEXIST);
    if (m_file.isOpen())
        return true;
    *error = systemReason(errno);
    m_path.clear();
    return false;
}

// Writes in as many steps as it takes: the write that fills a disk up is only short, the next one has the
// reason.
bool UnfinishedFile::writeAll(const QByteArray &contents)
{
    qsizetype written = 0;
    while (written < contents.size()) {
        const ssize_t count = ::write(m_file.number(), contents.constData() + written,
                                      static_cast<size_t>(contents.size() - written));
        if (count < 0 && errno != EINTR)
            return false;
        if (count == 0) {
            errno = ENOSPC;
            return false;
        }
        written += count > 0 ? count : 0;
    }
    return true;
}

bool UnfinishedFile::write(const QByteArray &contents, const QString &attributesOf, Attributes attributes,
                           Durability durability, QString *error)
{
    const auto fail = [error] {
        *error = systemReason(errno);
        return false;
    };
    if (!writeAll(contents))
        return fail();
    if (!attributesOf.isEmpty())
        carryAttributes(attributesOf, m_file, attributes); // last: writing itself changes some
    if (durability == Durability::OnReturn && ::fsync(m_file.number()) != 0)
        return fail();
    if (durability == Durability::Later) // so that there is less to wait for at the end
        ::sync_file_range(m_file.number(), 0, 0, SYNC_FILE_RANGE_WRITE);
    if (!m_file.close()) // a network file system may tell only now that it had no room
        return fail();
    struct stat status {
    };
    if (::lstat(QFile::encodeName(m_path).constData(), &status) != 0 || status.st_size != contents.size()) {
        *error = QStringLiteral("el archivo no llegó entero al disco");
        return false;
    }
    return true;
}
