# SPDX-License-Identifier: GPL-3.0-or-later
# Finds the TurboJPEG interface of libjpeg-turbo as TurboJpeg::TurboJpeg.
find_package(libjpeg-turbo CONFIG QUIET)
if(TARGET libjpeg-turbo::turbojpeg)
    add_library(TurboJpeg::TurboJpeg ALIAS libjpeg-turbo::turbojpeg)
else()
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(TurboJpeg REQUIRED IMPORTED_TARGET GLOBAL libturbojpeg)
    add_library(TurboJpeg::TurboJpeg ALIAS PkgConfig::TurboJpeg)
endif()
