# Completion of the tavrix program for bash. Commands, options and the names that an option takes are those that
# the program's own help lists, so that this file need not know them.

_tavrix_commands() { "$1" --help 2>/dev/null | sed -n '/^Subcommands:/,/^[^ ]*$/s/^  \([a-z][a-z-]*\).*/\1/p'; }

# The long options of the program's help, given further arguments: they stand before the first two blanks.
_tavrix_options() { "$@" --help 2>/dev/null | sed -nE '/^ +-/{s/^ +//; s/  .*//; p}' | grep -oE -- '--[a-z][a-z-]*'; }

# The names that the help of an option quotes, on however many lines: _tavrix_names OPTION PROGRAM COMMAND
_tavrix_names()
{
    "$2" "$3" --help 2>/dev/null | awk -v option="(^|,)$1(,|\$)" '/^  -/ { on = $1 ~ option } on' |
        grep -oE "'[a-z]+'" | tr -d "'"
}

# Completes a file name with one of the extensions, in small letters or capitals, or a folder.
_tavrix_files()
{
    local word=$1 file extension
    shift
    compopt -o filenames 2>/dev/null
    while IFS= read -r file; do
        [ -d "$file" ] && COMPREPLY+=("$file") && continue
        for extension in "$@"; do
            [[ ${file,,} == *."$extension" ]] && COMPREPLY+=("$file")
        done
    done < <(compgen -f -- "$word")
}

_tavrix()
{
    local program=$1 word=$2 previous=$3 command=${COMP_WORDS[1]} IFS=$'\n'
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        if [[ $word == -* ]]; then
            COMPREPLY=($(compgen -W "$(_tavrix_options "$program")" -- "$word"))
        else
            COMPREPLY=($(compgen -W "$(_tavrix_commands "$program")" -- "$word"))
        fi
        return
    fi
    case $command:$previous in
        surface:-o | surface:--output | levelset:-o | levelset:--output | simplify:-o | simplify:--output | \
            sphere:-o | sphere:--output)
            _tavrix_files "$word" obj stl bin
            ;;
        *:--load-field | *:--save-field) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- "$word")) ;;
        preview:-o | preview:--output | *:--preview) _tavrix_files "$word" png ;;
        *:-f | *:--field) COMPREPLY=($(compgen -W "$(_tavrix_names --field "$program" "$command")" -- "$word")) ;;
        *:--field-format)
            COMPREPLY=($(compgen -W "$(_tavrix_names --field-format "$program" "$command")" -- "$word"))
            ;;
        query:-o | query:--output | query:--points) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- "$word")) ;;
        *:--up) COMPREPLY=($(compgen -W $'y\nz' -- "$word")) ;;
        preview:--size | *:--preview-size) COMPREPLY=($(compgen -W $'1600x1000\n1920x1080\n3840x2160' -- "$word")) ;;
        *)
            if [[ $word == -* ]]; then
                COMPREPLY=($(compgen -W "$(_tavrix_options "$program" "$command")" -- "$word"))
            elif [ "$command" = surface ]; then
                _tavrix_files "$word" bin vtk vtu vtp vts bgeo ply xyz txt csv tsv npy json gz
            elif [ "$command" = convert ] || [ "$command" = simplify ]; then
                _tavrix_files "$word" obj stl bin ase
            elif [ "$command" = sphere ]; then
                COMPREPLY=($(compgen -W $'20\n500' -- "$word"))
            else
                _tavrix_files "$word" obj stl ase bin vtk vtu vtp vts bgeo ply xyz txt csv tsv npy json gz
            fi
            ;;
    esac
}

complete -F _tavrix tavrix
