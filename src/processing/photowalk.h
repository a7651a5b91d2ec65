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
/// the order of the file system, unsorted; hidden files and folders are left out. An empty `directory` is no
/// folder and gives no photos.
///
/// With subfolders the untouched copies are left out: the folder "Backup" directly inside `directory`, and
/// in every deeper "Backup" what is called as the copies are. Whether "backup" is "Backup" is for the file
/// system to say.
///
/// `passedOver`, if given, gets a line for every photo or folder that could not be taken: because its name is
/// no UTF-8, or the folder could not be read.
QStringList findPhotos(const QString &directory, bool includeSubfolders, PhotoWalk walk,
                       QStringList *passedOver = nullptr);
