#compdef zucharset
# Completion of zucharset for zsh. The command itself says what it takes: its help names the options of each
# subcommand, its list the encodings.
local command=$words[1] subcommand word
for word in ${words[2,CURRENT-1]}; do
    [[ $word == -* ]] || { subcommand=$word; break }
done
local -a help=("${(@f)$(_call_program help $command $subcommand --help 2>/dev/null)}")

case $words[CURRENT-1] in
    -f|-t|--from|--from-code|--to-code|--prefer)
        local -a encodings=(${${(M)${(f)"$(_call_program list $command list 2>/dev/null)"}:#[[:space:]]#<->[[:space:]]*}/(#b)[[:space:]]#<->[[:space:]]##([^[:space:]]##)*/$match[1]})
        _describe encoding encodings -M 'm:{a-zA-Z}={A-Za-z}' # names may be written in any case
        return ;;
    --out-dir) _files -/; return ;;
esac
if [[ $PREFIX == -* ]]; then
    local -a options
    local line
    for line in $help; do
        [[ $line =~ '^ +(-[a-z],)?(--[a-z0-9-]+)' ]] || continue
        local option=$match[2]
        [[ $line =~ '[^ ]  +(.*)$' ]] && option+=":$match[1]" # what it does, if that stands on the same line
        options+=($option)
    done
    _describe -o option options
    return
fi
if [[ -z $subcommand ]]; then
    local -a subcommands
    local inside=
    for line in $help; do
        case $line in
            Subcommands:) inside=yes ;;
            [^\ ]*) inside= ;;
            *) [[ -n $inside && $line =~ '^  ([a-z]+) +(.*)$' ]] && subcommands+=("$match[1]:$match[2]") ;;
        esac
    done
    _describe subcommand subcommands
fi
[[ $subcommand == list ]] || _files
