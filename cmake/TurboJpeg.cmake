# SPDX-License-Identifier: GPL-3.0-or-later
# Finds the two interfaces of libjpeg-turbo: libjpeg's own as PkgConfig::Jpeg, for coefficients, and TurboJPEG as
# PkgConfig::TurboJpeg, for pixels. Its CMake package names static libraries that some distributions do not ship, so it is
# not asked.
find_package(PkgConfig REQUIRED)
pkg_check_modules(Jpeg REQUIRED IMPORTED_TARGET GLOBAL libjpeg)
pkg_check_modules(TurboJpeg REQUIRED IMPORTED_TARGET GLOBAL libturbojpeg)
