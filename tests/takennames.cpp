// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/takennames.h"

#include "files/folderidentity.h"
#include "support/photofiles.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

namespace
{

QString numbered(int number)
{
    return number == 0 ? QStringLiteral("n") : QStringLiteral("n (%1)").arg(number);
}

} // namespace

/// Names are given once, lowest number first, and never one that a file has.
class TakenNamesTest : public QObject
{
    Q_OBJECT

private slots:
    void placesOnlyUnderFreeNames();
    void knowsFolders();

private:
    FilePlacer m_placer;
    QString m_error;
};

void TakenNamesTest::placesOnlyUnderFreeNames()
{
    const QTemporaryDir folder;
    for (const char *name : {"a", "n", "n (2)", "N (1)"})
        writeText(folder.filePath(QString::fromLatin1(name)), name);
    TakenNames names;
    int questions = 0;
    const auto rename = [&](const QString &from) {
        return names.place(folder.path(), numbered, [&](const QString &path) {
            ++questions;
            return m_placer.rename(folder.filePath(from), path, &m_error);
        });
    };
    QCOMPARE(rename(QStringLiteral("missing")), std::nullopt);
    QVERIFY(!m_error.isEmpty());
    QCOMPARE(rename(QStringLiteral("a")), QStringLiteral("n (1)"));
    names.becameFree(folder.filePath(QStringLiteral("a")));
    QCOMPARE(bytesOf(folder.filePath(QStringLiteral("n"))), "n");
    QCOMPARE(bytesOf(folder.filePath(QStringLiteral("n (1)"))), "a");

    // A name that becomes free is the next to be given; the others are known.
    questions = 0;
    QCOMPARE(rename(QStringLiteral("n")), QStringLiteral("n (3)"));
    names.becameFree(folder.filePath(QStringLiteral("n")));
    QCOMPARE(rename(QStringLiteral("n (2)")), QStringLiteral("n"));
    names.becameFree(folder.filePath(QStringLiteral("n (2)")));
    QCOMPARE(rename(QStringLiteral("N (1)")), QStringLiteral("n (2)"));
    QCOMPARE(questions, 4);
    QCOMPARE(m_placer.rename(folder.filePath(QStringLiteral("n")), folder.filePath(QStringLiteral("n (3)")),
                             &m_error),
             Placing::NameTaken);
}

void TakenNamesTest::knowsFolders()
{
    const QTemporaryDir folder;
    QDir(folder.path()).mkpath(QStringLiteral("a/b"));
    const QString a = folder.filePath(QStringLiteral("a"));
    const QString link = folder.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(a, link));
    QCOMPARE(isSameFolder(a, link), true);
    QCOMPARE(isSameFolder(a, a + QStringLiteral("/b/..")), true);
    QCOMPARE(isSameFolder(a, a + QStringLiteral("/b")), false);
    QCOMPARE(isSameFolder(a, folder.filePath(QStringLiteral("missing"))), false);
    QCOMPARE(isSameFolder(folder.filePath(QStringLiteral("missing")), a), std::nullopt);
    QCOMPARE(ignoresCase(a), QFileInfo::exists(folder.filePath(QStringLiteral("A"))));
    QCOMPARE(QDir(a).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
}

QTEST_GUILESS_MAIN(TakenNamesTest)
#include "takennames.moc"
