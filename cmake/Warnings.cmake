# SPDX-License-Identifier: GPL-3.0-or-later
# velmaro_compile_settings(target): the warnings every target must be clean of, strict floating point (a compiler may not
# fuse the operations of a formula on its own), and the sanitizers when they are asked for.
function(velmaro_compile_settings target)
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_FOREACH
        QT_USE_QSTRINGBUILDER)
    if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off)
        if(VELMARO_SANITIZE)
            set(sanitizers ${VELMARO_SANITIZE})
            if(VELMARO_SANITIZE STREQUAL "address")
                set(sanitizers address,undefined,float-cast-overflow)
            endif()
            target_compile_options(${target} PRIVATE -fsanitize=${sanitizers} -fno-sanitize-recover=all
                -fno-omit-frame-pointer)
            if(VELMARO_SANITIZE STREQUAL "thread" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
                target_compile_options(${target} PRIVATE -Wno-tsan) # fences of the standard library's headers
            endif()
            target_link_options(${target} PRIVATE -fsanitize=${sanitizers})
        endif()
    endif()
endfunction()
