// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "core/cornerposition.h"

#include <QColor>
#include <QString>

/// The look of the overlay and the choice of names: what a profile stores, and a run carries out.
struct StampOptions {
    QString logoPath;           ///< logo image; empty: no logo
    QString fontPath;           ///< font file of the overlay text; empty: the default font
    double fontSizeRatio = 0.0; ///< text point size, relative to the image height
    double logoRatio = 0.0;     ///< logo width, relative to the image width; drawn only when above 0
    CornerPosition logoPosition;
    CornerPosition dtPosition;
    CornerPosition coordsPosition;
    CornerPosition orientationPosition;
    double compassRatio = 0.0; ///< compass rose size, relative to the shorter side of the image
    CornerPosition compassPosition;
    int compassStyle = 0; ///< 0 to 3, see `drawCompassRose`
    QColor compassArrowColor;
    bool rotateCompass = false; ///< turn the dial instead of the pointer
    bool usePrefix = false;     ///< put `prefix` in front of the new name
    QString prefix;
    bool renamePhotos = false; ///< name each photo after its UTM position
    bool drawData = false;     ///< the text blocks at all
    bool drawOrientation = false;
    bool drawTime = false; ///< the time after the date
    bool addCompass = false;
    bool bgText = false;  ///< a box behind the text
    bool drawGeo = false; ///< latitude and longitude in place of the UTM line
    bool drawAltitude = false;
    CornerPosition altitudePosition;
};

/// Where the data and the photos of a run come from and where they go: what no profile stores.
struct RunOptions {
    bool useExif = false; ///< data from each photo's EXIF; otherwise from the coordinates file
    QString txtPath;      ///< coordinates file; not read when `useExif` is set
    bool includeSubfolders = false;
    bool embedCsvInExif = false; ///< in coordinates-file mode: write fresh GPS and date tags
    bool createBackup = false;   ///< keep a copy of the untouched photo; for work in place
    bool useOutputFolder =
        false; ///< write the results into `outputFolder` instead of changing the photos in place
    QString outputFolder;
    int jpegQuality = 90; ///< 1 to 100

    /// Outside the stamp a JPEG stays as it was, to the coefficient; one that cannot is saved at quality 100.
    bool lossless = false;
};

/// What one run does to its photos.
struct ProcessOptions : StampOptions, RunOptions {
    QColor fontColor;
};
