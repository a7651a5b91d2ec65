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

QByteArray described(const UtmPosition &utm)
{
    return QByteArray::number(utm.zone) + utm.zoneLetter + ' ' + QByteArray::number(utm.easting, 'f', 4) +
           ' ' + QByteArray::number(utm.northing, 'f', 4);
}

} // namespace

/// Conversions between degrees and UTM, and their texts.
class GeodesyTest : public QObject
{
    Q_OBJECT

private slots:
    void convertsToUtm_data();
    void convertsToUtm();
    void lettersFollowTheLatitude_data();
    void lettersFollowTheLatitude();
    void convertsBack();
    void takesTheHemisphereFromTheLetter();
    void takesAnyDouble();
    void formatsPositions();
    void formatsDegrees_data();
    void formatsDegrees();
    void formatsHeadings_data();
    void formatsHeadings();
};

void GeodesyTest::convertsToUtm_data()
{
    QTest::addColumn<double>("latitude");
    QTest::addColumn<double>("longitude");
    QTest::addColumn<QByteArray>("utm");

    QTest::newRow("origin") << 0.0 << 0.0 << QByteArray("31M 166021.4432 0.0000");
    QTest::newRow("negative zero") << -0.0 << 0.0 << QByteArray("31M 166021.4432 0.0000");
    QTest::newRow("edge of a zone") << 45.0 << -72.0 << QByteArray("19S 263553.9739 4987333.9898");
    QTest::newRow("north") << 4.0 << -74.0 << QByteArray("18M 611011.3297 442194.9725");
    // On the central meridian nothing but the meridian arc counts: 4,429,529.0302 m at 40° (Snyder, equation
    // 3-21).
    QTest::newRow("central meridian") << 40.0 << -75.0 << QByteArray("18S 500000.0000 4427757.2189");
    QTest::newRow("south") << -40.0 << -75.0 << QByteArray("18G 500000.0000 5572242.7811");
    QTest::newRow("last meridian") << 0.0 << 180.0 << QByteArray("61M 166021.4432 0.0000");
    QTest::newRow("before the last") << 0.0 << 179.999 << QByteArray("60M 833867.1282 0.0000");
    QTest::newRow("first meridian") << 0.0 << -180.0 << QByteArray("1M 166021.4432 0.0000");
}

void GeodesyTest::convertsToUtm()
{
    QFETCH(double, latitude);
    QFETCH(double, longitude);
    QTEST(described(latLonToUtm(latitude, longitude)), "utm");
}

void GeodesyTest::lettersFollowTheLatitude_data()
{
    QTest::addColumn<double>("latitude");
    QTest::addColumn<char>("at");
    QTest::addColumn<char>("below");

    const QByteArray letters = "XWVUTSRQPNMLKJHGFED";
    const double latitudes[] = {84, 72, 64, 56, 48, 40, 32, 24, 16, 8, 0, -8, -16, -24, -32, -40, -48, -56};
    for (int i = 0; i < 18; ++i)
        QTest::addRow("%g", latitudes[i]) << latitudes[i] << letters[i] << letters[i + 1];
}

void GeodesyTest::lettersFollowTheLatitude()
{
    QFETCH(double, latitude);
    QTEST(latLonToUtm(latitude, 0).zoneLetter, "at");
    QTEST(latLonToUtm(latitude - 0.0001, 0).zoneLetter, "below");
}

void GeodesyTest::convertsBack()
{
    for (int zone = 1; zone <= 60; zone += 7) {
        for (double latitude = -79.5; latitude < 84; latitude += 0.5) {
            for (double east = -1; east <= 1; east += 0.25) {
                const double longitude = zone * 6 - 183 + east;
                const UtmPosition utm = latLonToUtm(latitude, longitude);
                if ((utm.zoneLetter < 'N') != (latitude < 0))
                    continue; // from 0° to 8° north the letter counts as southern
                const GeoPosition geo = utmToLatLon(utm.zone, utm.zoneLetter, utm.easting, utm.northing);
                QVERIFY2(std::abs(geo.latitude - latitude) < 1e-6, qPrintable(QString::number(latitude)));
                QVERIFY2(std::abs(geo.longitude - longitude) < 1e-6, qPrintable(QString::number(longitude)));
            }
        }
    }
}

void GeodesyTest::takesTheHemisphereFromTheLetter()
{
    const GeoPosition north = utmToLatLon(18, 'N', 611011.32968339, 442194.97248047);
    QVERIFY(std::abs(north.latitude - 4) < 1e-8 && std::abs(north.longitude + 74) < 1e-8);
    const GeoPosition lowerCase = utmToLatLon(18, 'h', 611011.32968339, 442194.97248047);
    QCOMPARE(lowerCase.latitude, north.latitude);
    for (const char letter : {'M', 'C', '\0', '\xd1'}) { // also what is negative as a signed byte
        const GeoPosition south = utmToLatLon(18, letter, 611011.32968339, 442194.97248047);
        QCOMPARE(QByteArray::number(south.latitude, 'f', 2), "-85.93");
        QCOMPARE(QByteArray::number(south.longitude, 'f', 2), "-60.83");
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
    QLocale::setDefault(QLocale(QStringLiteral("es_CL")));
    QCOMPARE(formatUtm(19, 'H', 345678.4, 6298765.6), QStringLiteral("19H 345678 6298766"));
    QCOMPARE(formatUtm(19, '\0', 345678.4, -0.6), QStringLiteral("19 345678 -1"));
    QCOMPARE(formatUtm(1, '\xd1', 1, 2), QStringLiteral("1Ñ 1 2"));
    QCOMPARE(formatLatLon(-33.45, -70.6667), QStringLiteral("33° 27' 0\" S 70° 40' 0\" W"));
    QCOMPARE(formatLatLon(1, 2), QStringLiteral("1° 0' 0\" N 2° 0' 0\" E"));
    QLocale::setDefault(before);
}

void GeodesyTest::formatsDegrees_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("zero") << 0.0 << QStringLiteral("0° 0' 0\" +");
    QTest::newRow("negative zero") << -0.0 << QStringLiteral("0° 0' 0\" +");
    QTest::newRow("west") << -70.6667 << QStringLiteral("70° 40' 0\" -");
    QTest::newRow("without carry") << 10.99999 << QStringLiteral("10° 59' 60\" +");
    QTest::newRow("rounded up") << 10.0 + 30.75 / 3600 << QStringLiteral("10° 0' 31\" +");
}

void GeodesyTest::formatsDegrees()
{
    QFETCH(double, value);
    QTEST(formatDms(value, QStringLiteral("+"), QStringLiteral("-")), "text");
}

void GeodesyTest::formatsHeadings_data()
{
    QTest::addColumn<double>("heading");
    QTest::addColumn<QString>("text");
    const auto add = [](double heading, const char *text) {
        QTest::addRow("%g", heading) << heading << QString::fromUtf8(text);
    };
    add(5.4, "005° N");
    add(11.2, "011° N");
    add(11.25, "011° NNE");
    add(45, "045° NE");
    add(90, "090° E");
    add(112.5, "113° ESE");
    add(270, "270° W");
    add(348.74, "349° NNW");
    add(348.75, "349° N");
    add(359.6, "000° N");
    add(725, "005° N");
    add(-10, "-10° N");
    add(-11.25, "-11° NNW");
    add(-90, "-90° W");
    add(notANumber, "000° N");
    add(infinity, "000° N");
}

void GeodesyTest::formatsHeadings()
{
    QFETCH(double, heading);
    QTEST(formatOrientation(heading), "text");
}

QTEST_GUILESS_MAIN(GeodesyTest)
#include "geodesy.moc"
