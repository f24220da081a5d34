#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# `make demo` must leave pictures, every one a PNG that is not empty, and the volumes of the heart.
set -eu
cd "$(dirname "$0")/.."
make demo
pictures=$(find demo -name '*.png' | wc -l)
if [ "$pictures" -lt 28 ]; then
  echo "only $pictures pictures in demo/"
  exit 1
fi
volumes=$(find demo/heart -name 'volume-*.nrrd' | wc -l)
if [ "$volumes" -ne 16 ]; then
  echo "$volumes volumes of the heart in demo/heart instead of 16"
  exit 1
fi
find demo -name '*.png' | while read -r picture; do
  head -c 8 "$picture" | od -An -tx1 | grep -q '89 50 4e 47 0d 0a 1a 0a' || { echo "$picture is no PNG"; exit 1; }
done
echo "$pictures pictures"
