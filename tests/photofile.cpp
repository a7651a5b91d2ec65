// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/runfiles.h"
#include "support/batchfixture.h"
#include "support/fulldisk.h"
#include "support/systemcalls.h"

#include <QDir>
#include <QDirIterator>
#include <QHash>
#include <QProcess>
#include <QScopeGuard>
#include <QTest>

#include <cerrno>

using namespace Qt::StringLiterals;

/// Where the files of a run come to lie, and that none is lost on the way. Every photo is known by its width.
class PhotoFileTest : public BatchFixture
{
    Q_OBJECT

    // Photos below the root, as wide as the number that comes next; "P" is the name that their position
    // gives.
    void write(const QByteArray &names)
    {
        for (const QByteArray &name : names.split(',')) {
            const int width = 16 + static_cast<int>(m_originals.size());
            const QString file = photo(name.trimmed().replace("P", "19G 345093 6297582"));
            writePhoto(file, plainImage({width, 16}), gpsTags());
            m_originals[width] = bytesOf(file);
        }
    }

    // All files below a folder with their widths, with a star those that are no original ("b/c.jpg 20*"),
    // with a question mark those that are no whole JPEG either.
    QByteArray tree(const QString &folder) const
    {
        QStringList found;
        QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QByteArray bytes = bytesOf(files.next());
            const int width = QImage(files.filePath()).width();
            const QString result = bytes.endsWith("\xff\xd9") ? u"*"_s : u"?"_s;
            found.append(u"%1 %2"_s.arg(QDir(folder).relativeFilePath(files.filePath())).arg(width) +
                         (bytes == m_originals.value(width) ? QString() : result));
        }
        found.sort();
        return found.join(u", ").replace(u"19G 345093 6297582"_s, u"P"_s).toUtf8();
    }

    // What a run makes of the photos and of the output folder, how many it finishes, and why not the others.
    QByteArray ran(const QString &output = {})
    {
        m_options.useOutputFolder = !output.isEmpty();
        m_options.outputFolder = output;
        run();
        QStringList told(QString::number(m_summary.finished));
        for (const PhotoProcessor::LeftPhoto &left : std::as_const(m_summary.leftPhotos))
            told.append(left.reason.section(u": "_s, -1));
        if (m_summary.backupsFailed > 0)
            told.append(u"no backup"_s);
        told.sort();
        return tree(m_root) + (output.isEmpty() ? QByteArray() : " | " + tree(output)) + " | " +
               told.join(u", ").toUtf8();
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
        QVERIFY(QFile::link(photo("A.jpeg"), photo("link.jpg")));
        m_options.renamePhotos = true;
        QCOMPARE(ran(path(u"salida"_s)), "A.jpeg 16, Backup/vieja.jpg 18, link.jpg 16, uno/dos/b.png 17 | "
                                         "P.jpg 16*, uno/dos/P.jpg 17* | 2");

        QFile::remove(photo("link.jpg"));
        const QDateTime taken(QDate(2020, 1, 2), QTime(3, 4, 5));
        QFile file(photo("A.jpeg"));
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.setFileTime(taken, QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(ran(), "P.jpg 16*, Backup/A_backup.jpeg 16, Backup/uno/dos/b_backup.png 17, "
                        "Backup/vieja.jpg 18, uno/dos/P.jpg 17* | 2");
        QCOMPARE(QFileInfo(photo("Backup/A_backup.jpeg")).lastModified(), taken);
        // The next run numbers names and copies.
        QCOMPARE(ran(), "P (1).jpg 16*, Backup/P_backup.jpg 16*, Backup/A_backup.jpeg 16, "
                        "Backup/uno/dos/P_backup.jpg 17*, Backup/uno/dos/b_backup.png 17, "
                        "Backup/vieja.jpg 18, uno/dos/P (1).jpg 17* | 2");
        // From above, what is in the folder of the copies and no copy is a photo like others.
        QDir(path(u"salida"_s)).removeRecursively();
        m_root = m_folder->path();
        run();
        QCOMPARE(m_summary.finished, 3);
    }

    void backsUpUnderAnyName()
    {
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
        const QString output = path(u"salida"_s);
        for (const qint64 bytes : {qint64(0), copied / 2, copied - 1, copied, needed - 1, needed}) {
            const bool copies = bytes >= copied;
            const QByteArray end = bytes < needed ? " | 0, el archivo es demasiado grande" : "* | 1";
            const QByteArray results[] = {
                // with a backup, into an empty output folder, into one with an earlier result
                (copies ? "Backup/a_backup.jpg 16, a.jpg 16" : "a.jpg 16") + end +
                    (copies ? "" : ", no backup"),
                (copies ? "a.jpg 16 | a.jpg 16" : "a.jpg 16 | ") + end,
                (bytes < needed ? "a.jpg 16 | a.jpg 0?" : "a.jpg 16 | a.jpg 16") + end,
            };
            for (int way = 0; way < 3; ++way) {
                QDir(m_folder->path()).removeRecursively();
                m_originals.clear();
                write("a.jpg");
                QDir().mkpath(output);
                if (way == 2)
                    writeText(output + u"/a.jpg"_s, "earlier");
                const FullDisk full(bytes);
                QCOMPARE(ran(way == 0 ? QString() : output), results[way]);
            }
        }
    }

    void replacesResultsAlone()
    {
        write("sub/a.jpg, salida/sub/a.jpg");
        const QString inside = m_root + u"/salida"_s;
        QFile::remove(photo("salida/sub/a.jpg"));
        const QByteArray result = "salida/.velmaro-resultados 0?, salida/sub/a.jpg 16*, sub/a.jpg 16 | "
                                  ".velmaro-resultados 0?, sub/a.jpg 16* | 1";
        QCOMPARE(ran(inside), result);
        QCOMPARE(ran(inside), result + ", " + same);
        // What lies there and is no result, or was changed since, is an original.
        writeText(photo("salida/sub/a.jpg"), m_originals[17]);
        QCOMPARE(ran(inside), "salida/.velmaro-resultados 0?, salida/sub/a.jpg 17, sub/a.jpg 16 | "
                              ".velmaro-resultados 0?, sub/a.jpg 17 | 0, " +
                                  same + ", " + same);

        // Elsewhere, what has the name of a result is taken for one, but not where a link leads to. Left
        // photos leave it alone too.
        const QString outside = path(u"fuera"_s);
        QDir(inside).removeRecursively();
        QDir().mkpath(outside + u"/sub"_s);
        writeText(path(u"ajena.jpg"_s), "a stranger");
        QVERIFY(QFile::link(path(u"ajena.jpg"_s), outside + u"/sub/a.jpg"_s));
        for (int i = 0; i < 2; ++i)
            QCOMPARE(ran(outside), "sub/a.jpg 16 | sub/a.jpg 16* | 1");
        QCOMPARE(bytesOf(path(u"ajena.jpg"_s)), "a stranger");
        writeTable("otra.jpg;19;H;1;2\n");
        QCOMPARE(ran(outside), "sub/a.jpg 16 | sub/a.jpg 16* | 0, "
                               "Coordenadas UTM no encontradas en archivo TXT para a.jpg");
        QCOMPARE(m_summary.leftPhotos[0].nowAt, photo("sub/a.jpg"));
    }

    void keepsPhotosThatOtherPathsLeadTo()
    {
        write("a.jpg, sub/a.jpg, sub/b.jpg");
        const QString salida = path(u"salida"_s);
        QVERIFY(QFile::link(m_root, salida));
        for (const char *way : {"fotos", "fotos/sub/..", "fotos/sub", "salida", "salida/sub"}) {
            QVERIFY2(ran(path(QLatin1String(way))).startsWith("a.jpg 16, sub/a.jpg 17, sub/b.jpg 18 | "),
                     way);
            QCOMPARE(m_summary.finished, 0);
        }
        // A folder of the output may lead back to the photos, or two of them to one.
        QFile::remove(salida);
        QDir().mkpath(salida + u"/x"_s);
        QVERIFY(QFile::link(m_root, salida + u"/sub"_s));
        QCOMPARE(ran(salida), "a.jpg 16, b.jpg 18*, sub/a.jpg 17, sub/b.jpg 18 | a.jpg 16* | 2, " + same);
        QFile::remove(photo("b.jpg"));
        QFile::remove(salida + u"/sub"_s);
        QVERIFY(QFile::link(salida, salida + u"/sub"_s));
        QVERIFY(ran(salida).contains(" | 2, "));
        QCOMPARE(m_summary.leftPhotos[0].reason,
                 u"Error: No se pudo copiar el archivo a la carpeta de salida: "_s + salida +
                     u"/sub/a.jpg: el resultado de otra foto ya tiene ese nombre"_s);
        // The folder above: a photo of one folder must not replace one of another.
        write("fotos/a.jpg");
        QVERIFY(ran(m_folder->path()).startsWith("a.jpg 16, fotos/a.jpg 19, "));
    }

    // exFAT by FUSE: names that differ in case are one, and one folder has many inodes.
    void knowsNamesOnMemoryCards()
    {
        write("foto.jpg, FOTO.jpg");
        QCOMPARE(ran(path(u"salida"_s)), "FOTO.jpg 17, foto.jpg 16 | FOTO.jpg 17*, foto.jpg 16* | 2");
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
        QVERIFY(ran(path(u"card/salida"_s)).endsWith("* | 1, el resultado de otra foto ya tiene ese nombre"));
        QCOMPARE(tree(m_root), "FOTO.jpg 17, foto.jpg 16");

        m_root = path(u"card/Fotos"_s);
        write("a.jpg, b/a.jpg, backup/b.jpg"); // the last an untouched copy
        const QByteArray originals = "a.jpg 18, b/a.jpg 19, backup/b.jpg 20 | ";
        const QByteArray left = " | 0, " + same + ", " + same;
        QCOMPARE(ran(path(u"card/FOTOS"_s)), originals + "a.jpg 18, b/a.jpg 19, backup/b.jpg 20" + left);
        QCOMPARE(ran(path(u"card/FOTOS/B"_s)), originals + "a.jpg 19" + left);
        m_options.renamePhotos = true;
        QCOMPARE(ran(), "P.jpg 18*, b/P.jpg 19*, backup/a_backup.jpg 18, backup/b.jpg 20, "
                        "backup/b/a_backup.jpg 19 | 2");
    }

    // While the copy goes onto the disk, another program puts its own photo in the place of this one.
    void leavesStrangersAlone()
    {
        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        for (const bool rename : {false, true}) {
            init();
            m_options.renamePhotos = rename;
            write("a.jpg");
            QByteArray told;
            const auto intrude = [&](const seccomp_data &) {
                QFile::remove(photo("a.jpg"));
                write("a.jpg");
                return 0;
            };
            withSystemCalls({SYS_fsync}, intrude, [&] { told = ran(); });
            QVERIFY2(told.startsWith("Backup/a_backup.jpg 16, a.jpg ") && !told.contains('*'),
                     told.constData());
            QVERIFY2(told.contains(" | 0, otro programa ha movido o cambiado el archivo"), told.constData());
        }
    }

    void goesOnWhenTheDiskFails()
    {
        if (!canAnswerSystemCalls())
            QSKIP("needs a system that lets others answer its calls");
        // A photo whose copy cannot get a name, its own or the new one, leaves that to the next, and what may
        // not be on the disk is told.
        for (const QByteArray name : {"a.jpg", "P.jpg"}) {
            init();
            write(name + ", sub/b.jpg");
            const QString salida = path(u"salida"_s);
            QDir().mkpath(salida);
            QVERIFY(QFile::link(salida, salida + u"/sub"_s));
            m_options.renamePhotos = true;
            QByteArray told;
            bool failed = false;
            const auto fail = [&](const seccomp_data &call) {
                if (call.nr == SYS_syncfs)
                    return EIO;
                const QByteArray to(reinterpret_cast<const char *>(call.args[3]));
                return to.endsWith("/19G 345093 6297582.jpg") && !std::exchange(failed, true) ? EIO : 0;
            };
            withSystemCalls({SYS_renameat2, SYS_syncfs}, fail, [&] { told = ran(salida); });
            QCOMPARE(told, name + " 16, sub/b.jpg 17 | P.jpg 17*" + (name == "P.jpg" ? "" : ", a.jpg 16") +
                               " | 1, error de entrada o salida del disco");
            QCOMPARE(m_summary.notSynced, u"error de entrada o salida del disco"_s);
        }

        // In place all has to be on the disk before it takes a place; without its copy a photo goes on.
        const QByteArray ends[] = {"a.jpg 16 | 0, error de entrada o salida del disco, no backup",
                                   "a.jpg 16* | 1, no backup"};
        for (const bool rename : {false, true}) {
            init();
            write("a.jpg");
            QByteArray told;
            const auto fail = [](const seccomp_data &) {
                return EIO;
            };
            withSystemCalls({rename ? SYS_renameat2 : SYS_fsync}, fail, [&] { told = ran(); });
            QCOMPARE(told, ends[rename]);
        }

        // The disk of the output folder goes away during the run; under its path there is another one then.
        m_options.useOutputFolder = true;
        RunFiles files(m_options, m_root, {});
        QVERIFY(files.claim(m_root + u"/a.jpg"_s));
        QDir(m_root).removeRecursively();
        QVERIFY(QFile::link(u"/proc"_s, m_root));
        QCOMPARE(files.finish(), u"un disco con resultados ya no está"_s);
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
            m_options.outputFolder = path(u"salida"_s);
            run(8);
            const QByteArray results = tree(output ? m_options.outputFolder : m_root);
            QCOMPARE(m_summary.finished, count);
            QCOMPARE(results.count("P"), count);
            QCOMPARE(results.count(".jpg"), count);
            for (int width = 16; width < 16 + count; ++width)
                QCOMPARE(results.count(QByteArray(" " + QByteArray::number(width) + "*")), 1);
        }
        // The name that a photo leaves is the next to be given.
        init();
        m_options.renamePhotos = true;
        write("P.jpg, P (1).jpg");
        QVERIFY(!ran().contains("P (3).jpg"));
    }
};

QTEST_MAIN(PhotoFileTest)
#include "photofile.moc"
