#!/bin/bash
# Runs the lines of docs/program.md that have `orvane stream` between two ffmpeg processes, unchanged, on a video that is
# created here. ffmpeg is Debian's, and orvane runs in Wine.
#
# usage: stream_lines.sh ORVANE_EXE MODEL
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
program=$(realpath "$1")
model=$(realpath "$2")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

orvane() { "$root/tools/wine/run-wine" "$program" "$@" --model "$model" --channels 32 --depth 2 --quiet; }
frames_of() { ffprobe -v error -count_frames -select_streams v -show_entries stream=width,height,nb_read_frames -of csv=p=0 "$1"; }

ffmpeg -v error -f lavfi -i testsrc=s=32x24:r=25:d=0.4 -f lavfi -i sine=d=0.4 -pix_fmt yuv420p in.mp4
mapfile -t lines < <(grep -E '^    ffmpeg .*\| orvane stream' "$root/docs/program.md")
[ ${#lines[@]} -ge 2 ] || { echo "the lines are gone from docs/program.md" >&2; exit 1; }
for line in "${lines[@]}"; do
  echo "$line"
  rm -f out.*
  eval "$line"
  got=$(frames_of out.*)
  [ "$got" = 64,48,10 ] || { echo "width, height and frames are $got" >&2; exit 1; }
done
