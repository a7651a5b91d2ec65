// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/journal.h"
#include "processing/runfiles.h"
#include "support/batchfixture.h"
#include "support/fulldisk.h"
#include "support/systemcalls.h"

#include <QDirIterator>
#include <QHash>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

/// Where the files of a run come to lie, and that none is lost on the way. Every photo is known by its width.
class PhotoFileTest : public BatchFixture
{
    Q_OBJECT

    // Photos of 1970 below the root, as wide as the number that comes next; "P" is the name that their
    // position gives.
    void write(const QByteArray &names)
    {
        for (const QByteArray &name : names.split(',')) {
            const int width = 16 + static_cast<int>(m_originals.size());
            const QString file = photo(name.trimmed().replace("P", "19G 345093 6297582"));
            writePhoto(file, plainImage({width, 16}), gpsTags());
            const timespec longAgo[] = {{1, 0}, {1, 0}};
            ::utimensat(AT_FDCWD, QFile::encodeName(file).constData(), longAgo, 0);
            m_originals[width] = bytesOf(file);
        }
    }

    // All files below a folder with their widths, with a star those that are no original ("b/c.jpg 20*"),
    // with a question mark those that are no whole JPEG either, with an equals sign those that have another
    // name too, with an exclamation mark backups that have not kept their time.
    QByteArray tree(const QString &folder) const
    {
        QStringList found;
        QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QByteArray bytes = bytesOf(files.next());
            const int width = QImage(files.filePath()).width();
            const bool isOriginal = bytes == m_originals.value(width);
            const QString result = bytes.endsWith("\xff\xd9") ? u"*"_s : u"?"_s;
            struct stat status {
            };
            ::stat(QFile::encodeName(files.filePath()).constData(), &status);
            const bool isBackup = files.fileName().contains("_backup"_L1);
            found.append(u"%1 %2"_s.arg(QDir(folder).relativeFilePath(files.filePath())).arg(width) +
                         (isOriginal ? QString() : result) + (status.st_nlink > 1 ? u"="_s : QString()) +
                         (isOriginal && isBackup && status.st_mtime != 1 ? u"!"_s : QString()));
        }
        found.sort();
        return found.join(u", ").replace(u"19G 345093 6297582"_s, u"P"_s).toUtf8();
    }

    // What a run makes of the photos and of the output folder, how many it finishes, and why not the others.
    QByteArray ran(const QByteArray &output = {})
    {
        m_options.useOutputFolder = !output.isEmpty();
        m_options.outputFolder = path(output);
        run();
        QStringList told(QString::number(m_summary.finished));
        for (const PhotoProcessor::LeftPhoto &left : std::as_const(m_summary.leftPhotos))
            told.append(QFile::exists(left.nowAt) ? left.reason.section(u": "_s, -1) : u"nowhere"_s);
        told.sort();
        return tree(m_root) + (output.isEmpty() ? QByteArray() : " | " + tree(path(output))) + " | " +
               told.join(u", ").toUtf8() + (m_summary.backupsFailed > 0 ? ", no backup" : "");
    }

    void runWith(Journal *journal, const LogCallback &log) const
    {
        PhotoProcessor processor;
        processor.setOptions(m_options);
        processor.setThreadCount(1);
        processor.setJournal(journal);
        processor.renamePhotosWithUTM(m_root, log, {});
    }

    const QByteArray same = "Omitiendo archivo, la ruta de origen y destino son la misma.";
    QHash<int, QByteArray> m_originals;

private slots:
    // Photos of all folders keep their names, and change to another quality, so that each result is another
    // file.
    void init()
    {
        startOver();
        m_originals.clear();
        m_options.includeSubfolders = true;
        m_options.createBackup = true;
        m_options.renamePhotos = false;
        m_options.jpegQuality = 80;
    }

    void copiesAndBacksUpTheTree()
    {
        write("A.jpeg, uno/dos/b.png, Backup/vieja.jpg");
        m_options.renamePhotos = true;
        QCOMPARE(ran("salida"), "A.jpeg 16, Backup/vieja.jpg 18, uno/dos/b.png 17 | "
                                "P.jpg 16*, uno/dos/P.jpg 17* | 2");

        // What changes a photo under another of its names must not change the backup.
        QCOMPARE(::link(photo("uno/dos/b.png").toUtf8().constData(), path("b").toUtf8().constData()), 0);
        QCOMPARE(ran(), "P.jpg 16*, Backup/A_backup.jpeg 16, Backup/uno/dos/b_backup.png 17, "
                        "Backup/vieja.jpg 18, uno/dos/P.jpg 17* | 2");
        // The next run numbers names and copies.
        QCOMPARE(ran(), "P (1).jpg 16*, Backup/P_backup.jpg 16*, Backup/A_backup.jpeg 16, "
                        "Backup/uno/dos/P_backup.jpg 17*, Backup/uno/dos/b_backup.png 17, "
                        "Backup/vieja.jpg 18, uno/dos/P (1).jpg 17* | 2");
        // From above, what is in the folder of the copies and no copy is a photo like others.
        m_root = m_folder->path();
        run();
        QCOMPARE(m_summary.finished, 5);

        init();
        write("x" + QByteArray("🌋").repeated(62) + ".b.jpg");
        run();
        QCOMPARE(ran().replace(QByteArray("🌋").repeated(60), "..."),
                 "Backup/x..._backup(1).jpg 16*, Backup/x..._backup.jpg 16, x...🌋🌋.b.jpg 16* | 1");
    }

    void keepsAPhotoWholeOnAFullDisk()
    {
        m_options.jpegQuality = 100;
        write("a.jpg");
        run();
        const qint64 copied = m_originals[16].size();
        const qint64 needed = QFileInfo(photo("a.jpg")).size();
        QVERIFY(copied < needed);
        for (const qint64 bytes : {qint64(0), copied / 2, copied - 1, copied, needed - 1, needed}) {
            const bool copies = bytes >= copied;
            const QByteArray end = bytes < needed ? " | 0, el archivo es demasiado grande" : "* | 1";
            const QByteArray shared = copies ? "" : "="; // which takes no room
            const QByteArray results[] = {
                // with a backup, into an empty output folder, into one with an earlier result
                "Backup/a_backup.jpg 16" + shared + ", a.jpg 16" + shared + end +
                    (copies ? "" : ", no backup"),
                (copies ? "a.jpg 16 | a.jpg 16" : "a.jpg 16 | ") + end,
                (bytes < needed ? "a.jpg 16 | a.jpg 0?" : "a.jpg 16 | a.jpg 16") + end,
            };
            for (int way = 0; way < 3; ++way) {
                init();
                m_options.jpegQuality = 100;
                write("a.jpg");
                QDir().mkpath(path("salida"));
                if (way == 2)
                    writeText(path("salida/a.jpg"), "earlier");
                const auto full = fullDisk(bytes);
                QCOMPARE(ran(way == 0 ? "" : "salida"), results[way]);
            }
        }
    }

    void replacesResultsAlone()
    {
        write("sub/a.jpg");
        const QByteArray result = "salida/.velmaro-resultados 0?, salida/sub/a.jpg 16*, sub/a.jpg 16 | "
                                  ".velmaro-resultados 0?, sub/a.jpg 16* | 1";
        QCOMPARE(ran("fotos/salida"), result);
        QCOMPARE(ran("fotos/salida"), result + ", " + same);
        // What lies there and is no result, or was changed since, is an original.
        write("salida/sub/a.jpg");
        QCOMPARE(ran("fotos/salida"), "salida/.velmaro-resultados 0?, salida/sub/a.jpg 17, sub/a.jpg 16 | "
                                      ".velmaro-resultados 0?, sub/a.jpg 17 | 0, " +
                                          same + ", " + same);

        // Elsewhere, what has the name of a result is taken for one, but not where a link leads to. Left
        // photos leave it alone too.
        QDir(photo("salida")).removeRecursively();
        QDir().mkpath(path("fuera/sub"));
        writeText(path("ajena.jpg"), "a stranger");
        QVERIFY(QFile::link(path("ajena.jpg"), path("fuera/sub/a.jpg")));
        for (int i = 0; i < 2; ++i)
            QCOMPARE(ran("fuera"), "sub/a.jpg 16 | sub/a.jpg 16* | 1");
        QCOMPARE(bytesOf(path("ajena.jpg")), "a stranger");
        writeTable("otra.jpg;19;H;1;2\n");
        QCOMPARE(ran("fuera"), "sub/a.jpg 16 | sub/a.jpg 16* | 0, "
                               "Coordenadas UTM no encontradas en archivo TXT para a.jpg");
        // Nor does one that was left there become a result.
        init();
        write("a.jpg, salida/a.jpg");
        writeTable("otra.jpg;19;H;1;2\n");
        m_options.includeSubfolders = false;
        ran("fotos/salida");
        m_options.includeSubfolders = m_options.useExif = true;
        QVERIFY(ran("fotos/salida").startsWith("a.jpg 16, salida/a.jpg 17 | "));
    }

    void keepsPhotosThatOtherPathsLeadTo()
    {
        write("a.jpg, sub/a.jpg, sub/b.jpg");
        QVERIFY(QFile::link(m_root, path("salida")));
        for (const char *way : {"fotos", "fotos/sub/..", "fotos/sub", "salida", "salida/sub"}) {
            QVERIFY2(ran(way).startsWith("a.jpg 16, sub/a.jpg 17, sub/b.jpg 18 | "), way);
            QCOMPARE(m_summary.finished, 0);
        }
        // A folder of the output may lead back to the photos, or two of them to one.
        QFile::remove(path("salida"));
        QDir().mkpath(path("salida/x"));
        QVERIFY(QFile::link(m_root, path("salida/sub")));
        QCOMPARE(ran("salida"), "a.jpg 16, b.jpg 18*, sub/a.jpg 17, sub/b.jpg 18 | a.jpg 16* | 2, " + same);
        QFile::remove(photo("b.jpg"));
        QFile::remove(path("salida/sub"));
        QVERIFY(QFile::link(path("salida"), path("salida/sub")));
        QVERIFY(ran("salida").endsWith(" | 2, el resultado de otra foto ya tiene ese nombre"));
        // The folder above: a photo of one folder must not replace one of another.
        write("fotos/a.jpg");
        QVERIFY(ran(".").startsWith("a.jpg 16, fotos/a.jpg 19, "));
        // Nor do photos that are left take each other's place.
        m_options.renamePhotos = true;
        writeTable("otra.jpg;19;H;1;2\n");
        ran("salida");
        QCOMPARE(tree(path("salida")), "a.jpg 16, b.jpg 18, fotos/a.jpg 19");
    }

    // exFAT by FUSE: names that differ in case are one, and one folder has many inodes.
    void knowsNamesOnMemoryCards()
    {
        write("foto.jpg, FOTO.jpg");
        QCOMPARE(ran("salida"), "FOTO.jpg 17, foto.jpg 16 | FOTO.jpg 17*, foto.jpg 16* | 2");
        const auto shell = [this](const char *commands) {
            const QString text = QString::fromLatin1(commands).arg(m_folder->path());
            return QProcess::execute(u"bash"_s, {u"-ec"_s, text}) == 0;
        };
        const auto unmount = qScopeGuard([&] { shell("! mountpoint -q %1/card || umount %1/card"); });
        if (!shell("cd %1; mkdir card; truncate -s 8M disk; mkfs.exfat disk >&2; "
                   "mount -t exfat-fuse -o loop disk card; "
                   "{ tail --pid $PPID -f /dev/null; umount card; } >& /dev/null &")) // when the test crashes
            QSKIP("needs the administrator, loop devices and exfat-fuse");
        // There they are one name, so that one of them stays without a result.
        QVERIFY(ran("card/salida").endsWith("* | 1, el resultado de otra foto ya tiene ese nombre"));
        QCOMPARE(tree(m_root), "FOTO.jpg 17, foto.jpg 16");

        m_root = path("card/Fotos");
        write("a.jpg, b/a.jpg, backup/b.jpg"); // the last an untouched copy
        const QByteArray originals = "a.jpg 18, b/a.jpg 19, backup/b.jpg 20 | ";
        const QByteArray left = " | 0, " + same + ", " + same;
        QCOMPARE(ran("card/FOTOS"), originals + "a.jpg 18, b/a.jpg 19, backup/b.jpg 20" + left);
        QCOMPARE(ran("card/FOTOS/B"), originals + "a.jpg 19" + left);
        m_options.renamePhotos = true;
        QCOMPARE(ran(), "P.jpg 18*, b/P.jpg 19*, backup/a_backup.jpg 18, backup/b.jpg 20, "
                        "backup/b/a_backup.jpg 19 | 2");
    }

    void goesOnWhenTheDiskFails()
    {
        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        const auto ranWhile = [this](const std::vector<long> &calls, const auto &answer,
                                     const QByteArray &output = {}) {
            return withSystemCalls(calls, answer, [&] { return ran(output); });
        };
        // In place all has to be on the disk before it takes a place; where a file cannot have two names, the
        // backup is a copy, without which a photo goes on.
        const auto ranFailing = [&](const std::vector<long> &calls) {
            init();
            write("a.jpg");
            return ranWhile(calls,
                            [](const seccomp_data &call) { return call.nr == SYS_linkat ? EPERM : EIO; });
        };
        QCOMPARE(ranFailing({SYS_fsync}),
                 "Backup/a_backup.jpg 16=, a.jpg 16= | 0, error de entrada o salida del disco, no backup");
        for (const long call : {SYS_linkat, SYS_fdatasync}) // the photo, too, may be in memory alone
            QCOMPARE(ranFailing({call, SYS_fsync}),
                     "a.jpg 16 | 0, error de entrada o salida del disco, no backup");
        QCOMPARE(ranFailing({SYS_linkat, SYS_renameat2}), "a.jpg 16* | 1, no backup");
        QCOMPARE(ranFailing({SYS_linkat}), "Backup/a_backup.jpg 16, a.jpg 16* | 1");
        for (const bool rename : {false, true}) {
            // While the result goes onto the disk, another program puts its own photo in the place of this
            // one.
            init();
            m_options.renamePhotos = rename;
            write("a.jpg");
            const auto intrude = [this](const seccomp_data &) {
                QFile::remove(photo("a.jpg"));
                write("a.jpg");
                return 0;
            };
            const QByteArray told = ranWhile({SYS_fsync}, intrude);
            QVERIFY2(told.startsWith("Backup/a_backup.jpg 16, a.jpg ") && !told.contains('*'),
                     told.constData());
            QVERIFY2(told.contains(" | 0, otro programa ha movido o cambiado el archivo"), told.constData());
        }

        // Or it changes what the result is to replace.
        init();
        write("a.jpg");
        QDir().mkpath(path("salida"));
        writeText(path("salida/a.jpg"), "earlier");
        const auto change = [this](const seccomp_data &) {
            writeText(path("salida/a.jpg"), "a stranger");
            return 0;
        };
        QVERIFY(ranWhile({SYS_sync_file_range}, change, "salida")
                    .startsWith("a.jpg 16 | a.jpg 0? | 0, otro programa ha movido o cambiado el archivo"));
        QCOMPARE(m_log.filter(u"Error guardando la imagen: otro programa"_s).size(), 1);

        // A photo that cannot get a name, its own (as result or copy) or the new one, leaves that to the
        // next, and what may not be on the disk is told.
        for (const bool rename : {false, true}) {
            init();
            write(rename ? "a.jpg, sub/b.jpg" : "a.jpg, sub/a.jpg");
            QDir().mkpath(path("salida"));
            QVERIFY(QFile::link(path("salida"), path("salida/sub")));
            m_options.renamePhotos = rename;
            int failures = rename ? 1 : 2;
            const auto fail = [&](const seccomp_data &call) {
                const QByteArray to(call.nr == SYS_syncfs ? ""
                                                          : reinterpret_cast<const char *>(call.args[3]));
                const bool isName = to.endsWith(rename ? "/19G 345093 6297582.jpg" : "/a.jpg");
                return call.nr == SYS_syncfs || (isName && failures-- > 0) ? EIO : 0;
            };
            QCOMPARE(
                ranWhile({SYS_renameat2, SYS_syncfs}, fail, "salida"),
                rename
                    ? "a.jpg 16, sub/b.jpg 17 | P.jpg 17*, a.jpg 16 | 1, error de entrada o salida del disco"
                    : "a.jpg 16, sub/a.jpg 17 | a.jpg 17* | 1, error de entrada o salida del disco");
            QCOMPARE(m_summary.notSynced, u"error de entrada o salida del disco"_s);
        }

        // What a photo could not take, and another did, is not taken back when the task is taken up again:
        // be it the name that failed, or the line of the journal (the first is the heading).
        for (const long call : {SYS_renameat2, SYS_fdatasync}) {
            init();
            write("a.jpg, b.jpg");
            m_options.renamePhotos = true;
            m_options.useOutputFolder = true;
            m_options.outputFolder = path("salida");
            QDir().mkpath(m_options.outputFolder);
            const Journal::Task task{m_root, path("salida"), {}, {}};
            QString error;
            int before = call == SYS_fdatasync ? 1 : 0;
            withSystemCalls(
                {call}, [&](auto &) { return before-- == 0 ? EIO : 0; },
                [&] {
                    const std::unique_ptr<Journal> journal = Journal::open(task, &error);
                    runWith(journal.get(), [](const QString &) {});
                    return true;
                });
            QVERIFY(Journal::open(task, &error));
            QVERIFY(tree(path("salida")).contains(", P.jpg 1"));
        }

        // The disk of the output folder goes away during the run; under its path there is another one then.
        m_options.useOutputFolder = true;
        RunFiles files(m_options, m_root, {});
        QVERIFY(files.claim(m_root + u"/a.jpg"_s));
        QVERIFY(QDir(m_root).removeRecursively() && QFile::link(u"/proc"_s, m_root));
        QCOMPARE(files.finish(), u"un disco con resultados ya no está"_s);
    }

    void settlesAPhotoWhateverIsThrown()
    {
        m_options.addCompass = true;
        write("a.jpg");
        for (const bool output : {false, true}) {
            m_options.useOutputFolder = output;
            m_options.outputFolder = path("salida");
            runWith(nullptr, [](const QString &line) {
                if (line.startsWith(u"Dibujando"_s))
                    throw std::bad_alloc();
            });
            QCOMPARE(tree(path("salida")), output ? "a.jpg 16" : "");
            QCOMPARE(tree(m_root), "Backup/a_backup.jpg 16, a.jpg 16");
        }
    }

    void losesNoPhotoToANameRace()
    {
        constexpr int count = 150;
        QByteArrayList names; // those of some photos are those that others will get
        for (int i = 0; i < count; ++i)
            names.append((i % 10 == 0 ? "P (" : "(") + QByteArray::number(i) + ").jpg");
        write(names.join(','));
        m_options.renamePhotos = true;
        m_options.createBackup = false;
        for (const bool output : {true, false}) {
            m_options.useOutputFolder = output;
            m_options.outputFolder = path("salida");
            run(8);
            const QByteArray results = tree(output ? m_options.outputFolder : m_root);
            QCOMPARE(results.count("P"), count);
            for (int width = 16; width < 16 + count; ++width)
                QCOMPARE(results.count(QByteArray(" " + QByteArray::number(width) + "*")), 1);
        }
    }
};

QTEST_MAIN(PhotoFileTest)
#include "photofile.moc"
