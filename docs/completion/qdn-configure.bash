# Completes the command line of qdn-configure in bash.
# shellcheck shell=bash

_qdn_configure() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} command=${COMP_WORDS[1]} at
    local -a words=()
    COMPREPLY=()
    if [ "$command" = -preview ] || [ "$command" = -apply ]; then # the command after it has options of its own
        for ((at = 2; at < COMP_CWORD; ++at)); do
            case ${COMP_WORDS[at]} in -configure | -iconfigure | -clean) command=${COMP_WORDS[at]} && break ;; esac
        done
    fi
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=(-configure -iconfigure -clean -preview -apply -status -help -version)
    elif [ "$command/$before" = -preview/-out ] || [ "$command/$before" = -apply/-plan ]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        return
    elif [ "$command" = -status ] && [[ $word != -* ]] && [ -n "$word" ]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        return
    elif [ "$before" = -dir ] || [ "$command/$before" = -clean/-clean ]; then
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        return
    else
        case $command in
            -configure) words=(-quiet -noimode -nosearch -dir) ;;
            -iconfigure) words=(-quiet -nosearch -dir) ;;
            -clean) words=(-quiet) ;;
            -preview) words=(-json -exit-code -out -configure -iconfigure -clean) ;;
            -apply) words=(-json -yes -or-plainly -plan -wait -configure -iconfigure -clean) ;;
            -status) words=(-json -connect) ;;
            -help | -h | --help | help) words=(-configure -iconfigure -clean -preview -apply -status) ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "${words[*]}" -- "$word")
}

complete -F _qdn_configure qdn-configure qdn-configure.bin
