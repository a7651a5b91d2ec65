// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

/// The walks of the program differ in what they take, on purpose.
enum class PhotoWalk {
    Batch,   ///< no symbolic links
    Preview, ///< readable files, symbolic links included
    Sample,  ///< symbolic links of the folder itself; none once subfolders are walked
};

/// The absolute paths of the photos of a folder (names ending in .jpg, .jpeg, .png or .tiff in any case), in
/// the order of the directory iterator, unsorted. With subfolders the folder "Backup" directly inside
/// `directory` is left out: it holds the untouched copies. An empty `directory` is no folder and gives no
/// photos.
QStringList findPhotos(const QString &directory, bool includeSubfolders, PhotoWalk walk);
