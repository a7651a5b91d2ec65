// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/geodesy.h"

#include <QLocale>
#include <QTest>

using namespace Qt::StringLiterals;

/// Conversions between degrees and UTM, and their texts.
class GeodesyTest : public QObject
{
    Q_OBJECT

    static QByteArray utmOf(double latitude, double longitude)
    {
        const UtmPosition utm = latLonToUtm(latitude, longitude);
        return formatZone(utm.zone, utm.zoneLetter).toLatin1() + ' ' +
               QByteArray::number(utm.easting, 'f', 4) + ' ' + QByteArray::number(utm.northing, 'f', 4);
    }

    static QByteArray degreesOf(int zone, char letter, double easting, double northing)
    {
        const GeoPosition geo = utmToLatLon(zone, letter, easting, northing);
        return QByteArray::number(geo.latitude, 'f', 8) + ' ' + QByteArray::number(geo.longitude, 'f', 8);
    }

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(u"es_CL"_s)); } // its digit groups are in no text

    void convertsToUtm()
    {
        QCOMPARE(utmOf(-0.0, 0.0), "31M 166021.4432 0.0000");
        QCOMPARE(utmOf(45.0, -72.0), "19S 263553.9739 4987333.9898"); // the edge of a zone
        QCOMPARE(utmOf(4.0, -74.0), "18M 611011.3297 442194.9725");
        QCOMPARE(utmOf(-79.25, 178.9), "60D 539556.6446 1201478.7614");
        QCOMPARE(utmOf(64.5, 0.25), "31V 367932.1703 7155597.8996");
        // On the central meridian nothing but the meridian arc counts: 4,429,529.0302 m at 40° (Snyder,
        // equation 3-21).
        QCOMPARE(utmOf(40.0, -75.0), "18S 500000.0000 4427757.2189");
        QCOMPARE(utmOf(-40.0, -75.0), "18G 500000.0000 5572242.7811");
        QCOMPARE(utmOf(0.0, 180.0), "61M 166021.4432 0.0000");
        QCOMPARE(utmOf(0.0, -180.0), "1M 166021.4432 0.0000");
        QCOMPARE(utmOf(qQNaN(), -1e300), "-2147483648D nan nan");
        QCOMPARE(utmOf(qQNaN(), qInf()), "2147483647D nan nan");

        QByteArray letters; // at the foot of each band and below it
        for (const int foot : {84, 72, 64, 56, 48, 40, 32, 24, 16, 8, 0, -8, -16, -24, -32, -40, -48, -56}) {
            letters += latLonToUtm(foot, 0).zoneLetter;
            letters += latLonToUtm(foot - 0.0001, 0).zoneLetter;
        }
        QCOMPARE(letters, "XWWVVUUTTSSRRQQPPNNMMLLKKJJHHGGFFEED");
    }

    void convertsBack()
    {
        // L. Krüger's series in the third flattening, of order 4, gives the same to a ten-millionth of a
        // degree.
        QCOMPARE(degreesOf(30, 'W', 700000, 7200000), "64.86424010 1.22222181");
        QCOMPARE(degreesOf(56, 'C', 250000, 5800000), "-37.91321311 150.15617008");
        QCOMPARE(degreesOf(1, 'C', 430000, 1200000), "-79.25093468 -180.36378027");
        QCOMPARE(degreesOf(33, 'P', 830000, 1200000), "10.84068800 18.01784936");
        for (const char letter : {'N', 'h'})
            QCOMPARE(degreesOf(18, letter, 611011.33, 442194.97), "3.99999998 -74.00000000");
        for (const char letter : {'H', 'M', '\0', '\xd1'}) // also what is negative as a signed byte
            QCOMPARE(degreesOf(19, letter, 345678.4, 6298765.6), "-33.43941415 -70.66017217");
        QCOMPARE(degreesOf(INT_MAX, 'H', qQNaN(), -1e300), "nan nan");
    }

    void formatsPositions()
    {
        QCOMPARE(formatUtm(19, 'H', 345678.4, 6298765.6).toUtf8(), "19H 345678 6298766");
        QCOMPARE(formatUtm(19, '\0', 345678.4, -0.6).toUtf8(), "19 345678 -1");
        QCOMPARE(formatUtm(1, '\xd1', 1, 2).toUtf8(), "1Ñ 1 2");

        QCOMPARE(formatLatLon(-33.45, -70.6667).toUtf8(), "33° 27' 0\" S 70° 40' 0\" W");
        QCOMPARE(formatLatLon(-0.5, 2.0).toUtf8(), "0° 30' 0\" S 2° 0' 0\" E");
        QCOMPARE(formatLatLon(-0.0, 0.0).toUtf8(), "0° 0' 0\" N 0° 0' 0\" E");
        // 12' 59.9" and 30.75": minutes are cut off, seconds rounded, without a carry
        QCOMPARE(formatLatLon(10.0 + 779.9 / 3600, -10.0 - 30.75 / 3600).toUtf8(),
                 "10° 12' 60\" N 10° 0' 31\" W");
        QCOMPARE(formatLatLon(qQNaN(), qInf()).toUtf8(), "0° 0' 0\" S 9223372036854775807° 0' 0\" E");
    }

    void formatsHeadings()
    {
        QByteArray points;
        for (double heading = 0.0; heading < 360.0; heading += 22.5)
            points += ' ' + compassPointName(heading).toLatin1();
        QCOMPARE(points, " N NNE NE ENE E ESE SE SSE S SSW SW WSW W WNW NW NNW");

        QByteArray texts;
        for (const double heading :
             {5.4, 11.2, 11.25, 112.5, 348.74, 348.75, 359.6, 725.0, -10.0, -90.0, qQNaN(), qInf()})
            texts += formatOrientation(heading).toUtf8() + '|';
        QCOMPARE(texts, "005° N|011° N|011° NNE|113° ESE|349° NNW|349° N|000° N|005° N|-10° N|-90° W|"
                        "000° N|000° N|");
    }
};

QTEST_GUILESS_MAIN(GeodesyTest)
#include "geodesy.moc"
