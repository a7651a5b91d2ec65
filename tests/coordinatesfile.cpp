// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include "photofiles.h"

#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

/// Coordinates files and what is read from them.
class CoordinatesFileTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "America/Santiago"); }
    void readsEveryColumn();
    void skipsHeadersAtTheTop();
    void takesOrRejectsRows();
    void takesLetters();
    void takesDates();
    void decodesText();
    void reportsMissingFiles();

private:
    /// The rows that were taken, by name, then the log: one line for each, "-" for an empty column.
    QByteArray read(const QByteArray &content) const;

    QTemporaryDir m_dir;
};

QByteArray CoordinatesFileTest::read(const QByteArray &content) const
{
    const QString path = m_dir.filePath(QStringLiteral("coordenadas.csv"));
    writeText(path, content);
    QStringList log;
    const CoordinatesTable table =
        readCoordinatesFile(path, [&log](const QString &line) { log.append(line); });
    QStringList rows;
    for (auto row = table.begin(); row != table.end(); ++row) {
        QStringList fields = {row.key(), formatZone(row->zone, row->zoneLetter)};
        const auto add = [&fields](bool has, double number) {
            fields.append(has ? QString::number(number, 'g', 10) : QStringLiteral("-"));
        };
        add(true, row->easting);
        add(true, row->northing);
        add(row->hasOrientation, row->orientation);
        const QDateTime taken = row->dateTime.toOffsetFromUtc(row->dateTime.offsetFromUtc());
        fields.append(row->hasDateTime ? taken.toString(Qt::ISODate) : QStringLiteral("-"));
        add(row->hasAltitude, row->altitude);
        rows.append(fields.join(u' '));
    }
    return (rows + log).join(u'\n').toUtf8();
}

void CoordinatesFileTest::readsEveryColumn()
{
    QCOMPARE(read("  IMG_1.jpg ; 19 ; H ;350000.5; 6300000.25 ;45.5;2024-01-02 03:04:05; 12.5 ;more;x\r\n"
                  "IMG_2.jpg;20;K;1;2\r\n\r\nIMG_3.jpg;21;L;3;4;;;"),
             "IMG_1.jpg 19H 350000.5 6300000.25 45.5 2024-01-02T03:04:05-03:00 12.5\n"
             "IMG_2.jpg 20K 1 2 - - -\n"
             "IMG_3.jpg 21L 3 4 - - -");
    // names by their case, and the last of several rows
    QCOMPARE(read("img.jpg;1;N;1;1;10\nIMG.jpg;2;N;2;2\nimg.jpg;3;N;3;3"),
             "IMG.jpg 2N 2 2 - - -\nimg.jpg 3N 3 3 - - -");
}

void CoordinatesFileTest::skipsHeadersAtTheTop()
{
    const QByteArray header =
        "nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud\n";
    QCOMPARE(coordinatesHeader().toUtf8() + '\n', header);
    const QByteArray row = "a.jpg;19;H;1;2\n";
    const QByteArray taken = "a.jpg 19H 1 2 - - -";
    const QByteArray refused = "\nZona UTM inválida para nombre_de_la_foto.jpg: zona";
    const QByteArray tooShort = "\nLínea inválida en archivo txt (menos de 5 columnas): ";
    for (const QByteArray &top :
         QByteArrayList{QByteArray(), header, header + header, QByteArray("NOMBRE;ZONA;...\n"),
                        QByteArray("Nombre;Easting\n")})
        QCOMPARE(read(top + row), taken);
    QCOMPARE(read('\n' + header + row), taken + refused);
    QCOMPARE(read(row + header), taken + refused);
    QCOMPARE(read(" nombre;x\n" + header + row), taken + tooShort + " nombre;x" + refused);
    QCOMPARE(read("zona;easting\n" + row), taken + tooShort + "zona;easting");
}

void CoordinatesFileTest::takesOrRejectsRows()
{
    QCOMPARE(read(" a.jpg;19;H;1\na.jpg;19;H;1;2\n a.jpg;;"),
             "a.jpg 19H 1 2 - - -\nLínea inválida en archivo txt (menos de 5 columnas):  a.jpg;19;H;1\n"
             "Línea inválida en archivo txt (menos de 5 columnas):  a.jpg;;");
    const QList<QPair<const char *, const char *>> cases = {
        {"a.jpg; 19.5 ;H;1;2", "Zona UTM inválida para a.jpg: 19.5"},
        {"a.jpg;2147483648;H;1;2", "Zona UTM inválida para a.jpg: 2147483648"},
        {"a.jpg;-61;H;1;2", "a.jpg -61H 1 2 - - -"},
        {"a.jpg;19;H;350000,5;6300000", "Easting inválido para a.jpg: 350000,5"},
        {"a.jpg;19;H;350000;6,300,000", "Northing inválido para a.jpg: 6,300,000"},
        {"a.jpg;19;H;350000;", "Northing inválido para a.jpg: "},
        {"a.jpg;19;H;1;2;abc;;5", "a.jpg 19H 1 2 - - 5\nOrientación inválida para a.jpg: abc"},
        {"a.jpg;19;H;1;2;;ayer;5", "a.jpg 19H 1 2 - - 5\nFecha inválida en archivo txt para a.jpg: ayer"},
        {"a.jpg;19;H;1;2;3;;1.5 m", "a.jpg 19H 1 2 3 - -\nAltitud inválida para a.jpg: 1.5 m"},
    };
    for (const auto &[row, result] : cases)
        QCOMPARE(read(row), result);
}

void CoordinatesFileTest::takesLetters()
{
    QCOMPARE(read("a;19;  ;1;2\nb;19; hK;1;2\nc;19;Ñ;1;2\nd;19;Ω;1;2"),
             "a 19N 1 2 - - -\nb 19h 1 2 - - -\nc 19Ñ 1 2 - - -\nd 19 1 2 - - -");
}

void CoordinatesFileTest::takesDates()
{
    const QList<QPair<QByteArray, QByteArray>> valid = {
        {"2024-01-02T03:04:05", "2024-01-02T03:04:05-03:00"},
        {"2024-01-02 03:04:05", "2024-01-02T03:04:05-03:00"},
        {"02/01/2024 03:04:05", "2024-01-02T03:04:05-03:00"},
        {"2024-07-02T03:04:05Z", "2024-07-02T03:04:05-04:00"},
        {"2024-01-02T03:04:05+05:30", "2024-01-02T03:04:05-03:00"},
        {"2024-01-02", "2024-01-02T00:00:00-03:00"},
        {"2024-01-02T24:00", "2024-01-03T00:00:00-03:00"},
        // On 8 September 2024 the clocks of Santiago went from 24:00 to 1:00.
        {"2024-09-08T00:30:00", "2024-09-08T00:30:00-04:00"},
        {"08/09/2024 00:30:00", "2024-09-08T00:30:00-04:00"},
        {"2024-09-08T00:30:00Z", "2024-09-08T00:30:00-04:00"},
    };
    for (const auto &[text, reading] : valid)
        QCOMPARE(read("a;19;H;1;2;;" + text), "a 19H 1 2 - " + reading + " -");
    for (const QByteArray text :
         {"2024/01/02 03:04:05", "2024-01/02", "02/01/24 03:04:05", "31/02/2024 03:04:05",
          "02/01/2024 25:04:05", "02/01/2024", "2/1/2024 03:04:05", "02/01/2024 03:04:05x"})
        QCOMPARE(read("a;19;H;1;2;;" + text),
                 "a 19H 1 2 - - -\nFecha inválida en archivo txt para a: " + text);
}

void CoordinatesFileTest::decodesText()
{
    const QString row = QStringLiteral("ñandú.jpg;19;H;1;2\r\n");
    QStringEncoder utf16(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
    for (const QByteArray &content :
         QByteArrayList{row.toUtf8(), "\xEF\xBB\xBF" + row.toUtf8(), QByteArray(utf16(row))})
        QCOMPARE(read(content), "ñandú.jpg 19H 1 2 - - -");
    QCOMPARE(read("a;19;H;1;2\n" + row.toLatin1()),
             QStringLiteral("a 19H 1 2 - - -\n\ufffdand\ufffd.jpg 19H 1 2 - - -\n"
                            "Advertencia: el archivo de coordenadas no está en UTF-8, y los nombres con ñ o "
                            "tildes no se encuentran. Guárdelo como \"CSV UTF-8 (delimitado por punto y "
                            "coma)\": %1")
                 .arg(m_dir.filePath(QStringLiteral("coordenadas.csv")))
                 .toUtf8());
}

void CoordinatesFileTest::reportsMissingFiles()
{
    for (const QString &path : {m_dir.filePath(QStringLiteral("ninguno.csv")), m_dir.path()}) {
        QStringList log;
        QVERIFY(readCoordinatesFile(path, [&log](const QString &line) { log.append(line); }).isEmpty());
        QCOMPARE(log, QStringList{QStringLiteral("Error al abrir el archivo TXT: ") + path});
    }
}

QTEST_GUILESS_MAIN(CoordinatesFileTest)
#include "coordinatesfile.moc"
