# Completion of zucharset for bash. The command itself says what it takes: its help names the options of each
# subcommand, its list the encodings.
_zucharset() {
    local cur prev words cword
    _init_completion -n = || return
    local command=${words[0]} subcommand='' word
    for word in "${words[@]:1:cword-1}"; do
        [[ $word == -* ]] || { subcommand=$word; break; }
    done
    local help
    help=$("$command" ${subcommand:+"$subcommand"} --help 2>/dev/null)

    case $prev in
        -f | -t | --from | --from-code | --to-code | --prefer)
            # Names may be written in any case.
            COMPREPLY=($("$command" list 2>/dev/null |
                awk -v start="${cur,,}" '$1 ~ /^[0-9]+$/ && index(tolower($2), start) == 1 { print $2 }'))
            return ;;
        -o | --output) _filedir; return ;;
        --out-dir) _filedir -d; return ;;
        --*)
            # An option that takes another value: nothing to offer.
            if grep -qE -- "^ +(-[a-z], ?)?$prev +[A-Z]" <<<"$help"; then return; fi ;;
    esac
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$(grep -oE -- '^ +(-[a-z],)?--[a-z0-9-]+' <<<"$help" | grep -oE -- '--[a-z0-9-]+')" -- "$cur"))
    elif [[ -z $subcommand ]]; then
        COMPREPLY=($(compgen -W "$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p' <<<"$help")" -- "$cur"))
        _filedir
    elif [[ $subcommand != list ]]; then
        _filedir
    fi
}
complete -F _zucharset zucharset
