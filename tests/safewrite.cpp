// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/safewrite.h"

#include "support/fulldisk.h"
#include "support/photofiles.h"
#include "support/systemcalls.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

using namespace Qt::StringLiterals;

/// Files get new contents whole or not at all. The current folder is one with a file "a".
class SafeWriteTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;

    // Everything in the folder with its contents, links with an arrow: "a=old b->new".
    static QByteArray files()
    {
        QByteArrayList files;
        const auto all = QDir::Files | QDir::Hidden | QDir::System;
        for (const QFileInfo &file : QDir().entryInfoList(all, QDir::Name))
            files += file.fileName().toUtf8() + (file.isSymLink() ? "->" : "=") + bytesOf(file.filePath());
        return files.join(' ');
    }

    // "", or the reason why it did not work.
    static QByteArray write(const QString &path, const QByteArray &contents)
    {
        QString error = u"no reason"_s;
        return writeWhole(path, contents, &error) ? "" : error.toUtf8();
    }
    static QByteArray replace(const QByteArray &contents, FileStamp stamp = FileStamp::of(u"a"_s))
    {
        QString error = u"no reason"_s;
        FileReplacement file(u"a"_s);
        const bool done = file.open(&error) && file.commit(contents, &stamp, Durability::OnReturn, &error);
        return done ? "" : error.toUtf8();
    }

    // Owner, group, mode, and the two attributes of this test.
    static QByteArray attributesOf(const char *name)
    {
        struct stat status {
        };
        stat(name, &status);
        QByteArray text =
            u"%1:%2 %3"_s.arg(status.st_uid).arg(status.st_gid).arg(status.st_mode, 0, 8).toUtf8();
        for (const char *attribute : {"user.nota", "system.posix_acl_access"}) {
            QByteArray value(1000, '\0');
            value.resize(1 + getxattr(name, attribute, value.data() + 1, 999));
            text += ' ' + value.toHex();
        }
        return text;
    }

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir::setCurrent(m_folder->path()));
        writeText(u"a"_s, "old");
    }

    void keepsTheOldFileWhenTheDiskFails()
    {
        for (const int bytes : {0, 1, 5}) {
            const auto full = fullDisk(bytes);
            for (const QByteArray &told :
                 {write(u"a"_s, "longer"), write(u"new"_s, "longer"), replace("longer")})
                QCOMPARE(told + ", " + files(), "el archivo es demasiado grande, a=old");
        }
        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        const auto replaceWhile = [](long call, const auto &answer) {
            return QByteArray(withSystemCalls({call}, answer, [] { return replace("longer"); }) + ", " +
                              files());
        };
        const auto cutShort = [](const seccomp_data &) {
            return truncate(QDir().entryList({u".velmaro-*"_s}, QDir::Files | QDir::Hidden).value(0).toUtf8(),
                            2);
        };
        for (const long call : {SYS_fsync, SYS_close, SYS_rename})
            QCOMPARE(replaceWhile(call, [](auto &) { return EIO; }),
                     "error de entrada o salida del disco, a=old");
        QCOMPARE(replaceWhile(SYS_fsync, cutShort), "el archivo no llegó entero al disco, a=old");
    }

    void keepsAttributes()
    {
        // Version 2: the owner and user 1001 may read and write, the group may read, others nothing.
        const QByteArray list = QByteArray::fromHex("0200000001000600ffffffff02000600e903000004000400ffffffff"
                                                    "10000600ffffffff20000000ffffffff");
        const auto size = static_cast<size_t>(list.size());
        if ((geteuid() == 0 && chown("a", 1234, 5678) != 0) ||
            setxattr("a", "user.nota", "hola", 4, 0) != 0 ||
            setxattr("a", "system.posix_acl_access", list.constData(), size, 0) != 0)
            QSKIP("needs a file system with attributes");
        UnfinishedFile copy; // into another folder
        QString error;
        QVERIFY(chmod("a", 0440) == 0 && copy.open(u"."_s, false, &error));
        QVERIFY(copy.write("new", u"a"_s, Attributes::OfACopy, Durability::Later, &error));
        QCOMPARE(attributesOf(QFile::encodeName(copy.path()).constData()),
                 QByteArray::number(geteuid()) + ":" + QByteArray::number(getegid()) + " 100640 00686f6c61 ");
        for (const mode_t mode : {0660, 04604}) { // with the access list, and then without
            QCOMPARE(chmod("a", mode), 0);
            const QByteArray before = attributesOf("a");
            QCOMPARE(replace("new"), "");
            QCOMPARE(attributesOf("a"), before);
            removexattr("a", "system.posix_acl_access");
            setxattr(".", "system.posix_acl_default", list.constData(), size, 0); // which every new file gets
        }
    }

    void writesToWhatIsThere()
    {
        const QString longest(127, u'ñ');
        QVERIFY(QFile::link(u"a"_s, u"link"_s) && QFile::link(u"link"_s, u"chain"_s) &&
                QFile::link(u"b"_s, u"missing"_s));
        for (const QString &path : {longest, longest, u"chain"_s, u"missing"_s})
            QCOMPARE(write(path, path.left(3).toUtf8()), "");
        QCOMPARE(files(), "a=cha b=mis chain->cha link->cha missing->mis " + longest.toUtf8() + "=ñññ");
        QCOMPARE(write(u"."_s, ""), "no es un archivo");
        QCOMPARE(write(u"no/hay"_s, ""), "no existe el archivo o la carpeta");
    }

    void leavesStrangersAlone()
    {
        const timespec longAgo[] = {{1, 0}, {1, 0}};
        for (const QByteArray stranger : {"", "a=longer", "a=new", "a=New"}) {
            writeText(u"a"_s, "old");
            utimensat(AT_FDCWD, "a", longAgo, 0);
            FileStamp stamp = FileStamp::of(u"a"_s);
            QTest::qSleep(20); // so that the clock of the file system moves on
            if (stranger == "a=New" || stranger.isEmpty())
                QFile::remove(u"a"_s);
            if (!stranger.isEmpty())
                writeText(u"a"_s, stranger.mid(2)); // the file that was removed has its inode free
            utimensat(AT_FDCWD, "a", longAgo, 0);
            QVERIFY(stamp.addName(u"b"_s) == Placing::Failed);
            QCOMPARE(replace("result", std::move(stamp)),
                     "otro programa ha movido o cambiado el archivo mientras se procesaba");
            QCOMPARE(files(), stranger);
        }
    }

    void readsWhatTheStampTells()
    {
        QString error;
        FileStamp stamp;
        for (const QByteArray &text : {QByteArray(), QByteArray("x"), QByteArray(3000000, 'x')}) {
            writeText(u"a"_s, text);
            QVERIFY(readWhole(u"a"_s, &stamp, &error) == text);
            QVERIFY(stamp.isStill(u"a"_s));
        }
        QFile::rename(u"a"_s, u"b"_s);
        stamp.renewAfterRename();
        QVERIFY(stamp.isStill(u"b"_s) && !stamp.isStill(u"a"_s));

        // A second name for the very file, if it has no other and is the one that was read.
        writeText(u"a"_s, "other");
        QVERIFY(stamp.addName(u"a"_s) == Placing::NameTaken && stamp.addName(u"."_s) != Placing::Done);
        QVERIFY(stamp.addName(u"c"_s) == Placing::Done && stamp.isStill(u"b"_s) && stamp.isStill(u"c"_s));
        QVERIFY(stamp.addName(u"d"_s) == Placing::Failed);
        QFile::remove(u"c"_s);
        writeText(u"b"_s, "changed");
        QVERIFY(stamp.addName(u"c"_s) == Placing::Failed && !QFile::exists(u"c"_s));
        QFile::remove(u"a"_s);
        QCOMPARE(mkfifo("pipe", 0600), 0);
        for (const QString &nothing : {u"a"_s, u"."_s, u"pipe"_s})
            QVERIFY(!readWhole(nothing, &stamp, &error));

        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        // Who writes to it while it is read, or puts another one in its place, is seen.
        writeText(u"a"_s, "first");
        QVERIFY(QFile::link(u"a"_s, u"link"_s));
        const auto readLink = [&] {
            return readWhole(u"link"_s, &stamp, &error).value_or("refused");
        };
        for (const bool another : {false, true}) {
            const auto interfere = [another](const seccomp_data &) {
                if (!another)
                    writeText(u"a"_s, "other");
                return another && QFile::exists(u"b"_s) ? rename("b", "link") : 0;
            };
            QCOMPARE(withSystemCalls({SYS_read}, interfere, readLink), "refused");
            QCOMPARE(error, u"otro programa cambió el archivo mientras se leía"_s);
        }
        // Nor does it keep a second name that it gets while it is changed.
        QVERIFY(readWhole(u"a"_s, &stamp, &error));
        const auto change = [](const seccomp_data &) {
            writeText(u"a"_s, "changed");
            return 0;
        };
        QVERIFY(withSystemCalls({SYS_linkat}, change, [&] { return stamp.addName(u"z"_s); }) ==
                Placing::Failed);
        QVERIFY(!QFile::exists(u"z"_s));
    }
};

QTEST_GUILESS_MAIN(SafeWriteTest)
#include "safewrite.moc"
