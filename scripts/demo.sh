#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Draws the phantoms, tells what they hold, decodes them to pictures, splits and reformats them, and
# gathers all of it on one page.
# Usage: scripts/demo.sh ZRDCM REFORMAT_CORONAL OUTDIR
set -eu
if [ $# -ne 3 ]; then
  echo "usage: $0 ZRDCM REFORMAT_CORONAL OUTDIR" >&2
  exit 2
fi
here=$(cd "$(dirname "$0")" && pwd)
zrdcm=$1
reformat_coronal=$2
out=$3
phantoms=$out/phantoms
mkdir -p "$out/sheets"
: > "$out/commands.txt"

# Runs a command and notes it for the page: what it makes, a tab, the command as one would type it.
run() {
  made=$1
  program=$2
  shift 2
  printf '%s\t%s %s\n' "$made" "${program##*/}" "$*" >> "$out/commands.txt"
  "$program" "$@"
}

echo "== phantoms: the same images, plain and compressed"
run phantoms "$zrdcm" samples "$phantoms"

echo
echo "== what some of them hold"
"$zrdcm" info "$phantoms/ct-thorax-signed.dcm" "$phantoms/ct-abdomen-overlays-jpeg-ls.dcm" \
  "$phantoms/us-heart-ybr-jpeg-baseline.dcm" "$phantoms/nm-heart-gated-rle.dcm"
"$zrdcm" info --json "$phantoms"/*.dcm > "$out/info.json"

# Each picture comes from another coding, so that every decoder has its turn.
echo
echo "== pictures"
decode() {
  file=$1
  picture=$2
  shift 2
  run "$picture" "$zrdcm" decode "$phantoms/$file.dcm" -o "$out/$picture.png" "$@"
}
decode ct-thorax-signed ct-thorax
decode ct-thorax-signed-jpeg-lossless ct-thorax-lungs --window -600,1500
decode ct-abdomen-overlays-rle ct-abdomen
decode ct-abdomen-overlays-jpeg-ls ct-abdomen-overlays --overlays
decode mr-head-modality-lut-jpeg-ls mr-head
decode cr-hand-monochrome1-jpeg-lossless cr-hand
decode nm-uptake-palette-rle nm-uptake --frames 4
decode us-heart-rgb-jpeg-baseline us-heart
decode us-heart-ybr-rle us-heart-ybr --frames 8
decode rt-dose-volume rt-dose --frames 6
"$zrdcm" decode "$phantoms/rt-dose-volume.dcm" -o "$out/rt-dose.nrrd"
"$zrdcm" decode "$phantoms/us-heart-rgb.dcm" -o "$out/us-heart.npy"

# Compressed copies would give the same sheets once more. That of the gated heart has a row for every
# volume: read it down a column to see the ventricle squeeze and fill.
echo
echo "== sheets: every frame of every phantom"
for file in "$phantoms"/*.dcm; do
  name=$(basename "$file" .dcm)
  case $name in
    *-rle | *-jpeg-ls | *-jpeg-lossless | *-jpeg-baseline) continue ;;
  esac
  run "sheets/$name" "$zrdcm" sheet "$file" -o "$out/sheets/$name.png"
done

echo
echo "== a gated heart: one file, two R-R intervals of eight time slots of sixteen slices"
run heart "$zrdcm" split "$phantoms/nm-heart-gated-jpeg-ls.dcm" -o "$out/heart"

echo
echo "== a new series: the axial slices of a head, cut anew from the front to the back"
run coronal "$reformat_coronal" "$phantoms/ct-head-volume.dcm" "$out/coronal"
run ct-head-coronal "$zrdcm" sheet "$out"/coronal/coronal-*[05].dcm -o "$out/ct-head-coronal.png"

ls "$out"/*.png
python3 "$here/demo_page.py" "$out"
echo
echo "The pictures are in $out, the phantoms in $phantoms, the volumes of the heart in $out/heart."
echo "All on one page: $out/index.html"
