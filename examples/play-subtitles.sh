#!/usr/bin/env bash
# Burns subtitles of any encoding into a video:
#   play-subtitles.sh [--from NAME] [--prefer LIST] VIDEO SUBTITLES OUTPUT [FONT]
# The subtitles reach ffmpeg as UTF-8, whatever they were; their file is left alone. Any format that ffmpeg reads will
# do, such as .srt, .ass or .vtt. The font is a family name; .ass files keep their own unless it is given.
# --from and --prefer are those of zucharset convert. The command is looked for beside this script, on the PATH, and
# where ./run.sh leaves it.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

stop() { # EXIT-CODE MESSAGE
    echo "play-subtitles.sh: $2" >&2
    exit "$1"
}

options=()
while [ $# -gt 0 ]; do
    case $1 in
    --from=* | --prefer=*) options+=("$1") ;;
    --from | --prefer)
        [ $# -gt 1 ] || stop 2 "$1 needs a value"
        options+=("$1=$2")
        shift
        ;;
    -h | --help)
        sed -n '2,/^set /{s/^# \{0,1\}//p}' "${BASH_SOURCE[0]}"
        exit
        ;;
    --)
        shift
        break
        ;;
    -?*) stop 2 "unknown option $1; see --help" ;;
    *) break ;;
    esac
    shift
done
[ $# -eq 3 ] || [ $# -eq 4 ] ||
    stop 2 "usage: play-subtitles.sh [--from NAME] [--prefer LIST] VIDEO SUBTITLES OUTPUT [FONT]"
video=$1 subtitles=$2 output=$3 font=${4:-}

zucharset=$here/zucharset
[ -x "$zucharset" ] || zucharset=$(command -v zucharset) || zucharset=$here/../build/release/zucharset
[ -x "$zucharset" ] || stop 1 "the zucharset command is missing: build it with ./run.sh, or put it on the PATH"
command -v ffmpeg >/dev/null || stop 1 "ffmpeg is missing; in Debian: apt-get install ffmpeg"

# ffmpeg's filter reads a file, not a pipe, and its options treat some characters of a path as their own; so it gets a
# plain name in a scratch folder, with the extension, which tells ffmpeg the format where the text leaves it open.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
extension=$(sed -nE 's/.*\.([[:alnum:]]+)$/\1/p' <<<"${subtitles##*/}" | tr '[:upper:]' '[:lower:]')
text=$scratch/text${extension:+.$extension}
status=0
"$zucharset" convert --quiet "${options[@]}" --output="$text" -- "$subtitles" || status=$?
[ "$status" -le 1 ] || exit "$status" # 1: the text is there, and the command has told what it lacks

case $extension in
ass | ssa) ;;
*) font=${font:-WenQuanYi Zen Hei} ;;
esac
plainly() { # PATH-OR-ADDRESS: so that ffmpeg takes a path for neither an option nor a protocol
    case $1 in /* | *://*) echo "$1" ;; *) echo "./$1" ;; esac
}
ffmpeg -nostdin -v error -y -i "$(plainly "$video")" \
    -vf "subtitles=$text${font:+:force_style='FontName=$font'}" -c:a copy "$(plainly "$output")"
