// SPDX-License-Identifier: GPL-3.0-or-later
#include "data/coordinatesfile.h"

#include "photofiles.h"

#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

/// Coordinates files and what is read from them.
class CoordinatesFileTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qputenv("TZ", "America/Santiago"); }
    void readsEveryColumn()
    {
        QCOMPARE(read("  IMG_1.jpg ; 19 ; H ;350000.5; 6300000.25 ;45.5;2024-01-02 03:04:05; 12.5 ;more;x\r\n"
                      "IMG_2.jpg;20;K;1;2\r\n\r\nIMG_3.jpg;21;  ;3;4;;;"),
                 "IMG_1.jpg 19H 350000.5 6300000.25 45.5 2024-01-02T03:04:05-03:00 12.5\n"
                 "IMG_2.jpg 20K 1 2 - - -\n"
                 "IMG_3.jpg 21N 3 4 - - -\n");
        // names by their case, and the last of several rows; letters by their first character of Latin-1
        QCOMPARE(read("img.jpg;1;N;1;1;10\nIMG.jpg;2;Ñ;2;2\nimg.jpg;3; hK;3;3\nz;4;Ω;4;4"),
                 "IMG.jpg 2Ñ 2 2 - - -\nimg.jpg 3h 3 3 - - -\nz 4 4 4 - - -\n");
    }

    void skipsHeadersAtTheTop()
    {
        const QByteArray header =
            "nombre_de_la_foto.jpg;zona;letra;easting;northing;orientacion;fecha_hora;altitud\n";
        QCOMPARE(coordinatesHeader().toUtf8() + '\n', header);
        const QByteArray row = "a.jpg;19;H;1;2\n";
        const QByteArray taken = "a.jpg 19H 1 2 - - -\n";
        const QByteArray refused = "Zona UTM inválida para nombre_de_la_foto.jpg: zona\n";
        const QByteArray tooShort = "Línea inválida en archivo txt (menos de 5 columnas): ";
        for (const QByteArray top : {"", "NOMBRE;ZONA;...\n", "Nombre;Easting\n"})
            QCOMPARE(read(top + header + row), taken);
        QCOMPARE(read('\n' + header + row), refused + taken);
        QCOMPARE(read(row + header), refused + taken);
        QCOMPARE(read(" nombre;x\n" + header + row), tooShort + " nombre;x\n" + refused + taken);
        QCOMPARE(read("zona;easting\n" + row), tooShort + "zona;easting\n" + taken);
    }

    void takesOrRejectsRows()
    {
        QCOMPARE(read("a;19;H;1\na; 19.5 ;H;1;2\na;2147483648;H;1;2\n"
                      "a;19;H;350000,5;1\na;19;H;1;6,300,000\na;19;H;1;\n"
                      "a;-61;H;1;2;abc;;5\nb;19;H;1;2;;ayer;5\nc;19;H;1;2;3;;1.5 m"),
                 "Línea inválida en archivo txt (menos de 5 columnas): a;19;H;1\n"
                 "Zona UTM inválida para a: 19.5\nZona UTM inválida para a: 2147483648\n"
                 "Easting inválido para a: 350000,5\n"
                 "Northing inválido para a: 6,300,000\nNorthing inválido para a: \n"
                 "Orientación inválida para a: abc\n"
                 "Fecha inválida en archivo txt para b: ayer\n"
                 "Altitud inválida para c: 1.5 m\n"
                 "a -61H 1 2 - - 5\nb 19H 1 2 - - 5\nc 19H 1 2 3 - -\n");
    }

    void takesDates()
    {
        const std::pair<QByteArray, QByteArray> valid[] = {
            {"2024-01-02T03:04:05", "2024-01-02T03:04:05-03:00"},
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
            QCOMPARE(read("a;19;H;1;2;;" + text), "a 19H 1 2 - " + reading + " -\n");
        for (const QByteArray text :
             {"2024/01/02 03:04:05", "2024-01/02", "02/01/24 03:04:05", "31/02/2024 03:04:05",
              "02/01/2024 25:04:05", "02/01/2024", "2/1/2024 03:04:05", "02/01/2024 03:04:05x"})
            QCOMPARE(read("a;19;H;1;2;;" + text),
                     "Fecha inválida en archivo txt para a: " + text + "\na 19H 1 2 - - -\n");
    }

    void decodesText()
    {
        const QString row = u"ñandú.jpg;19;H;1;2\r\n"_s;
        QStringEncoder utf16(QStringEncoder::Utf16LE, QStringConverter::Flag::WriteBom);
        for (const QByteArray &content :
             {row.toUtf8(), QByteArray("\xEF\xBB\xBF" + row.toUtf8()), QByteArray(utf16(row))})
            QCOMPARE(read(content), "ñandú.jpg 19H 1 2 - - -\n");
        QCOMPARE(
            read(row.toLatin1()),
            "Advertencia: el archivo de coordenadas no está en UTF-8, y los nombres con ñ o tildes no se "
            "encuentran. Guárdelo como \"CSV UTF-8 (delimitado por punto y coma)\": " +
                m_path.toUtf8() + "\n\ufffdand\ufffd.jpg 19H 1 2 - - -\n");
    }

    void reportsMissingFiles()
    {
        for (const QString &path : {m_dir.filePath(u"ninguno.csv"_s), m_dir.path()})
            QCOMPARE(readFile(path), "Error al abrir el archivo TXT: " + path.toUtf8() + '\n');
    }

private:
    QByteArray read(const QByteArray &content) const
    {
        writeText(m_path, content);
        return readFile(m_path);
    }

    // The log, then the rows that were taken, by name: one line for each, "-" for an empty column.
    static QByteArray readFile(const QString &path)
    {
        QString text;
        const auto rows = readCoordinatesFile(path, [&](const QString &line) { text += line + u'\n'; });
        for (auto row = rows.begin(); row != rows.end(); ++row) {
            const auto number = [](double value, bool known = true) {
                return known ? QString::number(value, 'g', 10) : u"-"_s;
            };
            const QString taken =
                row->dateTime.toOffsetFromUtc(row->dateTime.offsetFromUtc()).toString(Qt::ISODate);
            text += QStringList({row.key(), formatZone(row->zone, row->zoneLetter), number(row->easting),
                                 number(row->northing)})
                        .join(u' ');
            text += u" %1 %2 %3\n"_s.arg(number(row->orientation, row->hasOrientation),
                                         row->hasDateTime ? taken : u"-"_s,
                                         number(row->altitude, row->hasAltitude));
        }
        return text.toUtf8();
    }

    QTemporaryDir m_dir;
    const QString m_path = m_dir.filePath(u"coordenadas.csv"_s);
};

QTEST_GUILESS_MAIN(CoordinatesFileTest)
#include "coordinatesfile.moc"
