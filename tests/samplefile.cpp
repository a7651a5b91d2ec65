// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/samplefile.h"

#include "data/coordinatesfile.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace
{

const QDateTime moment(QDate(2024, 1, 2), QTime(3, 4, 5, 678));

} // namespace

class SampleFileTest : public QObject
{
    Q_OBJECT

private slots:
    void writesLine_data();
    void writesLine();
    void writtenFileIsReadBack();
    void reportsUnwritableFile();
};

void SampleFileTest::writesLine_data()
{
    QTest::addColumn<SampleRow>("row");
    QTest::addColumn<QString>("line");
    const QString name = QStringLiteral("a%1b%8.jpg");
    QTest::newRow("placeholders") << SampleRow{name, {}, {}, {}, moment}
                                  << QStringLiteral("a%1b%8.jpg;19;J;500000;6000000;;2024-01-02T03:04:05;\n");
    QTest::newRow("position") << SampleRow{name, UtmPosition{18, 'H', 345678.9, 6298765.999}, 359.9, 812.36,
                                           moment}
                              << QStringLiteral(
                                     "a%1b%8.jpg;18;H;345678;6298765;359;2024-01-02T03:04:05;812.4\n");
    QTest::newRow("negative and beyond 32 bits")
        << SampleRow{name, UtmPosition{-1, '\0', -0.9, 3e9}, -0.5, -3.04,
                     QDateTime(moment.date(), moment.time(), QTimeZone::utc())}
        << QStringLiteral("a%1b%8.jpg;-1;;0;3000000000;0;2024-01-02T03:04:05;-3.0\n");
    QTest::newRow("skipped hour") << SampleRow{name, {}, {}, {}, QDateTime(QDate(2024, 9, 8), QTime(0, 30))}
                                  << QStringLiteral("a%1b%8.jpg;19;J;500000;6000000;;2024-09-08T00:30:00;\n");
}

void SampleFileTest::writesLine()
{
    QFETCH(SampleRow, row);
    QTEST(sampleLine(row), "line");
}

void SampleFileTest::writtenFileIsReadBack()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("ejemplo.csv"));
    SampleFile file(path);
    QVERIFY(file.open());
    file.append({QStringLiteral("ñ.jpg"), UtmPosition{18, 'H', 345678.9, 6298765.2}, 12.7, 812.36, moment});
    file.append({QStringLiteral("sin.jpg"), {}, {}, {}, moment});
    QVERIFY(file.close());

    QFile written(path);
    QVERIFY(written.open(QIODevice::ReadOnly));
    QCOMPARE(written.readLine(), coordinatesHeader().toUtf8() + '\n');
    QVERIFY(!written.readAll().contains('\r'));

    QStringList log;
    const CoordinatesTable table = readCoordinatesFile(path, [&](const QString &line) { log.append(line); });
    QCOMPARE(log, QStringList());
    QCOMPARE(table.size(), 2);
    const UtmEntry full = table.value(QStringLiteral("ñ.jpg"));
    QCOMPARE(full.zone, 18);
    QCOMPARE(full.zoneLetter, 'H');
    QCOMPARE(full.easting, 345678.0);
    QCOMPARE(full.northing, 6298765.0);
    QCOMPARE(full.orientation, 12.0);
    QCOMPARE(full.altitude, 812.4);
    QCOMPARE(full.dateTime, QDateTime(moment.date(), QTime(3, 4, 5)));
    const UtmEntry bare = table.value(QStringLiteral("sin.jpg"));
    QCOMPARE(bare.zoneLetter, 'J');
    QVERIFY(bare.hasDateTime && !bare.hasOrientation && !bare.hasAltitude);
}

void SampleFileTest::reportsUnwritableFile()
{
    const QTemporaryDir dir;
    SampleFile file(dir.path());
    QVERIFY(!file.open());
#ifdef Q_OS_LINUX
    SampleFile full(QStringLiteral("/dev/full"));
    QVERIFY(full.open());
    QVERIFY(!full.close());
#endif
}

QTEST_GUILESS_MAIN(SampleFileTest)
#include "samplefile.moc"
