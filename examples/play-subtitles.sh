#!/usr/bin/env bash
# Burns subtitles of any encoding into a video: play-subtitles.sh VIDEO SUBTITLES OUTPUT [FONT]
# The subtitles reach ffmpeg as UTF-8, whatever they were; their file is left alone. The font is a family name.
set -euo pipefail
if [ $# -lt 3 ] || [ $# -gt 4 ]; then
    echo "usage: play-subtitles.sh VIDEO SUBTITLES OUTPUT [FONT]" >&2
    exit 2
fi
video=$1 subtitles=$2 output=$3 font=${4:-WenQuanYi Zen Hei}

# ffmpeg's filter reads a file, not a pipe, and its options treat some characters of a path as their own; so it gets a
# plain name in a scratch folder. ffmpeg itself turns the text into ASS on the way there.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
zucharset convert --join-surrogates --strip-bom "$subtitles" |
    ffmpeg -v error -f srt -i - "$scratch/text.ass"
ffmpeg -v error -y -i "$video" -vf "subtitles=$scratch/text.ass:force_style='FontName=$font'" -c:a copy "$output"
