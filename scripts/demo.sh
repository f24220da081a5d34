#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Draws the phantoms, tells what they hold, decodes them to pictures, splits and reformats them.
# Usage: scripts/demo.sh ZRDCM REFORMAT_CORONAL OUTDIR
set -eu
if [ $# -ne 3 ]; then
  echo "usage: $0 ZRDCM REFORMAT_CORONAL OUTDIR" >&2
  exit 2
fi
zrdcm=$1
reformat_coronal=$2
out=$3
phantoms=$out/phantoms
mkdir -p "$out"

echo "== phantoms: the same images, plain and compressed"
"$zrdcm" samples "$phantoms"

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
  "$zrdcm" decode "$phantoms/$file.dcm" -o "$out/$picture.png" "$@"
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

# The sheet has a row for every volume: read it down a column to see the ventricle squeeze and fill.
echo
echo "== a gated heart: one file, two R-R intervals of eight time slots of sixteen slices"
"$zrdcm" split "$phantoms/nm-heart-gated-jpeg-ls.dcm" -o "$out/heart"
"$zrdcm" sheet "$phantoms/nm-heart-gated.dcm" -o "$out/nm-heart-gated.png"

echo
echo "== a new series: the axial slices of a head, cut anew from the front to the back"
"$reformat_coronal" "$phantoms/ct-head-volume.dcm" "$out/coronal"
"$zrdcm" sheet "$out"/coronal/coronal-*[05].dcm -o "$out/ct-head-coronal.png"

ls "$out"/*.png
echo
echo "The heart beats in $out/nm-heart-gated.png; its volumes are in $out/heart."
echo "The pictures are in $out, the phantoms in $phantoms, the report on all of them in $out/info.json."
