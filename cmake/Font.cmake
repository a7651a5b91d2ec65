# SPDX-License-Identifier: GPL-3.0-or-later
# The default font of the overlay is the Noto Sans Regular of the distribution, beside the executable as "notosans.ttf".
find_file(VELMARO_NOTO_SANS NotoSans-Regular.ttf
    PATHS /usr/share/fonts /usr/local/share/fonts
    PATH_SUFFIXES truetype/noto noto google-noto google-noto-sans-fonts TTF
    DOC "Noto Sans Regular, the default font of the overlay")
if(NOT VELMARO_NOTO_SANS)
    message(WARNING "Noto Sans Regular was not found (package fonts-noto-core): without it the overlay takes the system's "
        "general font. Set VELMARO_NOTO_SANS to the file.")
endif()

# velmaro_copy_font(target): puts the font beside the executable of a target, in the build and in the installation.
function(velmaro_copy_font target)
    if(VELMARO_NOTO_SANS)
        add_custom_command(TARGET ${target} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E copy_if_different "${VELMARO_NOTO_SANS}"
                "$<TARGET_FILE_DIR:${target}>/notosans.ttf"
            VERBATIM)
    endif()
endfunction()
