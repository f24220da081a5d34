#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# check-abi.sh [COMMIT]: compares the libraries with those of the last version tag (v*), or of another
# commit: a program that was linked to that version must run with this one. Where the major version
# has gone up since, changes are listed and do not count.
set -eu
cd "$(dirname "$0")/.."
old=${1:-$(git describe --tags --abbrev=0 --match 'v*' 2> /dev/null || true)}
if [ -z "$old" ]; then
  echo "no version is tagged: nothing to compare with"
  exit 0
fi
libraries="ktlib gx wexlib zrvolren zrdcmexport"
build=$PWD/build/abi
rm -rf "$build"
mkdir -p "$build/old"
git archive "$old" | tar -x -C "$build/old"

major() {  # major SOURCE
  sed -n 's/^ *VERSION \([0-9]*\)\..*/\1/p' "$1/CMakeLists.txt" | head -n 1
}

compile() {  # compile SOURCE BUILD
  # -g1 holds no types, and they are what is compared.
  cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O0 -g" \
    -DZRDCMEXPORT_BUILD_TESTS=OFF -DZRDCMEXPORT_BUILD_TOOLS=OFF --log-level=WARNING
  # shellcheck disable=SC2086 # words, one target each
  cmake --build "$2" -j "$(nproc)" --target $libraries > "$2.log" || { cat "$2.log"; return 1; }
}

compile "$build/old" "$build/before"
compile . "$build/after"
breaks=0
for library in $libraries; do
  echo "== lib$library.so since $old"
  status=0
  abidiff --no-added-syms --drop-private-types \
    --headers-dir1 "$build/old/src" --headers-dir2 src \
    "$(find "$build/before" -name "lib$library.so")" "$(find "$build/after" -name "lib$library.so")" ||
    status=$?
  # 1 and 2 are errors of abidiff itself. 4 is any change that it does not hold to be harmless: 8, for
  # those that surely break programs, leaves out members that have moved.
  [ $((status & 3)) -eq 0 ] || exit 1
  [ $((status & 12)) -eq 0 ] || breaks=$((breaks + 1))
done
if [ "$breaks" -gt 0 ] && [ "$(major .)" -le "$(major "$build/old")" ]; then
  echo "programs linked to $old break; the major version must go up"
  exit 1
fi
