// SPDX-License-Identifier: GPL-3.0-or-later
#include "render/geodesy.h"

#include "core/numbers.h"

#include <array>
#include <cmath>

namespace
{

// WGS84. Forward and reverse conversion differ by one unit in the last place of the eccentricities; names and
// texts already delivered depend on these digits.
constexpr double semiMajorAxis = 6378137.0;
constexpr double forwardE2 = 0.0066943799901413165;
constexpr double forwardEp2 = 0.006739496742276434;
constexpr double reverseE2 = 0.006694379990141316;
constexpr double reverseEp2 = 0.006739496742276433;
constexpr double centralScale = 0.9996;
constexpr double falseEasting = 500000.0;
constexpr double falseNorthing = 10000000.0;
constexpr double pi = 3.141592653589793;

constexpr double radians(double degrees)
{
    return degrees * pi / 180;
}

constexpr double degrees(double radians)
{
    return radians * 180 / pi;
}

double centralMeridian(int zone)
{
    return radians(static_cast<double>(qint64(zone) * 6 - 183));
}

struct Band {
    double fromLatitude;
    char letter;
};

constexpr std::array<Band, 18> bands{{{84, 'X'},
                                      {72, 'W'},
                                      {64, 'V'},
                                      {56, 'U'},
                                      {48, 'T'},
                                      {40, 'S'},
                                      {32, 'R'},
                                      {24, 'Q'},
                                      {16, 'P'},
                                      {8, 'N'},
                                      {0, 'M'},
                                      {-8, 'L'},
                                      {-16, 'K'},
                                      {-24, 'J'},
                                      {-32, 'H'},
                                      {-40, 'G'},
                                      {-48, 'F'},
                                      {-56, 'E'}}};

char bandLetter(double latitude)
{
    for (const Band &band : bands) {
        if (latitude >= band.fromLatitude)
            return band.letter;
    }
    return 'D';
}

// The length of the meridian from the equator to a latitude in radians: Snyder (1987), equation 3-21, with
// the coefficients worked out for WGS84.
double meridianArc(double latitude)
{
    return semiMajorAxis *
           (0.9983242984527954 * latitude - 0.002514607060518705 * std::sin(2 * latitude) +
            2.6390465943376213e-6 * std::sin(4 * latitude) - 3.4180460865957878e-9 * std::sin(6 * latitude));
}

// The latitude in radians whose meridian arc gives the rectifying latitude `mu`: Snyder (1987), equation
// 3-26.
double footpointLatitude(double mu)
{
    double latitude = mu;
    latitude = std::fma(0.002518826584390675, std::sin(2 * mu), latitude);
    latitude = std::fma(3.700949035620495e-6, std::sin(4 * mu), latitude);
    latitude = std::fma(7.447813767503831e-9, std::sin(6 * mu), latitude);
    return std::fma(1.703599323859595e-11, std::sin(8 * mu), latitude);
}

} // namespace

UtmPosition latLonToUtm(double latitude, double longitude)
{
    UtmPosition utm;
    const double zone = (longitude + 180) / 6;
    utm.zone = truncated(std::trunc(zone) + 1);
    utm.zoneLetter = bandLetter(latitude);

    const double phi = radians(latitude);
    const double lambda = radians(longitude);
    const double s = std::sin(phi);
    const double c = std::cos(phi);
    const double tanPhi = std::tan(phi);

    const double N = semiMajorAxis / std::sqrt(1 + (-forwardE2) * s * s);
    const double T = tanPhi * tanPhi;
    const double C = forwardEp2 * c * c;
    const double A = c * (lambda - centralMeridian(utm.zone));
    const double M = meridianArc(phi);

    utm.easting = centralScale * N *
                      (A + (1 - T + C) * std::pow(A, 3) / 6 +
                       (5 - 18 * T + T * T + 72 * C - 0.39089081105203316) * std::pow(A, 5) / 120) +
                  falseEasting;

    // The textbook has 5 - T + 9C + 4C². The T in place of that C moves the northing by up to some metres
    // near the edges of a zone; it stays, since names and texts already delivered carry it.
    utm.northing =
        centralScale * (M + N * tanPhi *
                                (A * A / 2 + (5 - T + 9 * T + 4 * C * C) * std::pow(A, 4) / 24 +
                                 (61 - 58 * T + T * T + 600 * C - 2.224033924951223) * std::pow(A, 6) / 720));
    if (latitude < 0)
        utm.northing += falseNorthing;
    return utm;
}

GeoPosition utmToLatLon(int zone, char zoneLetter, double easting, double northing)
{
    const double x = easting - falseEasting;
    const bool southern = static_cast<signed char>(zoneLetter) < static_cast<signed char>('N');
    const double y = southern ? northing - falseNorthing : northing;

    const double mu = (y / centralScale) / 6367449.145960817;
    const double phi1 = footpointLatitude(mu);
    const double s1 = std::sin(phi1);
    const double c1 = std::cos(phi1);
    const double tanPhi1 = std::tan(phi1);

    const double C1 = reverseEp2 * c1 * c1;
    const double T1 = tanPhi1 * tanPhi1;
    const double W = 1 + (-reverseE2) * s1 * s1;
    const double N1 = semiMajorAxis / std::sqrt(W);
    const double R1 = -6335439.3272928195 / std::pow(W, 1.5); // negative, so the bracket below is subtracted
    const double D = x / (N1 * centralScale);

    const double phi =
        phi1 +
        (tanPhi1 * N1 / R1) *
            (D * D / 2 - (5 + 3 * T1 + 10 * C1 - 4 * C1 * C1 - 0.0606554706804879) * std::pow(D, 4) / 24 +
             (61 + 90 * T1 + 298 * C1 + 45 * T1 * T1 - 1.6983531790536612 - 3 * C1 * C1) * std::pow(D, 6) /
                 720);
    const double lambda =
        centralMeridian(zone) +
        (D - (1 + 2 * T1 + C1) * std::pow(D, 3) / 6 +
         (5 - 2 * C1 + 28 * T1 - 3 * C1 * C1 + 0.053915973938211466 + 24 * T1 * T1) * std::pow(D, 5) / 120) /
            c1;
    return {degrees(phi), degrees(lambda)};
}

QString formatZone(int zone, char zoneLetter)
{
    // A NUL stands for "no letter" and would cut a file name short.
    const QString letter = zoneLetter == '\0' ? QString() : QString(QLatin1Char(zoneLetter));
    return QString::number(zone) + letter;
}

QString formatUtm(int zone, char zoneLetter, double easting, double northing)
{
    return QStringLiteral("%1 %2 %3")
        .arg(formatZone(zone, zoneLetter), QString::number(easting, 'f', 0),
             QString::number(northing, 'f', 0));
}

QString formatDms(double value, const QString &positiveLabel, const QString &negativeLabel)
{
    const QString &label = value >= 0 ? positiveLabel : negativeLabel;
    const double v = std::abs(value);
    const double wholeDegrees = std::trunc(v);
    const double f = v - wholeDegrees;
    const double wholeMinutes = std::trunc(f * 60);
    const double seconds = (f - wholeMinutes / 60) * 3600;
    return QStringLiteral("%1° %2' %3\" %4")
        .arg(QString::number(truncated<qint64>(wholeDegrees)),
             QString::number(truncated<qint64>(wholeMinutes)), QString::number(rounded<qint64>(seconds)),
             label);
}

QString formatLatLon(double latitude, double longitude)
{
    return formatDms(latitude, QStringLiteral("N"), QStringLiteral("S")) + QLatin1Char(' ') +
           formatDms(longitude, QStringLiteral("E"), QStringLiteral("W"));
}

QString compassPointName(double heading)
{
    static const std::array<QString, 16> names{
        QStringLiteral("N"), QStringLiteral("NNE"), QStringLiteral("NE"), QStringLiteral("ENE"),
        QStringLiteral("E"), QStringLiteral("ESE"), QStringLiteral("SE"), QStringLiteral("SSE"),
        QStringLiteral("S"), QStringLiteral("SSW"), QStringLiteral("SW"), QStringLiteral("WSW"),
        QStringLiteral("W"), QStringLiteral("WNW"), QStringLiteral("NW"), QStringLiteral("NNW"),
    };
    int index = truncated(std::fmod(std::round(heading / 22.5), 16.0));
    if (index < 0)
        index += 16;
    return names[static_cast<size_t>(index)];
}

QString formatOrientation(double heading)
{
    const int shown = truncated(std::fmod(std::round(heading), 360.0));
    return QStringLiteral("%1° %2").arg(QStringLiteral("%1").arg(shown, 3, 10, QLatin1Char('0')),
                                        compassPointName(heading));
}
