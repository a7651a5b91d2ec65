// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/takennames.h"

#include "support/photofiles.h"
#include "support/systemcalls.h"

#include <QDir>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

/// Names are given once, lowest number first, and never one that a file has.
class TakenNamesTest : public QObject
{
    Q_OBJECT

    // What becomes of four files that want to be called "n", "n (1)", ..., when there is a fifth that is
    // missing.
    static QByteArray namesGiven()
    {
        const QTemporaryDir folder;
        for (const char *name : {"a", "n", "n (2)", "N (1)"})
            writeText(folder.filePath(QString::fromLatin1(name)), name);
        const FilePlacer placer;
        TakenNames names;
        QStringList told;
        for (const QString &from : {u"a"_s, u"n"_s, u"n (2)"_s, u"missing"_s, u"N (1)"_s}) {
            int questions = 0;
            QString error;
            const std::optional<QString> name = names.place(
                folder.path(), [](int number) { return number == 0 ? u"n"_s : u"n (%1)"_s.arg(number); },
                [&](const QString &path) {
                    ++questions;
                    return placer.rename(folder.filePath(from), path, &error);
                });
            told.append(u"%1 %2"_s.arg(name.value_or(error)).arg(questions));
            if (name)
                names.becameFree(folder.filePath(from));
        }
        for (const QString &name : QDir(folder.path()).entryList(QDir::Files, QDir::Name))
            told.append(name + u'=' + QString::fromUtf8(bytesOf(folder.filePath(name))));
        return told.join(u", ").toUtf8();
    }

private slots:
    // By the kernel, by links, as on NFS, and with neither, as on exFAT by FUSE.
    void placesOnlyUnderFreeNames()
    {
        const QByteArray given = "n (1) 2, n (3) 2, n 1, no existe el archivo o la carpeta 1, n (2) 1, "
                                 "n=n (2), n (1)=a, n (2)=N (1), n (3)=n";
        QCOMPARE(namesGiven(), given);
        const auto refuse = [](const seccomp_data &) {
            return EINVAL;
        };
        for (const std::vector<long> &calls : {std::vector<long>{SYS_renameat2}, {SYS_renameat2, SYS_link}}) {
            QByteArray told;
            withSystemCalls(calls, refuse, [&] { told = namesGiven(); });
            QCOMPARE(told, given);
        }

        // A file that got a second name, but could not lose the first, does not keep both.
        const QTemporaryDir folder;
        writeText(folder.filePath(u"a"_s), "a");
        QString error;
        bool unlinking = false;
        const auto failOnce = [&](const seccomp_data &call) {
            return call.nr == SYS_renameat2 ? EINVAL : std::exchange(unlinking, true) ? 0 : EACCES;
        };
        withSystemCalls({SYS_renameat2, SYS_unlink}, failOnce, [&] {
            FilePlacer().rename(folder.filePath(u"a"_s), folder.filePath(u"b"_s), &error);
        });
        QCOMPARE(error, u"permiso denegado"_s);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList(u"a"_s));
    }
};

QTEST_GUILESS_MAIN(TakenNamesTest)
#include "takennames.moc"
