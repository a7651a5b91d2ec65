# bash completion of velmaro-lote                          -*- shell-script -*-
# SPDX-License-Identifier: GPL-3.0-or-later
_velmaro_lote()
{
    local cur prev words cword split
    _init_completion -s || return

    case $prev in
        --perfil)
            _filedir json
            return
            ;;
        --coordenadas)
            _filedir '@(csv|txt)'
            return
            ;;
        --logo)
            _filedir '@(png|jpg|jpeg|bmp|gif|tiff)'
            return
            ;;
        --salida)
            _filedir -d
            return
            ;;
        --calidad)
            COMPREPLY=($(compgen -W 'original 80 90 95 100' -- "$cur"))
            return
            ;;
        --geojson)
            _filedir '@(geojson|json)'
            return
            ;;
        --prefijo | --hilos | --parte)
            return
            ;;
    esac
    $split && return

    if [[ $cur == -* ]]; then
        # The program itself knows its options.
        COMPREPLY=($(compgen -W '$(_parse_help "$1")' -- "$cur"))
    else
        _filedir -d
    fi
} &&
    complete -F _velmaro_lote velmaro-lote
