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

    // The contents of the files of the current folder: "n=a, n (1)=b".
    static QByteArray files()
    {
        QStringList files;
        for (const QString &name : QDir().entryList(QDir::Files, QDir::Name))
            files.append(name + u'=' + QString::fromUtf8(bytesOf(name)));
        return files.join(u", ").toUtf8();
    }

    // Names four files "n", "n (1)", ..., and a fifth that is missing: their names, and the questions they
    // took.
    static QByteArray namesGiven()
    {
        const QTemporaryDir folder;
        QDir::setCurrent(folder.path());
        for (const QString &name : {u"a"_s, u"n"_s, u"n (2)"_s, u"N (1)"_s})
            writeText(name, name.toUtf8());
        const FilePlacer placer;
        TakenNames names;
        QString told;
        const auto nameOf = [](int number) {
            return number == 0 ? u"n"_s : u"n (%1)"_s.arg(number);
        };
        for (const QString &from : {u"a"_s, u"n"_s, u"n (2)"_s, u"missing"_s, u"N (1)"_s}) {
            QString error;
            const auto place = [&](const QString &path) {
                told += u'.';
                return placer.rename(from, path, &error);
            };
            const std::optional<QString> name = names.place(u"."_s, nameOf, place);
            told += name.value_or(error) + u", "_s;
            if (name)
                names.becameFree(u"./"_s + from);
        }
        return told.toUtf8() + files();
    }

private slots:
    // By the kernel, by links, as on NFS, and with neither, as on exFAT by FUSE.
    void placesOnlyUnderFreeNames()
    {
        const QByteArray given = "..n (1), ..n (3), .n, .no existe el archivo o la carpeta, .n (2), "
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
        QDir::setCurrent(folder.path());
        writeText(u"a"_s, "a");
        QString error;
        bool unlinking = false;
        const auto failOnce = [&](const seccomp_data &call) {
            return call.nr == SYS_renameat2 ? EINVAL : std::exchange(unlinking, true) ? 0 : EACCES;
        };
        withSystemCalls({SYS_renameat2, SYS_unlink}, failOnce,
                        [&] { FilePlacer().rename(u"a"_s, u"b"_s, &error); });
        QCOMPARE(error.toUtf8() + ", " + files(), "permiso denegado, a=a");
    }
};

QTEST_GUILESS_MAIN(TakenNamesTest)
#include "takennames.moc"
