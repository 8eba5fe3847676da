#!/bin/sh
# The same pipeline with ffmpeg: an X screen of 1920 by 1080 that changes all the time, then one of which
# a quarter changes, captured, converted and encoded at 30 frames a second. Prints its processor time
# a frame.
#
#   compare_x11grab.sh BUILD_FOLDER [SECONDS]
set -eu
build=$1
seconds=${2:-10}
folder=$(mktemp -d)
trap 'kill ${page:-} ${server:-} 2>/dev/null || true; rm -rf "$folder"' EXIT INT TERM

Xvfb -displayfd 3 -screen 0 1920x1080x24 -nolisten tcp -noreset 3>"$folder/display" 2>/dev/null &
server=$!
tries=0
until [ -s "$folder/display" ]; do
  tries=$((tries + 1))
  [ "$tries" -lt 100 ] || { echo "compare_x11grab.sh: no X server" >&2; exit 1; }
  sleep 0.1
done
DISPLAY=:$(cat "$folder/display")
export DISPLAY

# scene NAME [ARGUMENT OF THE PAGE]
scene() {
  name=$1
  shift
  "$build/bin/scrolling_page" "$@" &
  page=$!
  sleep 1
  ffmpeg -hide_banner -nostats -progress "$folder/progress" -benchmark -draw_mouse 0 -f x11grab \
    -framerate 30 -video_size 1920x1080 -i "$DISPLAY" -t "$seconds" -pix_fmt yuv420p \
    -c:v libx264 -preset ultrafast -tune zerolatency -f h264 -y /dev/null \
    2>"$folder/log" </dev/null
  kill "$page"
  wait "$page" || true
  page=
  frames=$(sed -n 's/^frame=//p' "$folder/progress" | tail -n 1)
  sed -n 's/^bench: \(utime=.*\) rtime.*/\1/p' "$folder/log" |
    awk -v name="$name" -v frames="$frames" -v seconds="$seconds" -F '[=s ]+' '
      { printf "%s: %.1f frames a second\n", name, frames / seconds
        printf "  %-42s %7.3f ms a frame\n", "ffmpeg x11grab + libx264, together",
          ($2 + $4) * 1000 / frames }'
}

scene "all of the screen changes"
scene "a quarter of the screen changes" quarter
