// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/safewrite.h"

#include "support/fulldisk.h"
#include "support/photofiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

/// Files get new contents whole or not at all.
class SafeWriteTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void keepsTheOldFileWhenTheDiskIsFull();
    void keepsAttributes();
    void writesUnderAnyName();
    void followsLinks();
    void leavesStrangersAlone();
    void readsWhatTheStampTells();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QStringList names() const
    {
        return QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    bool replace(const QString &file, const QByteArray &contents, FileStamp stamp)
    {
        return replaceContents(file, contents, std::move(stamp), Durability::OnReturn, &m_error);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_error;
};

void SafeWriteTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_error.clear();
}

void SafeWriteTest::keepsTheOldFileWhenTheDiskIsFull()
{
    const QByteArray old(30000, 'o');
    const QByteArray contents(40000, 'n');
    const QString file = path(QStringLiteral("a"));
    writeText(file, old);
    for (qint64 bytes = 0; bytes < contents.size(); bytes += bytes % 4096 == 0 ? 1 : 1365) {
        const FullDisk full(bytes);
        QVERIFY(!writeWhole(file, contents, &m_error));
        QVERIFY(!m_error.isEmpty());
        QVERIFY(!replace(file, contents, FileStamp::of(file)));
        QVERIFY(!writeWhole(path(QStringLiteral("new")), contents, &m_error));
        QVERIFY2(bytesOf(file) == old, qPrintable(QString::number(bytes)));
        QCOMPARE(names(), QStringList(QStringLiteral("a")));
    }
    const FullDisk full(contents.size());
    QVERIFY(writeWhole(file, contents, &m_error));
    QVERIFY(bytesOf(file) == contents);
}

void SafeWriteTest::keepsAttributes()
{
    const QString file = path(QStringLiteral("a"));
    const QByteArray name = QFile::encodeName(file);
    writeText(file, "old");
    const bool administrator = geteuid() == 0;
    if (administrator)
        QCOMPARE(chown(name.constData(), 1234, 5678), 0);
    QCOMPARE(chmod(name.constData(), 0640), 0);
    const bool hasAttributes = setxattr(name.constData(), "user.nota", "hola", 4, 0) == 0;
    // Version 2: the owner and user 1001 may read and write, the group may read, others nothing.
    const QByteArray accessList =
        QByteArray::fromHex("0200000001000600ffffffff02000600e903000004000400ffffffff10000600ffffffff"
                            "20000000ffffffff");
    const bool hasAccessList = setxattr(name.constData(), "system.posix_acl_access", accessList.constData(),
                                        static_cast<size_t>(accessList.size()), 0) == 0;

    QVERIFY2(replace(file, "new", FileStamp::of(file)), qPrintable(m_error));
    QCOMPARE(bytesOf(file), "new");
    struct stat status {
    };
    QCOMPARE(stat(name.constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777U, hasAccessList ? 0660U : 0640U);
    if (administrator)
        QCOMPARE(QString::number(status.st_uid) + u':' + QString::number(status.st_gid),
                 QStringLiteral("1234:5678"));
    QByteArray value(100, '\0');
    const auto attribute = [&](const char *attributeName) {
        return value.left(getxattr(name.constData(), attributeName, value.data(), 100));
    };
    if (hasAttributes)
        QCOMPARE(attribute("user.nota"), "hola");
    if (hasAccessList)
        QCOMPARE(attribute("system.posix_acl_access"), accessList);

    // Without an access list, the mode alone; a new file is as the system makes new files.
    QCOMPARE(removexattr(name.constData(), "system.posix_acl_access") == 0, hasAccessList);
    QCOMPARE(chmod(name.constData(), 0604), 0);
    QVERIFY(replace(file, "newer", FileStamp::of(file)));
    QCOMPARE(QFile::permissions(file) & QFile::Permissions(0x0077), QFile::ReadOther);
    QVERIFY(writeWhole(path(QStringLiteral("b")), "b", &m_error));
    writeText(path(QStringLiteral("c")), "c");
    QCOMPARE(QFile::permissions(path(QStringLiteral("b"))), QFile::permissions(path(QStringLiteral("c"))));
}

void SafeWriteTest::writesUnderAnyName()
{
    for (const QString &name :
         {QString(255, u'a'), QString(QString(127, u'ñ') + u'a'), QStringLiteral("a\nb %1 ;")}) {
        QVERIFY2(writeWhole(path(name), "old", &m_error), qPrintable(m_error));
        QVERIFY2(replace(path(name), "new", FileStamp::of(path(name))), qPrintable(m_error));
        QCOMPARE(bytesOf(path(name)), "new");
    }
    QCOMPARE(names().size(), 3);
    QVERIFY(!writeWhole(m_folder->path(), "", &m_error)); // a folder
    QVERIFY(!writeWhole(path(QStringLiteral("no/hay")), "", &m_error));
}

void SafeWriteTest::followsLinks()
{
    writeText(path(QStringLiteral("a")), "old");
    QVERIFY(QFile::link(path(QStringLiteral("a")), path(QStringLiteral("link"))));
    QVERIFY(QFile::link(path(QStringLiteral("b")), path(QStringLiteral("dangling"))));
    QVERIFY(writeWhole(path(QStringLiteral("link")), "new", &m_error));
    QVERIFY(writeWhole(path(QStringLiteral("dangling")), "new", &m_error));
    for (const char *name : {"a", "b"}) {
        QCOMPARE(bytesOf(path(QString::fromLatin1(name))), "new");
        QVERIFY(!QFileInfo(path(QString::fromLatin1(name))).isSymLink());
    }
    QVERIFY(QFileInfo(path(QStringLiteral("link"))).isSymLink());
}

void SafeWriteTest::leavesStrangersAlone()
{
    const QString file = path(QStringLiteral("a"));
    const QByteArray name = QFile::encodeName(file);
    for (const QByteArray event : {"gone", "longer", "another file", "other bytes"}) {
        writeText(file, "old");
        struct stat before {
        };
        QCOMPARE(stat(name.constData(), &before), 0);
        QTest::qSleep(20); // so that the clock of the file system moves on
        FileStamp stamp = FileStamp::of(file);
        if (event == "gone" || event == "another file")
            QFile::remove(file);
        if (event != "gone")
            writeText(file,
                      event == "longer" ? "longer" : "new"); // the file that was removed has its inode free
        const timespec times[] = {before.st_atim, before.st_mtim};
        QCOMPARE(utimensat(AT_FDCWD, name.constData(), times, 0), event == "gone" ? -1 : 0);

        const QByteArray stranger = bytesOf(file);
        QVERIFY2(!replace(file, "result", std::move(stamp)), event.constData());
        QCOMPARE(bytesOf(file), stranger);
        QCOMPARE(names(), event == "gone" ? QStringList() : QStringList(QStringLiteral("a")));
    }
}

void SafeWriteTest::readsWhatTheStampTells()
{
    const QString file = path(QStringLiteral("a"));
    const QByteArray contents(3000000, 'x');
    FileStamp stamp;
    for (const QByteArray &text : {QByteArray(), QByteArray("x"), contents}) {
        writeText(file, text);
        const std::optional<QByteArray> read = readWhole(file, &stamp, &m_error);
        QVERIFY2(read && *read == text, qPrintable(m_error));
        QVERIFY(stamp.isStill(file));
    }
    QFile::rename(file, path(QStringLiteral("b")));
    stamp.renewAfterRename();
    QVERIFY(stamp.isStill(path(QStringLiteral("b"))));
    QVERIFY(!stamp.isStill(file));
    const QString pipe = path(QStringLiteral("pipe"));
    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    for (const QString &nothing : {file, m_folder->path(), pipe})
        QVERIFY(!readWhole(nothing, &stamp, &m_error));
    // What grows while it is read is not what was read: a pseudo file is longer than it says.
    FileStamp none;
    const QString growing = QStringLiteral("/proc/self/status");
    QVERIFY(!readWhole(growing, &none, &m_error));
    QVERIFY(!none.isStill(growing));
}

QTEST_GUILESS_MAIN(SafeWriteTest)
#include "safewrite.moc"
