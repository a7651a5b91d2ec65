# SPDX-License-Identifier: GPL-3.0-or-later
# velmaro_copy_font(target): puts the default overlay font, "notosans.ttf", beside the executable of a target. It is the
# Noto Sans Regular of the distribution's font package.
find_file(VELMARO_NOTO_SANS NAMES NotoSans-Regular.ttf
    PATHS
        /usr/share/fonts/truetype/noto       # Debian, Ubuntu
        /usr/share/fonts/google-noto         # Fedora, RHEL
        /usr/share/fonts/google-noto-sans-fonts
        /usr/share/fonts/noto                # Arch, Alpine
        /usr/share/fonts/TTF
        /usr/share/fonts/truetype            # openSUSE
        /usr/local/share/fonts
        /opt/homebrew/share/fonts
    NO_DEFAULT_PATH
    DOC "Noto Sans Regular, the default font of the overlay")
if(NOT VELMARO_NOTO_SANS)
    message(WARNING "Noto Sans Regular was not found: \"notosans.ttf\" will be missing beside the executables, and texts "
        "are drawn in the system's font unless another is chosen. Install the Noto fonts or set VELMARO_NOTO_SANS.")
endif()

function(velmaro_copy_font target)
    if(NOT VELMARO_NOTO_SANS)
        return()
    endif()
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different ${VELMARO_NOTO_SANS} $<TARGET_FILE_DIR:${target}>/notosans.ttf
        VERBATIM)
endfunction()
