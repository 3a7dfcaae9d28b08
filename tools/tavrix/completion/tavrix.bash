# Completion of the tavrix program for bash. Commands and options are those that the program's own help lists.

# Prints what the program's help, given the arguments, has of a kind: commands or options.
_tavrix_listed()
{
    local kind=$1
    shift
    case $kind in
        commands) "$@" --help 2>/dev/null | sed -n '/^Subcommands:/,/^[^ ]*$/s/^  \([a-z][a-z-]*\).*/\1/p' ;;
        options) "$@" --help 2>/dev/null | grep -oE '^ +(-[a-zA-Z],)?--[a-z][a-z-]*' | sed 's/.*--/--/' ;;
    esac
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
            COMPREPLY=($(compgen -W "$(_tavrix_listed options "$program")" -- "$word"))
        else
            COMPREPLY=($(compgen -W "$(_tavrix_listed commands "$program")" -- "$word"))
        fi
        return
    fi
    case $command:$previous in
        surface:-o | surface:--output) _tavrix_files "$word" obj stl bin ;;
        preview:-o | preview:--output | *:--preview) _tavrix_files "$word" png ;;
        *:-f | *:--field) COMPREPLY=($(compgen -W $'metaball\nanisotropic\ndistance' -- "$word")) ;;
        *:--up) COMPREPLY=($(compgen -W $'y\nz' -- "$word")) ;;
        preview:--size | *:--preview-size) COMPREPLY=($(compgen -W $'1600x1000\n1920x1080\n3840x2160' -- "$word")) ;;
        *)
            if [[ $word == -* ]]; then
                COMPREPLY=($(compgen -W "$(_tavrix_listed options "$program" "$command")" -- "$word"))
            elif [ "$command" = surface ]; then
                _tavrix_files "$word" bin
            elif [ "$command" = convert ]; then
                _tavrix_files "$word" obj stl bin
            else
                _tavrix_files "$word" bin obj stl
            fi
            ;;
    esac
}

complete -F _tavrix tavrix
