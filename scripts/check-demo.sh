#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# `make demo` must leave pictures, every one a PNG that is not empty, the volumes of the heart, and a
# page that a browser shows whole without network, with the heart moving.
# Usage: scripts/check-demo.sh [FOLDER]    with FOLDER: check what is there, make nothing
set -eu
cd "$(dirname "$0")/.."
demo=${1:-demo}
[ $# -gt 0 ] || make demo
pictures=$(find "$demo" -name '*.png' | wc -l)
if [ "$pictures" -lt 42 ]; then
  echo "only $pictures pictures in $demo/"
  exit 1
fi
volumes=$(find "$demo/heart" -name 'volume-*.nrrd' | wc -l)
if [ "$volumes" -ne 16 ]; then
  echo "$volumes volumes of the heart in $demo/heart instead of 16"
  exit 1
fi
find "$demo" -name '*.png' | while read -r picture; do
  head -c 8 "$picture" | od -An -tx1 | grep -q '89 50 4e 47 0d 0a 1a 0a' || { echo "$picture is no PNG"; exit 1; }
done
echo "$pictures pictures"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
page=file://$(cd "$demo" && pwd)/index.html
# Chromium tells of a missing desktop on stderr; that is shown only when it fails.
browse() {
  output=$1
  shift
  timeout 120 chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run \
    --disable-background-networking --disable-component-update --disable-sync --hide-scrollbars \
    --user-data-dir="$work/profile-$output" "$@" > "$work/$output" 2> "$work/log" || { cat "$work/log"; exit 1; }
}
# Milliseconds of the page's own clock: the second picture is some time slots later in the beat.
browse early.html --virtual-time-budget=1500 --dump-dom "$page"
browse late.html --virtual-time-budget=3000 --dump-dom "$page"
browse early --virtual-time-budget=1500 --window-size=1280,1000 --screenshot="$work/early.png" "$page"
browse late --virtual-time-budget=2000 --window-size=1280,1000 --screenshot="$work/late.png" "$page"
python3 scripts/check_demo_page.py "$demo" "$work"
