// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/safewrite.h"

#include "support/fulldisk.h"
#include "support/photofiles.h"
#include "support/systemcalls.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
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
        for (const QFileInfo &file :
             QDir().entryInfoList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name))
            files.append(file.fileName().toUtf8() + (file.isSymLink() ? "->" : "=") +
                         bytesOf(file.filePath()));
        return files.join(' ');
    }

    // "", or the reason why it did not work.
    static QByteArray write(const QString &path, const QByteArray &contents)
    {
        QString error = u"no reason"_s;
        return writeWhole(path, contents, &error) ? "" : error.toUtf8();
    }
    static QByteArray replace(const QString &path, const QByteArray &contents, FileStamp stamp)
    {
        QString error = u"no reason"_s;
        const bool done = replaceContents(path, contents, std::move(stamp), Durability::OnReturn, &error);
        return done ? "" : error.toUtf8();
    }
    static QByteArray replace(const QByteArray &contents)
    {
        return replace(u"a"_s, contents, FileStamp::of(u"a"_s));
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
            const FullDisk full(bytes);
            QCOMPARE(write(u"a"_s, "longer"), "el archivo es demasiado grande");
            QCOMPARE(write(u"new"_s, "longer"), "el archivo es demasiado grande");
            QCOMPARE(replace("longer"), "el archivo es demasiado grande");
            QCOMPARE(files(), "a=old");
        }
        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        const auto replaceWhile = [](long call, const auto &answer) -> QByteArray {
            QByteArray told;
            withSystemCalls({call}, answer, [&] { told = replace("longer"); });
            return told + ", " + files();
        };
        const auto fail = [](const seccomp_data &) {
            return EIO;
        };
        const auto cutShort = [](const seccomp_data &) {
            return QFile::resize(QDir().entryList({u".velmaro-*"_s}, QDir::Files | QDir::Hidden).value(0), 2)
                       ? 0
                       : ENOENT;
        };
        for (const long call : {SYS_fsync, SYS_close, SYS_rename})
            QCOMPARE(replaceWhile(call, fail), "error de entrada o salida del disco, a=old");
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
        QCOMPARE(chmod("a", 0440), 0);
        QVERIFY(copy.open(u"."_s, false, &error));
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
        QCOMPARE(write(u"b"_s, "b"), "");
        writeText(u"c"_s, "c");
        QCOMPARE(attributesOf("b"), attributesOf("c"));
    }

    void writesToWhatIsThere()
    {
        const QString longest(127, u'ñ');
        QCOMPARE(write(longest, "old"), "");
        QCOMPARE(replace(longest, "new", FileStamp::of(longest)), "");
        QCOMPARE(files(), "a=old " + longest.toUtf8() + "=new");
        QFile::remove(longest);
        QVERIFY(QFile::link(u"a"_s, u"link"_s) && QFile::link(u"link"_s, u"chain"_s));
        QVERIFY(QFile::link(u"b"_s, u"missing"_s));
        QCOMPARE(write(u"chain"_s, "new"), "");
        QCOMPARE(write(u"missing"_s, "newer"), "");
        QCOMPARE(files(), "a=new b=newer chain->new link->new missing->newer");
        QCOMPARE(write(u"."_s, ""), "no es un archivo");
        QCOMPARE(write(u"no/hay"_s, ""), "no existe el archivo o la carpeta");
    }

    void leavesStrangersAlone()
    {
        for (const QByteArray stranger : {"", "a=longer", "a=new", "a=New"}) {
            writeText(u"a"_s, "old");
            struct stat before {
            };
            QCOMPARE(stat("a", &before), 0);
            QTest::qSleep(20); // so that the clock of the file system moves on
            FileStamp stamp = FileStamp::of(u"a"_s);
            if (stranger == "a=New" || stranger.isEmpty())
                QFile::remove(u"a"_s);
            if (!stranger.isEmpty())
                writeText(u"a"_s, stranger.mid(2)); // the file that was removed has its inode free
            const timespec times[] = {before.st_atim, before.st_mtim};
            utimensat(AT_FDCWD, "a", times, 0);
            QCOMPARE(replace(u"a"_s, "result", std::move(stamp)),
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
        QCOMPARE(mkfifo("pipe", 0600), 0);
        for (const QString &nothing : {u"a"_s, u"."_s, u"pipe"_s})
            QVERIFY(!readWhole(nothing, &stamp, &error));

        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        // Who writes to it while it is read, or puts another one in its place, is seen; a pseudo file is
        // longer than it says.
        QVERIFY(QFile::link(u"a"_s, u"link"_s));
        for (const bool another : {false, true}) {
            writeText(u"a"_s, "first");
            const auto interfere = [another](const seccomp_data &) {
                if (!another)
                    writeText(u"a"_s, "other");
                else if (QFile::exists(u"b"_s))
                    return rename("b", "link");
                return 0;
            };
            withSystemCalls({SYS_read}, interfere, [&] { QVERIFY(!readWhole(u"link"_s, &stamp, &error)); });
            QCOMPARE(error, u"otro programa cambió el archivo mientras se leía"_s);
        }
        FileStamp none;
        QVERIFY(!readWhole(u"/proc/self/status"_s, &none, &error));
        QVERIFY(!none.isStill(u"/proc/self/status"_s));
    }
};

QTEST_GUILESS_MAIN(SafeWriteTest)
#include "safewrite.moc"
