// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

namespace
{

const QString header =
    QStringLiteral("nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud");

struct Result {
    CoordinatesTable table;
    QStringList log;
};

} // namespace

class CoordinatesFileTest : public QObject
{
    Q_OBJECT

private slots:
    void readsEveryColumn();
    void skipsHeaders_data();
    void skipsHeaders();
    void takesOrRejectsRow_data();
    void takesOrRejectsRow();
    void takesLetter_data();
    void takesLetter();
    void takesDate_data();
    void takesDate();
    void keepsReadingInSkippedHour_data();
    void keepsReadingInSkippedHour();
    void tellsNamesApart();
    void acceptsByteOrderMarks_data();
    void acceptsByteOrderMarks();
    void reportsMissingFile();

private:
    Result read(const QByteArray &content) const;
    Result read(const QStringList &lines) const { return read(lines.join(u'\n').toUtf8()); }

    QTemporaryDir m_dir;
};

Result CoordinatesFileTest::read(const QByteArray &content) const
{
    QFile file(m_dir.filePath(QStringLiteral("coordenadas.csv")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write the coordinates file");
    file.close();
    Result result;
    result.table =
        readCoordinatesFile(file.fileName(), [&](const QString &line) { result.log.append(line); });
    return result;
}

void CoordinatesFileTest::readsEveryColumn()
{
    const Result result = read(
        QByteArray("  IMG_1.jpg ; 19 ; H ;350000.5; 6300000.25 ;45.5;2024-01-02 03:04:05; 12.5 ;more;x\r\n"
                   "IMG_2.jpg;20;K;1;2\r\n\r\nIMG_3.jpg;21;L;3;4;;;"));
    QCOMPARE(result.log, QStringList());
    QCOMPARE(result.table.keys(), QStringList({QStringLiteral("IMG_1.jpg"), QStringLiteral("IMG_2.jpg"),
                                               QStringLiteral("IMG_3.jpg")}));
    const UtmEntry full = result.table.value(QStringLiteral("IMG_1.jpg"));
    QCOMPARE(full.zone, 19);
    QCOMPARE(full.zoneLetter, 'H');
    QCOMPARE(full.easting, 350000.5);
    QCOMPARE(full.northing, 6300000.25);
    QVERIFY(full.hasOrientation && full.hasDateTime && full.hasAltitude);
    QCOMPARE(full.orientation, 45.5);
    QCOMPARE(full.dateTime, QDateTime(QDate(2024, 1, 2), QTime(3, 4, 5)));
    QCOMPARE(full.altitude, 12.5);
    for (const QString &name : {QStringLiteral("IMG_2.jpg"), QStringLiteral("IMG_3.jpg")}) {
        const UtmEntry bare = result.table.value(name);
        QVERIFY(!bare.hasOrientation && !bare.hasDateTime && !bare.hasAltitude);
        QVERIFY(!bare.dateTime.isValid());
    }
}

void CoordinatesFileTest::skipsHeaders_data()
{
    QTest::addColumn<QStringList>("top");
    QTest::addColumn<QStringList>("log");
    const QString fewColumns = QStringLiteral("Línea inválida en archivo txt (menos de 5 columnas): ");

    QTest::newRow("none") << QStringList() << QStringList();
    QTest::newRow("canonical") << QStringList{header} << QStringList();
    QTest::newRow("upper case with zone only")
        << QStringList{QStringLiteral("NOMBRE;ZONA;...")} << QStringList();
    QTest::newRow("with easting only") << QStringList{QStringLiteral("Nombre;Easting")} << QStringList();
    QTest::newRow("two") << QStringList{header, header} << QStringList();
    QTest::newRow("after a blank line")
        << QStringList{QString(), header}
        << QStringList{QStringLiteral("Zona UTM inválida para nombre_de_la_foto.jpg: zona")};
    QTest::newRow("neither zone nor easting")
        << QStringList{QStringLiteral(" nombre;x"), header}
        << QStringList{fewColumns + QStringLiteral(" nombre;x"),
                       QStringLiteral("Zona UTM inválida para nombre_de_la_foto.jpg: zona")};
}

void CoordinatesFileTest::skipsHeaders()
{
    QFETCH(QStringList, top);
    QFETCH(QStringList, log);
    const Result result = read(top + QStringList{QStringLiteral("a.jpg;19;H;1;2")});
    QCOMPARE(result.log, log);
    QCOMPARE(result.table.keys(), QStringList{QStringLiteral("a.jpg")});
}

void CoordinatesFileTest::takesOrRejectsRow_data()
{
    QTest::addColumn<QString>("row");
    QTest::addColumn<QString>("message");
    QTest::addColumn<bool>("taken");
    const auto add = [](const char *name, const QString &row, const QString &message, bool taken) {
        QTest::newRow(name) << row << message << taken;
    };
    add("four columns", QStringLiteral(" a.jpg;19;H;1"),
        QStringLiteral("Línea inválida en archivo txt (menos de 5 columnas):  a.jpg;19;H;1"), false);
    add("fractional zone", QStringLiteral("a.jpg; 19.5 ;H;1;2"),
        QStringLiteral("Zona UTM inválida para a.jpg: 19.5"), false);
    add("zone beyond 32 bits", QStringLiteral("a.jpg;2147483648;H;1;2"),
        QStringLiteral("Zona UTM inválida para a.jpg: 2147483648"), false);
    add("zone out of range", QStringLiteral("a.jpg;-61;H;1;2"), QString(), true);
    add("decimal comma", QStringLiteral("a.jpg;19;H;350000,5;6300000"),
        QStringLiteral("Easting inválido para a.jpg: 350000,5"), false);
    add("grouped northing", QStringLiteral("a.jpg;19;H;350000;6,300,000"),
        QStringLiteral("Northing inválido para a.jpg: 6,300,000"), false);
    add("no northing", QStringLiteral("a.jpg;19;H;350000;"), QStringLiteral("Northing inválido para a.jpg: "),
        false);
    add("heading", QStringLiteral("a.jpg;19;H;1;2;abc"),
        QStringLiteral("Orientación inválida para a.jpg: abc"), true);
    add("date", QStringLiteral("a.jpg;19;H;1;2;;ayer"),
        QStringLiteral("Fecha inválida en archivo txt para a.jpg: ayer"), true);
    add("altitude", QStringLiteral("a.jpg;19;H;1;2;;;1.5 m"),
        QStringLiteral("Altitud inválida para a.jpg: 1.5 m"), true);
}

void CoordinatesFileTest::takesOrRejectsRow()
{
    QFETCH(QString, row);
    QFETCH(QString, message);
    QFETCH(bool, taken);
    const Result result = read({QStringLiteral("x.jpg;1;N;1;1"), row, QStringLiteral("y.jpg;2;N;2;2")});
    QCOMPARE(result.log, message.isEmpty() ? QStringList() : QStringList{message});
    QCOMPARE(result.table.contains(QStringLiteral("a.jpg")), taken);
    QCOMPARE(result.table.size(), taken ? 3 : 2);
    const UtmEntry entry = result.table.value(QStringLiteral("a.jpg"));
    QVERIFY(!entry.hasOrientation && !entry.hasDateTime && !entry.hasAltitude);
}

void CoordinatesFileTest::takesLetter_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<int>("letter");
    QTest::newRow("empty") << QStringLiteral("  ") << int('N');
    QTest::newRow("first character as written") << QStringLiteral(" hK") << int('h');
    QTest::newRow("Latin-1") << QStringLiteral("Ñ") << 0xD1;
    QTest::newRow("beyond Latin-1") << QStringLiteral("Ω") << 0;
}

void CoordinatesFileTest::takesLetter()
{
    QFETCH(QString, column);
    QFETCH(int, letter);
    const Result result = read({QStringLiteral("a.jpg;19;") + column + QStringLiteral(";1;2")});
    QCOMPARE(result.table.size(), 1);
    QCOMPARE(int(static_cast<unsigned char>(result.table.first().zoneLetter)), letter);
}

void CoordinatesFileTest::takesDate_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("expected");
    const QDateTime moment(QDate(2024, 1, 2), QTime(3, 4, 5));
    for (const QString &text :
         {QStringLiteral("2024-01-02T03:04:05"), QStringLiteral("2024-01-02 03:04:05"),
          QStringLiteral("02/01/2024 03:04:05"), QStringLiteral("2024-01-02T03:04:05Z"),
          QStringLiteral("2024-01-02T03:04:05+05:30"), QStringLiteral("2024-01-02T03:04:05-03:00")})
        QTest::newRow(qPrintable(text)) << text << moment;
    QTest::newRow("date only") << QStringLiteral("2024-01-02") << QDateTime(QDate(2024, 1, 2), QTime(0, 0));
    QTest::newRow("end of day") << QStringLiteral("2024-01-02T24:00")
                                << QDateTime(QDate(2024, 1, 3), QTime(0, 0));
    for (const QString &text : {QStringLiteral("2024/01/02 03:04:05"), QStringLiteral("2024/01/02"),
                                QStringLiteral("02/01/24 03:04:05"), QStringLiteral("31/02/2024 03:04:05"),
                                QStringLiteral("02/01/2024 25:04:05"), QStringLiteral("02/01/2024"),
                                QStringLiteral("2/1/2024 03:04:05"), QStringLiteral("02/01/2024 03:04:05x")})
        QTest::newRow(qPrintable(text)) << text << QDateTime();
}

void CoordinatesFileTest::takesDate()
{
    QFETCH(QString, text);
    QFETCH(QDateTime, expected);
    const Result result = read({QStringLiteral("a.jpg;19;H;1;2;;") + text});
    QCOMPARE(result.log.isEmpty(), expected.isValid());
    QCOMPARE(result.table.size(), 1);
    const UtmEntry entry = result.table.first();
    QCOMPARE(entry.hasDateTime, expected.isValid());
    QCOMPARE(entry.dateTime, expected);
    QCOMPARE(entry.dateTime.timeSpec(), Qt::LocalTime);
}

void CoordinatesFileTest::keepsReadingInSkippedHour_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("ISO") << QStringLiteral("2024-09-08T00:30:00");
    QTest::newRow("day first") << QStringLiteral("08/09/2024 00:30:00");
    QTest::newRow("UTC") << QStringLiteral("2024-09-08T00:30:00Z");
}

// On 8 September 2024 the clocks of Santiago went from 24:00 to 1:00.
void CoordinatesFileTest::keepsReadingInSkippedHour()
{
    QFETCH(QString, text);
    if (QDateTime(QDate(2024, 9, 8), QTime(12, 0)).offsetFromUtc() != -3 * 3600)
        QSKIP("needs TZ=America/Santiago");
    const Result result = read({QStringLiteral("a.jpg;19;H;1;2;;") + text});
    QCOMPARE(result.log, QStringList());
    const QDateTime dateTime = result.table.value(QStringLiteral("a.jpg")).dateTime;
    QCOMPARE(dateTime.toString(QStringLiteral("dd/MM/yyyy HH:mm:ss")), QStringLiteral("08/09/2024 00:30:00"));
    QCOMPARE(dateTime.toUTC().time(), QTime(4, 30));
}

void CoordinatesFileTest::tellsNamesApart()
{
    const Result result = read({QStringLiteral("img_1.jpg;1;N;1;1;10"), QStringLiteral("IMG_1.jpg;2;N;2;2"),
                                QStringLiteral("img_1.jpg;3;N;3;3")});
    QCOMPARE(result.table.size(), 2);
    QCOMPARE(result.table.value(QStringLiteral("IMG_1.jpg")).zone, 2);
    QCOMPARE(result.table.value(QStringLiteral("img_1.jpg")).zone, 3);
    QVERIFY(!result.table.value(QStringLiteral("img_1.jpg")).hasOrientation);
}

void CoordinatesFileTest::acceptsByteOrderMarks_data()
{
    QTest::addColumn<QByteArray>("content");
    const QString row = QStringLiteral("ñandú.jpg;19;H;1;2\r\n");
    QTest::newRow("UTF-8") << QByteArray("\xEF\xBB\xBF") + row.toUtf8();
    QStringEncoder utf16(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
    QTest::newRow("UTF-16") << QByteArray(utf16(row));
}

void CoordinatesFileTest::acceptsByteOrderMarks()
{
    QFETCH(QByteArray, content);
    const Result result = read(content);
    QCOMPARE(result.log, QStringList());
    QCOMPARE(result.table.keys(), QStringList{QStringLiteral("ñandú.jpg")});
}

void CoordinatesFileTest::reportsMissingFile()
{
    for (const QString &path : {m_dir.filePath(QStringLiteral("ninguno.csv")), m_dir.path()}) {
        QStringList log;
        const CoordinatesTable table =
            readCoordinatesFile(path, [&](const QString &line) { log.append(line); });
        QVERIFY(table.isEmpty());
        QCOMPARE(log, QStringList{QStringLiteral("Error al abrir el archivo TXT: ") + path});
    }
}

QTEST_GUILESS_MAIN(CoordinatesFileTest)
#include "coordinatesfile.moc"
