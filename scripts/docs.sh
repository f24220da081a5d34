#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# docs.sh [FOLDER]: the reference of the public headers and the guides as pages into FOLDER/html
# (build/docs unless said otherwise). Doxygen's warnings are errors.
set -eu
cd "$(dirname "$0")/.."
folder=${1:-build/docs}
headers=""
for library in src/core/zrdcmexport src/imaging/zrimaging; do
  name=$(basename "$library")
  found=$(sed -n '/^set(public_headers/,/)/p' "$(dirname "$library")/CMakeLists.txt" | grep -o "$name/[A-Za-z]*\.h" | sed "s|^|$(dirname "$library")/|")
  if [ -z "$found" ]; then
    echo "$(dirname "$library")/CMakeLists.txt lists no public headers"
    exit 1
  fi
  headers="$headers $found"
done
mkdir -p "$folder"
rm -rf "$folder/html"
# The headers must become one line.
# shellcheck disable=SC2086
{
  cat docs/Doxyfile
  echo "OUTPUT_DIRECTORY = $folder"
  echo INPUT += $headers
} | doxygen -
echo "$folder/html/index.html"
