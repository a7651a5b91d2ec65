// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

class CoordinatesFileTest : public QObject
{
    Q_OBJECT

private slots:
    void readsRows();
    void readsDates();
    void takesEncodings();
    void reportsMissingFile();

private:
    QString read(const QByteArray &content) const;

    QTemporaryDir m_dir;
};

// What the reader makes of a file: the rows by name, and behind each "!" a line of the log.
QString CoordinatesFileTest::read(const QByteArray &content) const
{
    QFile file(m_dir.filePath(QStringLiteral("coordenadas.csv")));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write the coordinates file");
    file.close();
    QStringList texts;
    QStringList log;
    const CoordinatesTable table =
        readCoordinatesFile(file.fileName(), [&](const QString &line) { log += u'!' + line; });
    for (auto row = table.begin(); row != table.end(); ++row) {
        QString text = QStringLiteral("%1=%2/%3/%4/%5")
                           .arg(row.key(), QString::number(row->zone),
                                QString::number(static_cast<uchar>(row->zoneLetter), 16),
                                QString::number(row->easting, 'f'), QString::number(row->northing, 'f'));
        if (row->hasOrientation)
            text += QStringLiteral(" @%1").arg(row->orientation);
        if (row->hasDateTime)
            text += row->dateTime.toString(QStringLiteral(" yyyyMMdd HHmmss"));
        if (row->hasAltitude)
            text += QStringLiteral(" %1m").arg(row->altitude);
        if (row->hasDateTime != row->dateTime.isValid())
            text += QStringLiteral(" ?");
        texts += text;
    }
    return (texts + log).join(u' ');
}

void CoordinatesFileTest::readsRows()
{
    const QByteArray header =
        "nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud\n";
    const QByteArray headerAsRow = "!Zona UTM inválida para nombre_de_la_foto.jpg: zona";
    const QByteArray fewColumns = "!Línea inválida en archivo txt (menos de 5 columnas): ";
    const QByteArray row = "a;19;H;1;2";
    const QByteArray taken = "a=19/48/1.000000/2.000000";
    const QByteArrayList cases[] = {
        {"  a b ; 19 ; H ;350000.5; 6300000.25 ;45.5;2024-01-02 03:04:05; 12.5 "
         ";more;x\r\nc;20;K;1;2\r\n\r\n" +
             row + ";;;",
         "a=19/48/1.000000/2.000000 a b=19/48/350000.500000/6300000.250000 @45.5 20240102 030405 12.5m "
         "c=20/4b/1.000000/2.000000"},
        {"", ""},
        {header + header + row, taken},
        {"NOMBRE;ZONA;...\nNombre;Easting\n" + row, taken},
        {"\n" + header + row, taken + ' ' + headerAsRow},
        {" nombre;x\n" + header + row, taken + ' ' + fewColumns + " nombre;x " + headerAsRow},
        {" a;19;H;1\n" + row, taken + ' ' + fewColumns + " a;19;H;1"},
        {"x; 19.5 ;H;1;2", "!Zona UTM inválida para x: 19.5"},
        {"x;2147483648;H;1;2", "!Zona UTM inválida para x: 2147483648"},
        {"a;-61;H;1;2", "a=-61/48/1.000000/2.000000"},
        {"x;19;H;350000,5;6300000", "!Easting inválido para x: 350000,5"},
        {"x;19;H;350000;6,300,000", "!Northing inválido para x: 6,300,000"},
        {"x;19;H;350000;", "!Northing inválido para x: "},
        {row + ";abc;2024-01-02 03:04:05;12",
         taken + " 20240102 030405 12m !Orientación inválida para a: abc"},
        {row + ";45;ayer;12", taken + " @45 12m !Fecha inválida en archivo txt para a: ayer"},
        {row + ";45;;1.5 m", taken + " @45 !Altitud inválida para a: 1.5 m"},
        {"a;19;  ;1;2", "a=19/4e/1.000000/2.000000"},
        {"a;19; hK;1;2", "a=19/68/1.000000/2.000000"},
        {"a;19;Ñ;1;2", "a=19/d1/1.000000/2.000000"},
        {"a;19;Ω;1;2", "a=19/0/1.000000/2.000000"},
        {"a;1;N;1;1;10\nA;2;N;2;2\n" + row, "A=2/4e/2.000000/2.000000 " + taken},
    };
    for (const QByteArrayList &each : cases)
        QCOMPARE(read(each[0]), QString::fromUtf8(each[1]));
}

void CoordinatesFileTest::readsDates()
{
    // On 8 September 2024 the clocks of Santiago went from 24:00 to 1:00, and a camera may not know.
    QCOMPARE(QDateTime(QDate(2024, 9, 8), QTime(12, 0)).offsetFromUtc(), -3 * 3600);
    const QByteArrayList cases[] = {
        {"20240102 030405", "2024-01-02T03:04:05", "2024-01-02 03:04:05", "02/01/2024 03:04:05",
         "2024-01-02T03:04:05Z", "2024-01-02T03:04:05+05:30", "2024-01-02T03:04:05-03:00"},
        {"20240102 000000", "2024-01-02"},
        {"20240103 000000", "2024-01-02T24:00"},
        {"20240908 003000", "2024-09-08T00:30:00", "08/09/2024 00:30:00", "2024-09-08T00:30:00Z"},
        {"", "2024/01/02 03:04:05", "2024/01/02", "02/01/24 03:04:05", "31/02/2024 03:04:05",
         "02/01/2024 25:04:05", "02/01/2024", "2/1/2024 03:04:05", "02/01/2024 03:04:05x"},
    };
    for (const QByteArrayList &each : cases) {
        for (const QByteArray &text : each.mid(1)) {
            const QString problem =
                QStringLiteral("!Fecha inválida en archivo txt para a: ") + QString::fromUtf8(text);
            QCOMPARE(read("a;1;N;1;1;;" + text),
                     QStringLiteral("a=1/4e/1.000000/1.000000 ") +
                         (each[0].isEmpty() ? problem : QString::fromUtf8(each[0])));
        }
    }
}

void CoordinatesFileTest::takesEncodings()
{
    const QString row = QStringLiteral("ñandú.jpg;19;H;1;2\r\n");
    const QString taken = QStringLiteral("ñandú.jpg=19/48/1.000000/2.000000");
    QStringEncoder utf16(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
    QCOMPARE(read("\xEF\xBB\xBF" + row.toUtf8()), taken);
    QCOMPARE(read(QByteArray(utf16(row))), taken);
    QCOMPARE(read("a;19;H;1;2\n" + row.toLatin1()),
             QStringLiteral("a=19/48/1.000000/2.000000 \ufffdand\ufffd.jpg=19/48/1.000000/2.000000 "
                            "!Advertencia: el archivo de coordenadas no está en UTF-8, y los nombres con ñ o "
                            "tildes no se encuentran. Guárdelo como \"CSV UTF-8 (delimitado por punto y "
                            "coma)\": ") +
                 m_dir.filePath(QStringLiteral("coordenadas.csv")));
}

void CoordinatesFileTest::reportsMissingFile()
{
    for (const QString &path : {m_dir.filePath(QStringLiteral("ninguno.csv")), m_dir.path()}) {
        QStringList log;
        QVERIFY(readCoordinatesFile(path, [&](const QString &line) { log.append(line); }).isEmpty());
        QCOMPARE(log, QStringList(QStringLiteral("Error al abrir el archivo TXT: ") + path));
    }
}

QTEST_GUILESS_MAIN(CoordinatesFileTest)
#include "coordinatesfile.moc"
