// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/fontregistry.h"

#include <QFile>
#include <QFontInfo>
#include <QTemporaryDir>
#include <QTest>
#include <QtConcurrent>

class FontRegistryTest : public QObject
{
    Q_OBJECT

private slots:
    void registeredOnce();
    void failedFileIsTriedAgain();
    void families();
};

void FontRegistryTest::registeredOnce()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("fuente.ttf"));
    QVERIFY(QFile::copy(QStringLiteral(VELMARO_TEST_FONT), path));
    const QList<QString> paths(64, path);
    const auto families = QtConcurrent::blockingMapped<QList<QString>>(
        paths, [](const QString &file) { return registeredFontFamily(file).value_or(QStringLiteral("?")); });
    QCOMPARE(families, QList<QString>(64, QStringLiteral("Noto Sans")));

    QVERIFY(QFile::remove(path));
    QCOMPARE(registeredFontFamily(path).value_or(QStringLiteral("?")), QStringLiteral("Noto Sans"));
}

void FontRegistryTest::failedFileIsTriedAgain()
{
    const QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("fuente.ttf"));
    QVERIFY(!registeredFontFamily(QString()));
    QVERIFY(!registeredFontFamily(dir.path()));
    QVERIFY(!registeredFontFamily(path));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("no es una fuente");
    file.close();
    QVERIFY(!registeredFontFamily(path));
    QVERIFY(file.remove());
    QVERIFY(QFile::copy(QStringLiteral(VELMARO_TEST_FONT), path));
    QVERIFY(registeredFontFamily(path));
}

void FontRegistryTest::families()
{
    QVERIFY(registeredFontFamily(QStringLiteral(VELMARO_TEST_FONT)));
    const QFont noto = overlayFont(QStringLiteral("Noto Sans"));
    QCOMPARE(QFontInfo(noto).family(), QStringLiteral("Noto Sans"));
    QCOMPARE(noto.weight(), QFont::Normal);
    QCOMPARE(overlayFont(QString()).styleHint(), QFont::AnyStyle);
    for (const QFont &font : {noto, overlayFont(QString())})
        QVERIFY(font.styleStrategy() & QFont::NoSubpixelAntialias);
}

QTEST_MAIN(FontRegistryTest)
#include "fontregistry.moc"
