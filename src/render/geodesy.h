// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// A position in UTM on WGS84. Northings of southern positions carry the false northing of 10,000,000 m.
struct UtmPosition {
    int zone = 0;          ///< 1 to 60; not checked
    char zoneLetter = 'N'; ///< band letter, a Latin-1 character; NUL when there is none
    double easting = 0.0;  ///< metres
    double northing = 0.0; ///< metres
};

/// A position in decimal degrees on WGS84, north and east positive.
struct GeoPosition {
    double latitude = 0.0;
    double longitude = 0.0;
};

/// Converts a position in decimal degrees to UTM.
///
/// The transverse Mercator series of J. P. Snyder, "Map Projections: A Working Manual" (USGS Professional
/// Paper 1395, 1987), equations 8-9 and 8-10, with one coefficient that the names of photos already delivered
/// carry (see the implementation). Zones are six degrees wide everywhere, without the exceptions of Norway
/// and Svalbard, and longitude 180 gives zone 61. The band letter is the one south of the usual UTM
/// lettering: 0° to 8° is "M".
///
/// Any double is taken; beyond ±90 and ±180 the same formulas apply, and NaN gives NaN coordinates. Never
/// fails.
UtmPosition latLonToUtm(double latitude, double longitude);

/// Converts a UTM position (metres) to decimal degrees. Letters before "N" count as southern, all others as
/// northern.
///
/// Snyder (1987), equations 8-17 and 8-18, with the footpoint latitude of equation 3-26. Never fails; no
/// range is checked.
GeoPosition utmToLatLon(int zone, char zoneLetter, double easting, double northing);

/// "19H": the zone and its band letter; the letter is left out when it is NUL.
QString formatZone(int zone, char zoneLetter);

/// "19H 345678 6298766": zone and band letter, easting and northing rounded to whole metres.
QString formatUtm(int zone, char zoneLetter, double easting, double northing);

/// "33° 27' 0\" S": degrees, minutes and rounded seconds of `value` (decimal degrees), with the label of its
/// sign. Zero, also negative zero, takes the positive label. Seconds that round up to 60 are shown as 60.
QString formatDms(double value, const QString &positiveLabel, const QString &negativeLabel);

/// The DMS texts of latitude (N, S) and longitude (E, W), in decimal degrees, with a blank between them.
QString formatLatLon(double latitude, double longitude);

/// "045° NE": the heading (degrees) rounded and brought below 360, in at least three characters, and its
/// compass point. A heading that is no number is shown as 0.
QString formatOrientation(double degrees);

/// The name, out of 16, of the compass point nearest to a heading in degrees; halfway goes to the higher
/// point. Headings of any size and sign are taken; one that is no number gives "N".
QString compassPointName(double degrees);
