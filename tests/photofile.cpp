// SPDX-License-Identifier: GPL-3.0-or-later
#include "processing/runfiles.h"
#include "support/batchfixture.h"
#include "support/fulldisk.h"

#include <QDir>
#include <QDirIterator>
#include <QHash>
#include <QTest>

/// Where the files of a run come to lie, and that none is lost on the way. Every photo is known by its width.
class PhotoFileTest : public BatchFixture
{
    Q_OBJECT

private slots:
    void init();
    void copiesAndBacksUpTheTree();
    void keepsAPhotoWholeOnAFullDisk();
    void replacesResultsAlone();
    void keepsPhotosThatOtherPathsLeadTo();
    void leavesUntouchedCopiesAlone();
    void leavesStrangersAlone();
    void backsUpUnderAnyName();
    void losesNoPhotoToANameRace();

private:
    void write(const QString &name, int width);
    QString tree(const QString &folder) const;
    QString runInto(const QString &output);

    QHash<int, QByteArray> m_originals;
};

void PhotoFileTest::init()
{
    startOver();
    m_options.jpegQuality = 80; // so that a stamped photo is another file
    m_originals.clear();
}

// A photo below the root.
void PhotoFileTest::write(const QString &name, int width)
{
    const QString path = m_root + u'/' + name;
    QDir().mkpath(QFileInfo(path).path());
    writePhoto(path, plainImage({width, 16}), gpsTags());
    m_originals[width] = bytesOf(path);
}

// All files below a folder with their widths, with a star those that are no original: "a.jpg 16, b/c.jpg
// 20*".
QString PhotoFileTest::tree(const QString &folder) const
{
    QStringList found;
    QDirIterator iterator(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (iterator.hasNext()) {
        const QString path = iterator.next();
        const int width = QImage(path).width();
        QString name = QDir(folder).relativeFilePath(path);
        name.replace(QStringLiteral("19G 345093 6297582"), QStringLiteral("P"));
        const bool original = bytesOf(path) == m_originals.value(width);
        found.append(QStringLiteral("%1 %2%3").arg(name, QString::number(width),
                                                   original ? QString() : QStringLiteral("*")));
    }
    found.sort();
    return found.join(QStringLiteral(", "));
}

// What a run into an output folder makes of that and of the root, and how many photos it finishes.
QString PhotoFileTest::runInto(const QString &output)
{
    m_options.useOutputFolder = true;
    m_options.outputFolder = output;
    run();
    return QStringLiteral("%1 | %2 | %3").arg(tree(m_root), tree(output)).arg(m_summary.finished);
}

void PhotoFileTest::copiesAndBacksUpTheTree()
{
    write(QStringLiteral("A.JPG"), 16);
    write(QStringLiteral("uno/dos/b.png"), 17);
    write(QStringLiteral("Backup/vieja.jpg"), 18);
    QVERIFY(QFile::link(m_root + QStringLiteral("/A.JPG"), m_root + QStringLiteral("/link.jpg")));
    m_options.includeSubfolders = true;
    QCOMPARE(runInto(path(QStringLiteral("salida"))),
             QStringLiteral("A.JPG 16, Backup/vieja.jpg 18, link.jpg 16, uno/dos/b.png 17 | "
                            "P.jpg 16*, uno/dos/P.jpg 17* | 2"));

    QFile::remove(m_root + QStringLiteral("/link.jpg"));
    m_options.useOutputFolder = false;
    m_options.createBackup = true;
    const QDateTime taken(QDate(2020, 1, 2), QTime(3, 4, 5));
    QFile photo(m_root + QStringLiteral("/A.JPG"));
    QVERIFY(photo.open(QIODevice::ReadWrite) && photo.setFileTime(taken, QFileDevice::FileModificationTime));
    photo.close();
    run();
    QCOMPARE(QFileInfo(m_root + QStringLiteral("/Backup/A_backup.JPG")).lastModified(), taken);
    QCOMPARE(tree(m_root), QStringLiteral("Backup/A_backup.JPG 16, Backup/uno/dos/b_backup.png 17, "
                                          "Backup/vieja.jpg 18, P.jpg 16*, uno/dos/P.jpg 17*"));
    // The next run numbers names and copies.
    run();
    QCOMPARE(
        tree(m_root),
        QStringLiteral("Backup/A_backup.JPG 16, Backup/P_backup.jpg 16*, Backup/uno/dos/P_backup.jpg 17*, "
                       "Backup/uno/dos/b_backup.png 17, Backup/vieja.jpg 18, P (1).jpg 16*, "
                       "uno/dos/P (1).jpg 17*"));
}

void PhotoFileTest::keepsAPhotoWholeOnAFullDisk()
{
    m_options.renamePhotos = false;
    m_options.jpegQuality = 100;
    write(QStringLiteral("a.jpg"), 160);
    run();
    const QByteArray result = bytesOf(m_root + QStringLiteral("/a.jpg"));
    QVERIFY(result.size() > m_originals[160].size());

    const QString earlier = path(QStringLiteral("antes"));
    for (const char *way : {"in place", "with backup", "output", "second output"}) {
        const bool output = QByteArray(way).contains("output");
        m_options.createBackup = qstrcmp(way, "with backup") == 0;
        m_options.useOutputFolder = output;
        const auto next = [&](qint64 bytes) {
            return bytes < result.size() - 1 ? qMin(bytes + 499, result.size() - 1) : bytes + 1;
        };
        for (qint64 bytes = 0; bytes <= result.size(); bytes = next(bytes)) {
            QDir(m_root).removeRecursively();
            m_options.outputFolder = path(QStringLiteral("salida"));
            QDir(m_options.outputFolder).removeRecursively();
            write(QStringLiteral("a.jpg"), 160);
            QDir().mkpath(m_options.outputFolder);
            const QString target = (output ? m_options.outputFolder : m_root) + QStringLiteral("/a.jpg");
            if (qstrcmp(way, "second output") == 0)
                writeText(target, "earlier");
            const QByteArray before = output ? bytesOf(target) : m_originals[160];
            {
                const FullDisk full(bytes);
                run();
            }
            const QByteArray where = QByteArray(way) + " at " + QByteArray::number(bytes);
            const bool room = bytes >= result.size();
            QVERIFY2(bytesOf(m_root + QStringLiteral("/a.jpg")) ==
                         (room && !output ? result : m_originals[160]),
                     where.constData());
            // A copy that is complete may stay without its stamp.
            const QByteArray after = bytesOf(target);
            QVERIFY2(after == (room ? result : before) ||
                         (!room && before.isEmpty() && after == m_originals[160]),
                     where.constData());
            QVERIFY2(!tree(m_folder->path()).contains(QStringLiteral(".velmaro")), where.constData());
            QCOMPARE(m_summary.finished, room ? 1 : 0);
            QCOMPARE(m_summary.leftPhotos.size(), room ? 0 : 1);
            if (!room)
                QVERIFY2(m_summary.leftPhotos[0].reason.contains(QStringLiteral("demasiado grande")),
                         qPrintable(m_summary.leftPhotos[0].reason));
            QCOMPARE(m_summary.backupsFailed,
                     m_options.createBackup && bytes < m_originals[160].size() ? 1 : 0);
        }
    }
}

void PhotoFileTest::replacesResultsAlone()
{
    m_options.renamePhotos = false;
    m_options.includeSubfolders = true;
    write(QStringLiteral("a.jpg"), 16);
    const QString inside = m_root + QStringLiteral("/salida");
    const QString both = QStringLiteral("a.jpg 16, salida/.velmaro-resultados 0*, salida/a.jpg %1 | "
                                        ".velmaro-resultados 0*, a.jpg %1 | %2");
    for (int i = 0; i < 2; ++i)
        QCOMPARE(runInto(inside), both.arg(QStringLiteral("16*")).arg(1));
    // What lies there and is no result, or was changed since, is an original.
    write(QStringLiteral("salida/a.jpg"), 32);
    QCOMPARE(runInto(inside), both.arg(QStringLiteral("32")).arg(0));

    // Elsewhere, what has the name of a result is taken for one. Left photos leave it alone too.
    const QString outside = path(QStringLiteral("fuera"));
    QDir(inside).removeRecursively();
    for (int i = 0; i < 2; ++i)
        QCOMPARE(runInto(outside), QStringLiteral("a.jpg 16 | a.jpg 16* | 1"));
    writeTable("otra.jpg;19;H;1;2\n");
    QCOMPARE(runInto(outside), QStringLiteral("a.jpg 16 | a.jpg 16* | 0"));
    QCOMPARE(m_summary.leftPhotos[0].nowAt, m_root + QStringLiteral("/a.jpg"));
}

void PhotoFileTest::keepsPhotosThatOtherPathsLeadTo()
{
    m_options.renamePhotos = false;
    m_options.includeSubfolders = true;
    write(QStringLiteral("a.jpg"), 16);
    write(QStringLiteral("sub/a.jpg"), 17);
    write(QStringLiteral("sub/b.jpg"), 18);
    const QString originals = QStringLiteral("a.jpg 16, sub/a.jpg 17, sub/b.jpg 18");
    const QString link = path(QStringLiteral("acceso"));
    for (const QString &way : QStringList({QString(), QStringLiteral("/sub/.."), QStringLiteral("/sub")})) {
        const QString output = m_root + way;
        QFile::link(output, link);
        for (const QString &folder : {output, link}) {
            runInto(folder);
            QCOMPARE(tree(m_root), originals);
            QCOMPARE(m_summary.finished, 0);
        }
        QFile::remove(link);
    }
    // A folder of the output may lead back to the photos, or two of them to one.
    const QString salida = path(QStringLiteral("salida"));
    QDir().mkpath(salida + QStringLiteral("/x"));
    QVERIFY(QFile::link(m_root, salida + QStringLiteral("/sub")));
    runInto(salida);
    QCOMPARE(m_summary.finished, 2);
    QCOMPARE(tree(m_root), QStringLiteral("a.jpg 16, b.jpg 18*, sub/a.jpg 17, sub/b.jpg 18"));
    QFile::remove(m_root + QStringLiteral("/b.jpg"));
    QFile::remove(salida + QStringLiteral("/sub"));
    QVERIFY(QFile::link(salida, salida + QStringLiteral("/sub")));
    runInto(salida);
    QCOMPARE(m_summary.finished, 2);
    QVERIFY2(m_summary.leftPhotos[0].reason.contains(QStringLiteral("otra foto")),
             qPrintable(m_summary.leftPhotos[0].reason));
    // The folder above: a photo of one folder must not replace one of another.
    write(QStringLiteral("fotos/a.jpg"), 19);
    runInto(m_folder->path());
    QVERIFY(tree(m_root).startsWith(QStringLiteral("a.jpg 16, fotos/a.jpg 19")));
}

void PhotoFileTest::leavesUntouchedCopiesAlone()
{
    m_options.createBackup = true;
    m_options.includeSubfolders = true;
    m_options.renamePhotos = false;
    write(QStringLiteral("dia/a.b.jpg"), 16);
    write(QStringLiteral("dia/otra/c.jpg"), 17);
    const QString parent = m_root;
    m_root += QStringLiteral("/dia");
    run();
    run();
    m_root = parent;
    write(QStringLiteral("dia/Backup/de otro.jpg"), 18);
    m_options.createBackup = false;
    run();
    QCOMPARE(m_summary.finished, 3);
    QCOMPARE(
        tree(m_root),
        QStringLiteral("dia/Backup/a_backup(1).jpg 16*, dia/Backup/a_backup.jpg 16, dia/Backup/de otro.jpg "
                       "18*, dia/Backup/otra/c_backup(1).jpg 17*, dia/Backup/otra/c_backup.jpg 17, "
                       "dia/a.b.jpg 16*, dia/otra/c.jpg 17*"));
}

void PhotoFileTest::leavesStrangersAlone()
{
    m_options.addCompass = true;
    m_options.compassRatio = 0.2;
    m_options.renamePhotos = false;
    write(QStringLiteral("a.jpg"), 100);
    const QString photo = m_root + QStringLiteral("/a.jpg");
    PhotoProcessor processor;
    processor.setOptions(m_options);
    QStringList log;
    const auto replacing = [&](const QString &line) {
        log.append(line);
        if (line.startsWith(QStringLiteral("Dibujando rosa"))) {
            QFile::remove(photo);
            write(QStringLiteral("a.jpg"), 101);
        }
    };
    processor.renamePhotosWithUTM(m_root, replacing, {});
    QCOMPARE(tree(m_root), QStringLiteral("a.jpg 101"));
    QCOMPARE(processor.summary().notSaved, 1);
    QCOMPARE(log.filter(QStringLiteral("Error guardando la imagen: otro programa")).size(), 1);
    QVERIFY(processor.summary().leftPhotos[0].reason.contains(QStringLiteral("otro programa")));

    // The disk of the output folder goes away during the run; under its path there is another one then.
    m_options.useOutputFolder = true;
    m_options.outputFolder = path(QStringLiteral("salida"));
    QVERIFY(QFile::link(m_folder->path(), m_options.outputFolder));
    RunFiles files(m_options, m_root, {});
    QVERIFY(files.claim(m_options.outputFolder + QStringLiteral("/a.jpg")));
    QCOMPARE(files.finish(), QString());
    QFile::remove(m_options.outputFolder);
    QVERIFY(QFile::link(QStringLiteral("/proc"), m_options.outputFolder));
    QVERIFY(!files.finish().isEmpty());
}

void PhotoFileTest::backsUpUnderAnyName()
{
    m_options.renamePhotos = false;
    m_options.createBackup = true;
    const QString longest = QString(u'x' + QStringLiteral("🌋").repeated(62)) + QStringLiteral(".jpg");
    write(longest, 16);
    run();
    run();
    QCOMPARE(m_summary.backupsFailed, 0);
    QVERIFY(tree(m_root).contains(QStringLiteral("🌋_backup.jpg 16, ")));
    QVERIFY(tree(m_root).contains(QStringLiteral("🌋_backup(1).jpg 16*, ")));
}

void PhotoFileTest::losesNoPhotoToANameRace()
{
    constexpr int count = 150;
    QStringList widths;
    for (int i = 0; i < count; ++i) {
        // The names of some photos are those that others will get.
        const QString number = QString::number(i);
        write(i % 10 == 0 ? QStringLiteral("19G 345093 6297582 (%1).jpg").arg(i + 1)
                          : number + QStringLiteral(".jpg"),
              i + 1);
        widths.append(QString::number(i + 1));
    }
    widths.sort();
    for (const bool output : {true, false}) {
        m_options.useOutputFolder = output;
        m_options.outputFolder = path(QStringLiteral("salida"));
        run(8);
        QCOMPARE(m_summary.finished, count);
        QStringList found;
        for (const QString &photo :
             tree(output ? m_options.outputFolder : m_root).split(QStringLiteral(", "))) {
            QVERIFY2(photo.startsWith(QStringLiteral("P")) && photo.endsWith(u'*'), qPrintable(photo));
            found.append(photo.chopped(1).section(u' ', -1));
        }
        found.sort();
        QCOMPARE(found, widths);
    }
}

QTEST_MAIN(PhotoFileTest)
#include "photofile.moc"
