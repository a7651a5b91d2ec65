# SPDX-License-Identifier: GPL-3.0-or-later
# Finds exiv2 as Exiv2::exiv2lib. 0.28 ships that target; the 0.27 packages of Debian 12 and Ubuntu 24.04 ship it as
# "exiv2lib", and some builds ship a pkg-config file only.
find_package(exiv2 CONFIG QUIET)
if(TARGET Exiv2::exiv2lib)
    # as 0.28 names it
elseif(TARGET exiv2lib)
    add_library(Exiv2::exiv2lib ALIAS exiv2lib)
else()
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(Exiv2 REQUIRED IMPORTED_TARGET GLOBAL exiv2>=0.27)
    add_library(Exiv2::exiv2lib ALIAS PkgConfig::Exiv2)
endif()
