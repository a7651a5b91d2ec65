// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include "photofiles.h"

#include <QTemporaryDir>
#include <QTest>

#include <cmath>

/// The table read from a coordinates file, and what is said about its rows.
class CoordinatesFileTest : public QObject
{
    Q_OBJECT

private slots:
    void acceptsRows_data();
    void acceptsRows();
    void complains_data();
    void complains();
    void readsDates_data();
    void readsDates();
    void skipsHeaders_data();
    void skipsHeaders();
    void keepsTheLastRowOfAName();
    void reportsAMissingFile();

private:
    CoordinatesTable read(const QByteArray &contents);

    QTemporaryDir m_folder;
    QStringList m_log;
};

CoordinatesTable CoordinatesFileTest::read(const QByteArray &contents)
{
    const QString path = m_folder.filePath(QStringLiteral("tabla.csv"));
    writeText(path, contents);
    m_log.clear();
    return readCoordinatesFile(path, [this](const QString &line) { m_log.append(line); });
}

void CoordinatesFileTest::acceptsRows_data()
{
    QTest::addColumn<QByteArray>("row");
    QTest::addColumn<QString>("values"); // zone, letter, easting, northing, heading, altitude; "-" for none

    QTest::newRow("whole") << QByteArray("a.jpg;19;H;350000.5;6300000.25;90.5;;-12.5")
                           << QStringLiteral("19 H 350000.5 6300000.25 90.5 -12.5");
    QTest::newRow("five columns") << QByteArray("a.jpg;19;H;1;2") << QStringLiteral("19 H 1 2 - -");
    QTest::newRow("blanks") << QByteArray(" a.jpg ; 19 ; H ; 1 ; 2 ; 3 ; ; 4 ")
                            << QStringLiteral("19 H 1 2 3 4");
    QTest::newRow("no letter") << QByteArray("a.jpg;19;;1;2") << QStringLiteral("19 N 1 2 - -");
    QTest::newRow("long letter") << QByteArray("a.jpg;19;hola;1;2") << QStringLiteral("19 h 1 2 - -");
    QTest::newRow("letter of Latin-1") << QByteArray("a.jpg;19;Ñ;1;2") << QStringLiteral("19 Ñ 1 2 - -");
    QTest::newRow("letter beyond Latin-1") << QByteArray("a.jpg;19;Ω;1;2") << QStringLiteral("19 0 1 2 - -");
    QTest::newRow("empty values") << QByteArray("a.jpg;-3;H;1e3;-2;;;") << QStringLiteral("-3 H 1000 -2 - -");
    QTest::newRow("more columns") << QByteArray("a.jpg;19;H;1;2;3;;4;5;6") << QStringLiteral("19 H 1 2 3 4");
    QTest::newRow("byte order mark") << QByteArray("\xef\xbb\xbf"
                                                   "a.jpg;19;H;1;2")
                                     << QStringLiteral("19 H 1 2 - -");
    QTest::newRow("CR LF") << QByteArray("a.jpg;19;H;1;2;3;;4\r\n") << QStringLiteral("19 H 1 2 3 4");
}

void CoordinatesFileTest::acceptsRows()
{
    QFETCH(QByteArray, row);
    const CoordinatesTable table = read(row);
    QCOMPARE(m_log, QStringList());
    QCOMPARE(table.keys(), QStringList(QStringLiteral("a.jpg")));
    const UtmEntry entry = table.first();
    const auto number = [](double value) {
        return QString::number(value, 'g', 12);
    };
    const QString letter = entry.zoneLetter ? QString(QLatin1Char(entry.zoneLetter)) : QStringLiteral("0");
    const QStringList values{QString::number(entry.zone),
                             letter,
                             number(entry.easting),
                             number(entry.northing),
                             entry.hasOrientation ? number(entry.orientation) : QStringLiteral("-"),
                             entry.hasAltitude ? number(entry.altitude) : QStringLiteral("-")};
    QTEST(values.join(QLatin1Char(' ')), "values");
    QVERIFY(!entry.hasDateTime && !entry.dateTime.isValid());
}

void CoordinatesFileTest::complains_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("kept");

    const auto add = [](const char *row, const char *message, bool kept) {
        QTest::newRow(row) << QString::fromUtf8(row) << QString::fromUtf8(message) << kept;
    };
    add(" a.jpg;19;H;1", "Línea inválida en archivo txt (menos de 5 columnas):  a.jpg;19;H;1", false);
    add("a.jpg;19,5;H;1;2", "Zona UTM inválida para a.jpg: 19,5", false);
    add("a.jpg;4294967296;H;1;2", "Zona UTM inválida para a.jpg: 4294967296", false);
    add("a.jpg;19;H;350000,5;2", "Easting inválido para a.jpg: 350000,5", false);
    add("a.jpg;19;H;1; dos ", "Northing inválido para a.jpg: dos", false);
    add("a.jpg;19;H;1;2;abc;2024-01-02 03:04:05;12", "Orientación inválida para a.jpg: abc", true);
    add("a.jpg;19;H;1;2;;ayer;12", "Fecha inválida en archivo txt para a.jpg: ayer", true);
    add("a.jpg;19;H;1;2;;;1.234,5", "Altitud inválida para a.jpg: 1.234,5", true);
}

void CoordinatesFileTest::complains()
{
    QFETCH(QString, row);
    QFETCH(QString, message);
    QFETCH(bool, kept);
    const CoordinatesTable table = read("z.jpg;1;H;1;1\n" + row.toUtf8() + "\n\nb.jpg;1;H;1;1\n");
    QCOMPARE(m_log, QStringList(message));
    QCOMPARE(table.contains(QStringLiteral("a.jpg")), kept);
    QCOMPARE(table.size(), kept ? 3 : 2);
    if (row.contains(QLatin1String("abc"))) {
        QVERIFY(table[QStringLiteral("a.jpg")].hasDateTime);
        QCOMPARE(table[QStringLiteral("a.jpg")].altitude, 12.0);
    }
}

void CoordinatesFileTest::readsDates_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown"); // empty: not accepted

    const auto add = [](const char *text, const char *shown) {
        QTest::newRow(text) << QString::fromLatin1(text) << QString::fromLatin1(shown);
    };
    const char *expected = "02/01/2024 03:04:05";
    add("2024-01-02T03:04:05", expected);
    add("2024-01-02 03:04:05", expected);
    add("02/01/2024 03:04:05", expected);
    add("2024-01-02T03:04:05Z", expected);
    add("2024-01-02T03:04:05-07:30", expected);
    add("2024/01/02 03:04:05", "");
    add("02/01/24 03:04:05", "");
    add("31/02/2024 03:04:05", "");
    // Clocks in Santiago go from 23:59 to 01:00 that night, the camera's may not.
    add("2024-09-08T00:30:00", "08/09/2024 00:30:00");
    add("08/09/2024 00:30:00", "08/09/2024 00:30:00");
}

void CoordinatesFileTest::readsDates()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    const UtmEntry entry = read("a.jpg;19;H;1;2;;" + text.toLatin1() + ";").first();
    QCOMPARE(entry.hasDateTime, !shown.isEmpty());
    QCOMPARE(entry.dateTime.toString(QStringLiteral("dd/MM/yyyy HH:mm:ss")), shown);
    QCOMPARE(m_log.size(), shown.isEmpty() ? 1 : 0);
    if (text.endsWith(QLatin1Char('Z')))
        QCOMPARE(entry.dateTime.timeSpec(), Qt::LocalTime);
}

void CoordinatesFileTest::skipsHeaders_data()
{
    QTest::addColumn<QByteArray>("head");
    QTest::addColumn<QStringList>("log");

    const QByteArray header = coordinatesHeader().toUtf8() + '\n';
    QTest::newRow("the usual one") << header << QStringList();
    QTest::newRow("two, any case") << QByteArray("NOMBRE;ZONA\n") + header << QStringList();
    QTest::newRow("with byte order mark") << "\xef\xbb\xbf" + header << QStringList();
    QTest::newRow("after a blank line")
        << '\n' + header << QStringList(QStringLiteral("Zona UTM inválida para nombre_de_la_foto.jpg: zona"));
    QTest::newRow("without the words")
        << QByteArray("nombre;a;b;c;d\n") << QStringList(QStringLiteral("Zona UTM inválida para nombre: a"));
    QTest::newRow("after a row") << "b.jpg;1;H;1;1\n" + header
                                 << QStringList(
                                        QStringLiteral("Zona UTM inválida para nombre_de_la_foto.jpg: zona"));
}

void CoordinatesFileTest::skipsHeaders()
{
    QFETCH(QByteArray, head);
    QVERIFY(read(head + "a.jpg;19;H;1;2\n").contains(QStringLiteral("a.jpg")));
    QTEST(m_log, "log");
}

void CoordinatesFileTest::keepsTheLastRowOfAName()
{
    const CoordinatesTable table = read("a.jpg;1;H;1;1\nA.jpg;2;H;1;1\na.jpg;3;H;1;1;5\n");
    QCOMPARE(table.size(), 2);
    QCOMPARE(table[QStringLiteral("a.jpg")].zone, 3);
    QCOMPARE(table[QStringLiteral("A.jpg")].zone, 2);
}

void CoordinatesFileTest::reportsAMissingFile()
{
    QStringList log;
    const QString path = m_folder.filePath(QStringLiteral("nada.csv"));
    QVERIFY(readCoordinatesFile(path, [&log](const QString &line) { log.append(line); }).isEmpty());
    QCOMPARE(log, QStringList(QStringLiteral("Error al abrir el archivo TXT: ") + path));
}

QTEST_GUILESS_MAIN(CoordinatesFileTest)
#include "coordinatesfile.moc"
