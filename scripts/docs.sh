#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# docs.sh [FOLDER]: the reference of the public headers and the guides as pages into FOLDER/html
# (build/docs unless said otherwise). Doxygen's warnings are errors.
set -eu
cd "$(dirname "$0")/.."
folder=${1:-build/docs}
library=src/core
headers=$(sed -n '/^set(public_headers/,/)/p' "$library/CMakeLists.txt" | grep -o 'zrdcmexport/[A-Za-z]*\.h' | sed "s|^|$library/|")
if [ -z "$headers" ]; then
  echo "$library/CMakeLists.txt lists no public headers"
  exit 1
fi
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
