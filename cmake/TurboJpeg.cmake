# SPDX-License-Identifier: GPL-3.0-or-later
# Finds the TurboJPEG interface of libjpeg-turbo as PkgConfig::TurboJpeg. Its CMake package names static libraries that some
# distributions do not ship, so it is not asked.
find_package(PkgConfig REQUIRED)
pkg_check_modules(TurboJpeg REQUIRED IMPORTED_TARGET GLOBAL libturbojpeg)
