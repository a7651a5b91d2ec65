// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/cornerposition.h"

#include <QColor>
#include <QString>

/// What one run does to its photos.
struct ProcessOptions {
    QString logoPath;           ///< logo image; empty: no logo
    QString fontPath;           ///< font file of the overlay text; empty: the default font
    double fontSizeRatio = 0.0; ///< text point size, relative to the image height
    bool useExif = false;       ///< data from each photo's EXIF; otherwise from the coordinates file
    QString txtPath;            ///< coordinates file; not read when `useExif` is set
    QColor fontColor;
    double logoRatio = 0.0; ///< logo width, relative to the image width; drawn only when above 0
    CornerPosition logoPosition;
    CornerPosition dtPosition;
    CornerPosition coordsPosition;
    CornerPosition orientationPosition;
    double compassRatio = 0.0; ///< compass rose size, relative to the shorter side of the image
    bool renamePhotos = false; ///< name each photo after its UTM position
    bool usePrefix = false;    ///< put `prefix` in front of the new name
    QString prefix;
    bool includeSubfolders = false;
    bool addCompass = false;
    bool drawOrientation = false;
    bool drawTime = false;       ///< the time after the date
    bool drawData = false;       ///< the text blocks at all
    bool drawGeo = false;        ///< latitude and longitude in place of the UTM line
    bool bgText = false;         ///< a box behind the text
    bool embedCsvInExif = false; ///< in coordinates-file mode: write fresh GPS and date tags
    CornerPosition compassPosition;
    bool createBackup = false;  ///< keep a copy of the untouched photo; for work in place
    bool rotateCompass = false; ///< turn the dial instead of the pointer
    int compassStyle = 0;       ///< 0 to 3, see `drawCompassRose`
    QColor compassArrowColor;
    int jpegQuality = 90; ///< 1 to 100
    bool lossless =
        false; ///< a JPEG keeps its coefficients outside the stamp; one that cannot gets quality 100
    bool useOutputFolder =
        false; ///< write the results into `outputFolder` instead of changing the photos in place
    QString outputFolder;
    bool drawAltitude = false;
    CornerPosition altitudePosition;
};
