# Completes the command line of qdn-configure in bash.
# shellcheck shell=bash

_qdn_configure() {
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]}
    local -a words=()
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=(-configure -iconfigure -clean -help -version)
    elif [ "${COMP_WORDS[COMP_CWORD - 1]}" = -dir ] || { [ "$command" = -clean ] && [ "$COMP_CWORD" -eq 2 ]; }; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        return
    else
        case $command in
            -configure) words=(-quiet -noimode -nosearch -dir) ;;
            -iconfigure) words=(-quiet -nosearch -dir) ;;
            -clean) words=(-quiet) ;;
            -help | -h | --help | help) words=(-configure -iconfigure -clean) ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "${words[*]}" -- "$word")
}

complete -F _qdn_configure qdn-configure qdn-configure.bin
