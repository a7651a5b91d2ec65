// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/takennames.h"

#include "support/photofiles.h"
#include "support/systemcalls.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

/// Names are given once, lowest number first, and never one that a file has.
class TakenNamesTest : public QObject
{
    Q_OBJECT

    // Names four files of the current folder "n", "n (1)", ..., and a fifth that is missing: the names that
    // they get, with a dot for each that was tried, and the files in the end.
    static QString namesGiven()
    {
        for (const QString &name : {u"a"_s, u"n"_s, u"n (2)"_s, u"N (1)"_s})
            writeText(name, name.toUtf8());
        const FilePlacer placer;
        TakenNames names;
        QString told;
        for (const QString &from : {u"a"_s, u"n"_s, u"n (2)"_s, u"missing"_s, u"N (1)"_s}) {
            QString error;
            const auto nameOf = [](int number) {
                return number == 0 ? u"n"_s : u"n (%1)"_s.arg(number);
            };
            const auto place = [&](const QString &path) {
                told += u'.';
                return placer.rename(from, path, &error);
            };
            const std::optional<QString> name = names.place(u"."_s, nameOf, place);
            told += name.value_or(error) + u", "_s;
            if (name)
                names.becameFree(u"./"_s + from);
        }
        for (const QString &name : QDir().entryList(QDir::Files, QDir::Name)) {
            told += u"%1=%2 "_s.arg(name, QString::fromUtf8(bytesOf(name)));
            QFile::remove(name);
        }
        return told;
    }

private slots:
    // By the kernel, by links, as on NFS, and with neither, as on exFAT by FUSE.
    void placesOnlyUnderFreeNames()
    {
        const QTemporaryDir folder;
        QDir::setCurrent(folder.path());
        const QString given = u"..n (1), ..n (3), .n, .no existe el archivo o la carpeta, .n (2), "
                              "n=n (2) n (1)=a n (2)=N (1) n (3)=n "_s;
        QString told = namesGiven();
        QCOMPARE(told, given);
        const auto refuse = [](const seccomp_data &) {
            return EINVAL;
        };
        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        for (const std::vector<long> &calls : {std::vector<long>{SYS_renameat2}, {SYS_renameat2, SYS_link}}) {
            withSystemCalls(calls, refuse, [&] { told = namesGiven(); });
            QCOMPARE(told, given);
        }

        // A file that got a second name, but could not lose the first, does not keep both.
        writeText(u"a"_s, "a");
        bool unlinking = false;
        const auto failOnce = [&](const seccomp_data &call) {
            return call.nr == SYS_renameat2 ? EINVAL : std::exchange(unlinking, true) ? 0 : EACCES;
        };
        withSystemCalls({SYS_renameat2, SYS_unlink}, failOnce,
                        [&] { FilePlacer().rename(u"a"_s, u"b"_s, &told); });
        QCOMPARE(told, u"permiso denegado"_s);
        QCOMPARE(QDir().entryList(QDir::Files), QStringList(u"a"_s));
    }
};

QTEST_GUILESS_MAIN(TakenNamesTest)
#include "takennames.moc"
