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

    void write(const QByteArray &name, int width)
    {
        writePhoto(photo(name), plainImage({width, 16}), gpsTags());
        m_originals[width] = bytesOf(photo(name));
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
            const bool original = bytes == m_originals.value(width);
            found.append(u"%1 %2"_s.arg(QDir(folder).relativeFilePath(files.filePath())).arg(width) +
                         (original                     ? u""_s
                          : bytes.endsWith("\xff\xd9") ? u"*"_s
                                                       : u"?"_s));
        }
        found.sort();
        return found.join(u", ").replace(u"19G 345093 6297582"_s, u"P"_s).toUtf8();
    }

    // What a run makes of the photos, and of the output folder, how many it finishes, and why not the others.
    QByteArray ran()
    {
        run();
        QStringList reasons;
        for (const PhotoProcessor::LeftPhoto &left : std::as_const(m_summary.leftPhotos))
            reasons.append(u", "_s + left.reason.section(u": "_s, -1));
        if (m_summary.backupsFailed > 0)
            reasons.append(u", no backup"_s);
        reasons.sort();
        const QByteArray output =
            m_options.useOutputFolder ? tree(m_options.outputFolder) + " | " : QByteArray();
        return tree(m_root) + " | " + output + QByteArray::number(m_summary.finished) +
               reasons.join(u"").toUtf8();
    }
    QByteArray ranInto(const QString &output)
    {
        m_options.useOutputFolder = true;
        m_options.outputFolder = output;
        return ran();
    }

    QHash<int, QByteArray> m_originals;

private slots:
    void init()
    {
        startOver();
        m_options.jpegQuality = 80; // so that a stamped photo is another file
        m_originals.clear();
    }

    void copiesAndBacksUpTheTree()
    {
        write("A.JPG", 16);
        write("uno/dos/b.png", 17);
        write("Backup/vieja.jpg", 18);
        QVERIFY(QFile::link(photo("A.JPG"), photo("link.jpg")));
        m_options.includeSubfolders = true;
        QCOMPARE(ranInto(path(u"salida"_s)), "A.JPG 16, Backup/vieja.jpg 18, link.jpg 16, uno/dos/b.png 17 | "
                                             "P.jpg 16*, uno/dos/P.jpg 17* | 2");

        QFile::remove(photo("link.jpg"));
        m_options.useOutputFolder = false;
        m_options.createBackup = true;
        const QDateTime taken(QDate(2020, 1, 2), QTime(3, 4, 5));
        QFile file(photo("A.JPG"));
        QVERIFY(file.open(QIODevice::ReadWrite) &&
                file.setFileTime(taken, QFileDevice::FileModificationTime));
        file.close();
        QCOMPARE(ran(),
                 "P.jpg 16*, Backup/A_backup.JPG 16, Backup/uno/dos/b_backup.png 17, Backup/vieja.jpg 18, "
                 "uno/dos/P.jpg 17* | 2");
        QCOMPARE(QFileInfo(photo("Backup/A_backup.JPG")).lastModified(), taken);
        // The next run numbers names and copies.
        QCOMPARE(ran(),
                 "P (1).jpg 16*, Backup/P_backup.jpg 16*, Backup/A_backup.JPG 16, "
                 "Backup/uno/dos/P_backup.jpg 17*, Backup/uno/dos/b_backup.png 17, Backup/vieja.jpg 18, "
                 "uno/dos/P (1).jpg 17* | 2");
    }

    void keepsAPhotoWholeOnAFullDisk()
    {
        m_options.renamePhotos = false;
        m_options.jpegQuality = 100;
        write("a.jpg", 160);
        run();
        const qint64 copied = m_originals[160].size();
        const qint64 needed = QFileInfo(photo("a.jpg")).size();
        QVERIFY(copied < needed);
        const QString output = path(u"salida"_s);
        for (const qint64 bytes : {qint64(0), copied / 2, copied - 1, copied, needed - 1, needed}) {
            // in place, with a backup, into an empty output folder, into one with an earlier result
            const QByteArray done = bytes < needed ? " | 0, el archivo es demasiado grande" : " | 1";
            const QByteArray stamped = bytes < needed ? "a.jpg 160" : "a.jpg 160*";
            const QByteArray copy = bytes < copied ? "" : stamped;
            const QByteArray earlier = bytes < needed ? "a.jpg 0?" : stamped;
            const QByteArray results[] = {
                stamped + done,
                (bytes < copied ? "" : "Backup/a_backup.jpg 160, ") + stamped + done +
                    (bytes < copied ? ", no backup" : ""),
                "a.jpg 160 | " + copy + done,
                "a.jpg 160 | " + earlier + done,
            };
            for (int way = 0; way < 4; ++way) {
                QDir(m_root).removeRecursively();
                QDir(output).removeRecursively();
                write("a.jpg", 160);
                QDir().mkpath(output);
                if (way == 3)
                    writeText(output + u"/a.jpg"_s, "earlier");
                m_options.createBackup = way == 1;
                m_options.useOutputFolder = way > 1;
                m_options.outputFolder = output;
                const FullDisk full(bytes);
                QCOMPARE(ran(), results[way]);
            }
        }
    }

    void replacesResultsAlone()
    {
        m_options.renamePhotos = false;
        m_options.includeSubfolders = true;
        write("a.jpg", 16);
        const QByteArray same = ", Omitiendo archivo, la ruta de origen y destino son la misma.";
        const QString inside = m_root + u"/salida"_s;
        QCOMPARE(ranInto(inside), "a.jpg 16, salida/.velmaro-resultados 0?, salida/a.jpg 16* | "
                                  ".velmaro-resultados 0?, a.jpg 16* | 1");
        QCOMPARE(ranInto(inside), "a.jpg 16, salida/.velmaro-resultados 0?, salida/a.jpg 16* | "
                                  ".velmaro-resultados 0?, a.jpg 16* | 1" +
                                      same);
        // What lies there and is no result, or was changed since, is an original.
        write("salida/a.jpg", 32);
        QCOMPARE(ranInto(inside), "a.jpg 16, salida/.velmaro-resultados 0?, salida/a.jpg 32 | "
                                  ".velmaro-resultados 0?, a.jpg 32 | 0" +
                                      same + same);

        // Elsewhere, what has the name of a result is taken for one, but not where a link leads to. Left
        // photos leave it alone too.
        const QString outside = path(u"fuera"_s);
        QDir(inside).removeRecursively();
        writeText(path(u"ajena.jpg"_s), "a stranger");
        QDir().mkpath(outside);
        QVERIFY(QFile::link(path(u"ajena.jpg"_s), outside + u"/a.jpg"_s));
        for (int i = 0; i < 2; ++i)
            QCOMPARE(ranInto(outside), "a.jpg 16 | a.jpg 16* | 1");
        QCOMPARE(bytesOf(path(u"ajena.jpg"_s)), "a stranger");
        writeTable("otra.jpg;19;H;1;2\n");
        QCOMPARE(ranInto(outside), "a.jpg 16 | a.jpg 16* | 0, "
                                   "Coordenadas UTM no encontradas en archivo TXT para a.jpg");
        QCOMPARE(m_summary.leftPhotos[0].nowAt, photo("a.jpg"));
    }

    void keepsPhotosThatOtherPathsLeadTo()
    {
        m_options.renamePhotos = false;
        m_options.includeSubfolders = true;
        write("a.jpg", 16);
        write("sub/a.jpg", 17);
        write("sub/b.jpg", 18);
        const QByteArray originals = "a.jpg 16, sub/a.jpg 17, sub/b.jpg 18";
        const QString link = path(u"acceso"_s);
        for (const char *way : {"", "/sub/..", "/sub"}) {
            const QString output = m_root + QLatin1String(way);
            QVERIFY(QFile::link(output, link));
            for (const QString &folder : {output, link}) {
                ranInto(folder);
                QCOMPARE(tree(m_root), originals);
                QCOMPARE(m_summary.finished, 0);
            }
            QFile::remove(link);
        }
        // A folder of the output may lead back to the photos, or two of them to one.
        const QString salida = path(u"salida"_s);
        QDir().mkpath(salida + u"/x"_s);
        QVERIFY(QFile::link(m_root, salida + u"/sub"_s));
        QCOMPARE(ranInto(salida), "a.jpg 16, b.jpg 18*, sub/a.jpg 17, sub/b.jpg 18 | a.jpg 16* | 2, "
                                  "Omitiendo archivo, la ruta de origen y destino son la misma.");
        QFile::remove(photo("b.jpg"));
        QFile::remove(salida + u"/sub"_s);
        QVERIFY(QFile::link(salida, salida + u"/sub"_s));
        ranInto(salida);
        QCOMPARE(m_summary.finished, 2);
        QCOMPARE(m_summary.leftPhotos[0].reason.section(u": "_s, -1),
                 u"el resultado de otra foto ya tiene ese nombre"_s);
        // The folder above: a photo of one folder must not replace one of another.
        write("fotos/a.jpg", 19);
        ranInto(m_folder->path());
        QVERIFY(tree(m_root).startsWith("a.jpg 16, fotos/a.jpg 19"));
    }

    // exFAT by FUSE: names that differ in case are one, and one folder has many inodes.
    void knowsNamesOnMemoryCards()
    {
        const auto shell = [this](const char *commands) {
            const QString text = QString::fromLatin1(commands).arg(m_folder->path());
            return QProcess::execute(u"bash"_s, {u"-ec"_s, text}) == 0;
        };
        const auto unmount = qScopeGuard([&] { shell("! mountpoint -q %1/card || umount %1/card"); });
        if (!shell("cd %1; mkdir card; truncate -s 8M disk; mkfs.exfat disk >&2; mount -t exfat-fuse -o loop "
                   "disk card"))
            QSKIP("needs the administrator, loop devices and exfat-fuse");
        m_options.renamePhotos = false;
        m_options.includeSubfolders = true;
        // two photos of one name there, one of which stays without a result
        write("foto.jpg", 16);
        write("FOTO.jpg", 17);
        const QByteArray result = ranInto(path(u"card/salida"_s));
        QVERIFY2(result.startsWith("FOTO.jpg 17, foto.jpg 16 | ") &&
                     result.endsWith("* | 1, el resultado de otra foto ya tiene ese nombre"),
                 result.constData());

        m_root = path(u"card/Fotos"_s);
        write("a.jpg", 16);
        write("b/a.jpg", 17);
        write("backup/b.jpg", 18); // the untouched copies
        const QByteArray same = ", Omitiendo archivo, la ruta de origen y destino son la misma.";
        const QByteArray originals = "a.jpg 16, b/a.jpg 17, backup/b.jpg 18";
        QCOMPARE(ranInto(path(u"card/FOTOS"_s)), originals + " | " + originals + " | 0" + same + same);
        QCOMPARE(ranInto(path(u"card/FOTOS/B"_s)), originals + " | a.jpg 17 | 0" + same + same);
        m_options.createBackup = true;
        m_options.useOutputFolder = false;
        m_options.renamePhotos = true;
        QCOMPARE(
            ran(),
            "P.jpg 16*, b/P.jpg 17*, backup/a_backup.jpg 16, backup/b.jpg 18, backup/b/a_backup.jpg 17 | 2");
    }

    void leavesUntouchedCopiesAlone()
    {
        m_options.createBackup = true;
        m_options.includeSubfolders = true;
        m_options.renamePhotos = false;
        write("dia/a.b.jpg", 16);
        write("dia/otra/c.jpg", 17);
        const QString parent = m_root;
        m_root += u"/dia"_s;
        run();
        run();
        m_root = parent;
        write("dia/Backup/de otro.jpg", 18);
        m_options.createBackup = false;
        QCOMPARE(ran(),
                 "dia/Backup/a_backup(1).jpg 16*, dia/Backup/a_backup.jpg 16, dia/Backup/de otro.jpg 18*, "
                 "dia/Backup/otra/c_backup(1).jpg 17*, dia/Backup/otra/c_backup.jpg 17, dia/a.b.jpg 16*, "
                 "dia/otra/c.jpg 17* | 3");
    }

    void leavesStrangersAlone()
    {
        m_options.addCompass = true;
        m_options.compassRatio = 0.2;
        m_options.renamePhotos = false;
        write("a.jpg", 100);
        PhotoProcessor processor;
        processor.setOptions(m_options);
        QStringList log;
        const auto replacing = [&](const QString &line) {
            log.append(line);
            if (line.startsWith(u"Dibujando rosa"_s)) {
                QFile::remove(photo("a.jpg"));
                write("a.jpg", 101);
            }
        };
        processor.renamePhotosWithUTM(m_root, replacing, {});
        QCOMPARE(tree(m_root), "a.jpg 101");
        const QString reason =
            u"Error guardando la imagen: otro programa ha movido o cambiado el archivo mientras "
            "se procesaba"_s;
        QCOMPARE(log.count(reason), 1);
        QCOMPARE(processor.summary().notSaved, 1);

        // The disk of the output folder goes away during the run; under its path there is another one then.
        m_options.useOutputFolder = true;
        m_options.outputFolder = path(u"salida"_s);
        QVERIFY(QFile::link(m_folder->path(), m_options.outputFolder));
        RunFiles files(m_options, m_root, {});
        QVERIFY(files.claim(m_options.outputFolder + u"/a.jpg"_s));
        QCOMPARE(files.finish(), QString());
        QFile::remove(m_options.outputFolder);
        QVERIFY(QFile::link(u"/proc"_s, m_options.outputFolder));
        QCOMPARE(files.finish(), u"un disco con resultados ya no está"_s);
    }

    // The disk fails: a photo that could not get its name leaves it to the next, and a sync that fails is
    // told.
    void goesOnWhenTheDiskFails()
    {
        write("a.jpg", 16);
        write("b.jpg", 17);
        bool failed = false;
        const auto fail = [&](const seccomp_data &call) {
            if (call.nr == SYS_syncfs)
                return EIO;
            const QByteArray name(reinterpret_cast<const char *>(call.args[3]));
            return name.endsWith("/19G 345093 6297582.jpg") && !std::exchange(failed, true) ? EIO : 0;
        };
        QByteArray result;
        if (!withSystemCalls({SYS_renameat2, SYS_syncfs}, fail, [&] { result = ranInto(path(u"salida"_s)); }))
            QSKIP("needs a system that lets a program answer for it");
        QVERIFY2(result.contains(" | P.jpg 1"), result.constData());
        QVERIFY2(result.endsWith(" | 1, error de entrada o salida del disco"), result.constData());
        QCOMPARE(m_summary.notSynced, u"error de entrada o salida del disco"_s);
    }

    void backsUpUnderAnyName()
    {
        m_options.renamePhotos = false;
        m_options.createBackup = true;
        write("x" + QByteArray("🌋").repeated(62) + ".jpg", 16);
        run();
        QCOMPARE(ran().replace(QByteArray("🌋").repeated(60), "..."),
                 "Backup/x..._backup(1).jpg 16*, Backup/x..._backup.jpg 16, x...🌋🌋.jpg 16* | 1");
    }

    void losesNoPhotoToANameRace()
    {
        constexpr int count = 150;
        for (int i = 1; i <= count; ++i) // the names of some photos are those that others will get
            write((i % 10 == 0 ? "19G 345093 6297582 (" : "(") + QByteArray::number(i) + ").jpg", i);
        for (const bool output : {true, false}) {
            m_options.useOutputFolder = output;
            m_options.outputFolder = path(u"salida"_s);
            run(8);
            QCOMPARE(m_summary.finished, count);
            const QByteArray results = tree(output ? m_options.outputFolder : m_root) + ',';
            QCOMPARE(results.count("P"), count);
            QCOMPARE(results.count(','), count);
            for (int i = 1; i <= count; ++i)
                QVERIFY2(results.contains(QByteArray(' ' + QByteArray::number(i) + '*')),
                         results.constData());
        }
    }
};

QTEST_MAIN(PhotoFileTest)
#include "photofile.moc"
