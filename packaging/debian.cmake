# SPDX-License-Identifier: GPL-3.0-or-later
# The Debian package, as scripts/package builds it. Libraries are found by dpkg-shlibdeps; what is only loaded or read while the
# programs run is named by its file, and the package that owns the file on the building machine is depended upon.
set(VELMARO_MAINTAINER "Velmaro maintainers <maintainers@velmaro.com>" CACHE STRING "Maintainer of the Debian package")
find_program(VELMARO_DPKG_QUERY dpkg-query)
if(NOT VELMARO_DPKG_QUERY)
    return()
endif()

get_target_property(qmake Qt6::qmake IMPORTED_LOCATION)
foreach(place PLUGINS TRANSLATIONS)
    execute_process(COMMAND ${qmake} -query QT_INSTALL_${place} OUTPUT_VARIABLE ${place} OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
endforeach()
set(depends ca-certificates) # HTTPS of the elevation services
foreach(file
        ${PLUGINS}/platforms/libqxcb.so           # the window
        ${PLUGINS}/platforms/libqoffscreen.so     # velmaro-lote
        ${PLUGINS}/imageformats/libqjpeg.so
        ${PLUGINS}/imageformats/libqtiff.so
        ${PLUGINS}/tls/libqopensslbackend.so
        ${TRANSLATIONS}/qtbase_es.qm
        ${VELMARO_NOTO_SANS})
    execute_process(COMMAND ${VELMARO_DPKG_QUERY} --search ${file} OUTPUT_VARIABLE owner ERROR_QUIET)
    if(owner MATCHES "^([a-z0-9][a-z0-9+.-]*)(:[a-z0-9]+)?: ")
        list(APPEND depends ${CMAKE_MATCH_1})
    elseif(VELMARO_PACKAGE)
        message(FATAL_ERROR "No package owns ${file}, which the programs need while they run.")
    endif()
endforeach()
list(REMOVE_DUPLICATES depends)
list(JOIN depends ", " depends)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME velmaro)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "stamp UTM coordinates onto batches of field photographs")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Names each photo after its UTM position and draws date, position, heading,
altitude, a logo and a compass rose on it, with correct GPS tags inside. The
data come from the EXIF tags of the photos or from a coordinates file. No
original is ever lost: a photo is replaced in one step once its result is
complete.
.
velmaro is the application, in Spanish; velmaro-lote does the same from the
command line, for servers and for clusters.")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${VELMARO_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${depends}")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "parallel, slurm-client")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
    WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
include(CPack)

if(VELMARO_PACKAGE)
    install(FILES copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
    execute_process(COMMAND date --utc --rfc-email --date=${VELMARO_RELEASE_DATE} OUTPUT_VARIABLE VELMARO_RELEASE_DATE_RFC
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    velmaro_install_compressed(changelog.in changelog ${CMAKE_INSTALL_DOCDIR})
endif()
