// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/geodesy.h"

#include <QLocale>
#include <QTest>

#include <cmath>
#include <limits>

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

QByteArray utmOf(double latitude, double longitude)
{
    const UtmPosition utm = latLonToUtm(latitude, longitude);
    return QByteArray::number(utm.zone) + utm.zoneLetter + ' ' + QByteArray::number(utm.easting, 'f', 4) +
           ' ' + QByteArray::number(utm.northing, 'f', 4);
}

QByteArray degreesOf(int zone, char letter, double easting, double northing)
{
    const GeoPosition geo = utmToLatLon(zone, letter, easting, northing);
    return QByteArray::number(geo.latitude, 'f', 8) + ' ' + QByteArray::number(geo.longitude, 'f', 8);
}

} // namespace

/// Conversions between degrees and UTM, and their texts.
class GeodesyTest : public QObject
{
    Q_OBJECT

private slots:
    void convertsToUtm();
    void convertsBack();
    void takesAnyDouble();
    void formatsPositions();
    void formatsHeadings();
};

void GeodesyTest::convertsToUtm()
{
    QCOMPARE(utmOf(0.0, 0.0), "31M 166021.4432 0.0000");
    QCOMPARE(utmOf(-0.0, 0.0), "31M 166021.4432 0.0000");
    QCOMPARE(utmOf(45.0, -72.0), "19S 263553.9739 4987333.9898"); // the edge of a zone
    QCOMPARE(utmOf(4.0, -74.0), "18M 611011.3297 442194.9725");
    // On the central meridian nothing but the meridian arc counts: 4,429,529.0302 m at 40° (Snyder, equation
    // 3-21).
    QCOMPARE(utmOf(40.0, -75.0), "18S 500000.0000 4427757.2189");
    QCOMPARE(utmOf(-40.0, -75.0), "18G 500000.0000 5572242.7811");
    QCOMPARE(utmOf(0.0, 180.0), "61M 166021.4432 0.0000");
    QCOMPARE(utmOf(0.0, 179.999), "60M 833867.1282 0.0000");
    QCOMPARE(utmOf(0.0, -180.0), "1M 166021.4432 0.0000");

    QByteArray at;
    QByteArray below;
    for (const int latitude : {84, 72, 64, 56, 48, 40, 32, 24, 16, 8, 0, -8, -16, -24, -32, -40, -48, -56}) {
        at += latLonToUtm(latitude, 0).zoneLetter;
        below += latLonToUtm(latitude - 0.0001, 0).zoneLetter;
    }
    QCOMPARE(at, "XWVUTSRQPNMLKJHGFE");
    QCOMPARE(below, "WVUTSRQPNMLKJHGFED");
}

void GeodesyTest::convertsBack()
{
    // L. Krüger's series in the third flattening, of order 4, gives the same to a ten-millionth of a degree.
    QCOMPARE(degreesOf(19, 'H', 345678.4, 6298765.6), "-33.43941415 -70.66017217");
    QCOMPARE(degreesOf(30, 'W', 700000, 7200000), "64.86424010 1.22222181");
    QCOMPARE(degreesOf(56, 'C', 250000, 5800000), "-37.91321311 150.15617008");
    for (const char letter : {'N', 'h'})
        QCOMPARE(degreesOf(18, letter, 611011.33, 442194.97), "3.99999998 -74.00000000");
    for (const char letter : {'M', '\0', '\xd1'}) // also what is negative as a signed byte
        QCOMPARE(degreesOf(19, letter, 345678.4, 6298765.6), "-33.43941415 -70.66017217");

    for (double latitude = -79.5; latitude < 84; latitude += latitude == -0.5 ? 8.5 : 0.5) {
        for (const double longitude : {-177.5, -74.25, 3.75}) { // from 0° to 8° north the letter is southern
            const UtmPosition utm = latLonToUtm(latitude, longitude);
            const GeoPosition geo = utmToLatLon(utm.zone, utm.zoneLetter, utm.easting, utm.northing);
            QVERIFY2(std::hypot(geo.latitude - latitude, geo.longitude - longitude) < 1e-6,
                     utmOf(latitude, longitude).constData());
        }
    }
}

void GeodesyTest::takesAnyDouble()
{
    for (const double value : {notANumber, infinity, -infinity, 1e300, -1e300}) {
        latLonToUtm(value, value);
        utmToLatLon(std::numeric_limits<int>::max(), 'H', value, value);
        formatUtm(std::numeric_limits<int>::min(), 'H', value, value);
        formatLatLon(value, value);
    }
    QVERIFY(std::isnan(latLonToUtm(notANumber, 0).northing));
    QCOMPARE(latLonToUtm(0, infinity).zone, std::numeric_limits<int>::max());
}

void GeodesyTest::formatsPositions()
{
    const QLocale before;
    QLocale::setDefault(QLocale(QStringLiteral("es_CL"))); // no digit groups all the same
    QCOMPARE(formatUtm(19, 'H', 345678.4, 6298765.6).toUtf8(), "19H 345678 6298766");
    QCOMPARE(formatUtm(19, '\0', 345678.4, -0.6).toUtf8(), "19 345678 -1");
    QCOMPARE(formatUtm(1, '\xd1', 1, 2).toUtf8(), "1Ñ 1 2");
    QLocale::setDefault(before);

    QCOMPARE(formatLatLon(-33.45, -70.6667).toUtf8(), "33° 27' 0\" S 70° 40' 0\" W");
    QCOMPARE(formatLatLon(1.0, 2.0).toUtf8(), "1° 0' 0\" N 2° 0' 0\" E");
    QCOMPARE(formatLatLon(-0.0, 0.0).toUtf8(), "0° 0' 0\" N 0° 0' 0\" E");
    // 12' 59.9" and 30.75": minutes are cut off, seconds rounded, without a carry
    QCOMPARE(formatLatLon(10.0 + 779.9 / 3600, -10.0 - 30.75 / 3600).toUtf8(),
             "10° 12' 60\" N 10° 0' 31\" W");
}

void GeodesyTest::formatsHeadings()
{
    QByteArray points;
    for (double heading = 0.0; heading < 360.0; heading += 22.5)
        points += ' ' + compassPointName(heading).toLatin1();
    QCOMPARE(points, " N NNE NE ENE E ESE SE SSE S SSW SW WSW W WNW NW NNW");

    const QList<QPair<double, const char *>> cases = {
        {5.4, "005° N"},     {11.2, "011° N"},     {11.25, "011° NNE"}, {45, "045° NE"},
        {112.5, "113° ESE"}, {348.74, "349° NNW"}, {348.75, "349° N"},  {359.6, "000° N"},
        {725, "005° N"},     {-10, "-10° N"},      {-90, "-90° W"},     {notANumber, "000° N"},
        {infinity, "000° N"}};
    for (const auto &[heading, text] : cases)
        QCOMPARE(formatOrientation(heading).toUtf8(), text);
}

QTEST_GUILESS_MAIN(GeodesyTest)
#include "geodesy.moc"
