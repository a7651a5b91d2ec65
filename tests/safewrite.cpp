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

/// Files get new contents whole or not at all.
class SafeWriteTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_file; ///< "a" in the folder

    QString path(const QString &name) const { return m_folder->filePath(name); }

    // Everything in the folder with its contents, links with an arrow: "a=old b->new".
    QByteArray files() const
    {
        QByteArrayList files;
        const QDir folder(m_folder->path());
        for (const QFileInfo &file :
             folder.entryInfoList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name))
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
    QByteArray replace(const QByteArray &contents, FileStamp stamp)
    {
        QString error = u"no reason"_s;
        const bool done = replaceContents(m_file, contents, std::move(stamp), Durability::OnReturn, &error);
        return done ? "" : error.toUtf8();
    }

    // Owner, group, mode, and the two attributes of this test.
    static QByteArray attributesOf(const QString &path)
    {
        const QFileInfo file(path);
        struct stat status {
        };
        stat(QFile::encodeName(path).constData(), &status);
        QByteArray text =
            u"%1:%2 %3"_s.arg(file.ownerId()).arg(file.groupId()).arg(status.st_mode, 0, 8).toUtf8();
        for (const char *name : {"user.nota", "system.posix_acl_access"}) {
            QByteArray value(1000, '\0');
            value.resize(1 + getxattr(QFile::encodeName(path).constData(), name, value.data() + 1, 999));
            text += ' ' + value.toHex();
        }
        return text;
    }

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        m_file = path(u"a"_s);
        writeText(m_file, "old");
    }

    void keepsTheOldFileWhenTheDiskFails()
    {
        for (const int bytes : {0, 1, 5}) {
            const FullDisk full(bytes);
            QCOMPARE(write(m_file, "longer"), "el archivo es demasiado grande");
            QCOMPARE(write(path(u"new"_s), "longer"), "el archivo es demasiado grande");
            QCOMPARE(replace("longer", FileStamp::of(m_file)), "el archivo es demasiado grande");
            QCOMPARE(files(), "a=old");
        }
        const auto replaceWhile = [this](long call, const auto &answer) -> QByteArray {
            QByteArray told;
            withSystemCalls({call}, answer, [&] { told = replace("longer", FileStamp::of(m_file)); });
            return told + ", " + files();
        };
        const auto fail = [](const seccomp_data &) {
            return EIO;
        };
        const auto cutShort = [this](const seccomp_data &) {
            const QDir folder(m_folder->path(), u".velmaro-*"_s, QDir::Name, QDir::Files | QDir::Hidden);
            return QFile::resize(folder.filePath(folder.entryList().value(0)), 2) ? 0 : ENOENT;
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
        const auto set = [](const QString &file, const char *name, const QByteArray &value) {
            return setxattr(QFile::encodeName(file).constData(), name, value.constData(),
                            static_cast<size_t>(value.size()), 0) == 0;
        };
        const QByteArray name = QFile::encodeName(m_file);
        if (chown(name.constData(), 1234, 5678) != 0 || !set(m_file, "user.nota", "hola") ||
            !set(m_file, "system.posix_acl_access", list))
            QSKIP("needs the administrator and a file system with attributes");
        for (const mode_t mode : {0660, 04604}) { // with the access list, and then without
            QCOMPARE(chmod(name.constData(), mode), 0);
            const QByteArray before = attributesOf(m_file);
            QCOMPARE(replace("new", FileStamp::of(m_file)), "");
            QCOMPARE(attributesOf(m_file), before);
            removexattr(name.constData(), "system.posix_acl_access");
            set(m_folder->path(), "system.posix_acl_default", list); // which every new file gets
        }
        QCOMPARE(write(path(u"b"_s), "b"), "");
        writeText(path(u"c"_s), "c");
        QCOMPARE(attributesOf(path(u"b"_s)), attributesOf(path(u"c"_s)));
    }

    void writesUnderAnyName()
    {
        for (const QString &name : {QString(255, u'a'), QString(QString(127, u'ñ') + u'a'), u"a\nb %1 ;"_s}) {
            m_file = path(name);
            QCOMPARE(write(m_file, "old"), "");
            QCOMPARE(replace("new", FileStamp::of(m_file)), "");
            QCOMPARE(bytesOf(m_file), "new");
            QFile::remove(m_file);
        }
        QCOMPARE(files(), "a=old");
        QCOMPARE(write(m_folder->path(), ""), "no es un archivo");
        QCOMPARE(write(path(u"no/hay"_s), ""), "no existe el archivo o la carpeta");
    }

    void followsLinks()
    {
        QVERIFY(QFile::link(m_file, path(u"link"_s)));
        QVERIFY(QFile::link(path(u"b"_s), path(u"missing"_s)));
        QCOMPARE(write(path(u"link"_s), "new"), "");
        QCOMPARE(write(path(u"missing"_s), "newer"), "");
        QCOMPARE(files(), "a=new b=newer link->new missing->newer");
    }

    void leavesStrangersAlone()
    {
        for (const char *stranger : {"", "a=longer", "a=new", "a=New"}) {
            writeText(m_file, "old");
            struct stat before {
            };
            QCOMPARE(stat(QFile::encodeName(m_file).constData(), &before), 0);
            QTest::qSleep(20); // so that the clock of the file system moves on
            FileStamp stamp = FileStamp::of(m_file);
            if (qstrcmp(stranger, "a=New") == 0 || *stranger == '\0')
                QFile::remove(m_file);
            if (*stranger != '\0')
                writeText(m_file, stranger + 2); // the file that was removed has its inode free
            const timespec times[] = {before.st_atim, before.st_mtim};
            utimensat(AT_FDCWD, QFile::encodeName(m_file).constData(), times, 0);
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
            writeText(m_file, text);
            QVERIFY(readWhole(m_file, &stamp, &error) == text);
            QVERIFY(stamp.isStill(m_file));
        }
        QFile::rename(m_file, path(u"b"_s));
        stamp.renewAfterRename();
        QVERIFY(stamp.isStill(path(u"b"_s)));
        QVERIFY(!stamp.isStill(m_file));
        QCOMPARE(mkfifo(QFile::encodeName(path(u"pipe"_s)).constData(), 0600), 0);
        for (const QString &nothing : {m_file, m_folder->path(), path(u"pipe"_s)})
            QVERIFY(!readWhole(nothing, &stamp, &error));

        // Who writes to it while it is read, or puts another one in its place, is seen.
        for (const bool another : {false, true}) {
            writeText(m_file, "first");
            const auto interfere = [&](const seccomp_data &) {
                if (another)
                    QFile::remove(m_file);
                writeText(m_file, "other");
                return 0;
            };
            withSystemCalls({SYS_read}, interfere, [&] { QVERIFY(!readWhole(m_file, &stamp, &error)); });
            QCOMPARE(error, u"otro programa cambió el archivo mientras se leía"_s);
        }
        // A pseudo file is longer than it says.
        FileStamp none;
        const QString growing = u"/proc/self/status"_s;
        QVERIFY(!readWhole(growing, &none, &error));
        QVERIFY(!none.isStill(growing));
    }
};

QTEST_GUILESS_MAIN(SafeWriteTest)
#include "safewrite.moc"
