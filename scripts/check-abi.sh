#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# check-abi.sh: compares the installed libraries with packaging/abi: a program that was linked to that
# version must run with this one. Where the major version has gone up since, changes are listed and do not
# count. What has been added is no change.
# check-abi.sh COMMIT: the same with the libraries of another commit.
# check-abi.sh --renew: describes the libraries as they are now, in packaging/abi. To be done where a
# version is published, in a commit of its own that says why; all else would hide a break.
set -eu
cd "$(dirname "$0")/.."
libraries="ktlib gx wexlib zrvolren zrdcmexport"
baseline=packaging/abi
build=$PWD/build/abi
rm -rf "$build"
mkdir -p "$build"

version() {  # version SOURCE
  sed -n 's/^ *VERSION \([0-9.]*\)$/\1/p' "$1/CMakeLists.txt" | head -n 1
}

# The libraries of a source tree, one NAME.abi each. Optimised as they are installed, because what else is
# exported depends on it; with all debug information, which holds the types.
describe() {  # describe SOURCE BUILD FOLDER
  cmake -S "$1" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DZRDCMEXPORT_BUILD_TESTS=OFF -DZRDCMEXPORT_BUILD_TOOLS=OFF --log-level=WARNING
  # shellcheck disable=SC2086 # words, one target each
  cmake --build "$2" -j "${JOBS:-$(nproc)}" --target $libraries > "$2.log" || { cat "$2.log"; return 1; }
  mkdir -p "$3"
  for library in $libraries; do
    # Nothing that changes from one place or day to the next.
    abidw --drop-private-types --headers-dir "$1/src" --exported-interfaces-only --no-corpus-path \
      --no-comp-dir-path --no-show-locs --no-parameter-names --no-elf-needed --type-id-style hash \
      --out-file "$3/lib$library.abi" "$(find "$2" -name "lib$library.so")"
  done
  version "$1" > "$3/VERSION"
}

describe . "$build/after" "$build/now"

case ${1:-} in
--renew)
  mkdir -p "$baseline"
  cp "$build/now/VERSION" "$baseline/"
  for library in $libraries; do
    gzip -9 -n < "$build/now/lib$library.abi" > "$baseline/lib$library.abi.gz"
  done
  echo "$baseline describes version $(cat "$baseline/VERSION"); commit it with the reason"
  exit 0
  ;;
'')
  mkdir -p "$build/old"
  cp "$baseline/VERSION" "$build/old/"
  for library in $libraries; do
    gzip -d < "$baseline/lib$library.abi.gz" > "$build/old/lib$library.abi"
  done
  ;;
*)
  mkdir -p "$build/commit"
  git archive "$1" | tar -x -C "$build/commit"
  describe "$build/commit" "$build/before" "$build/old"
  ;;
esac

# abidiff takes a description that ends early for one of a library with less in it.
for library in $libraries; do
  for description in "$build/old/lib$library.abi" "$build/now/lib$library.abi"; do
    [ "$(tail -n 1 "$description")" = "</abi-corpus>" ] || { echo "$description is not whole"; exit 1; }
  done
done

was=$(cat "$build/old/VERSION")
is=$(cat "$build/now/VERSION")
breaks=0
for library in $libraries; do
  echo "== lib$library.so since $was"
  status=0
  abidiff --no-added-syms --drop-private-types --suppressions "$baseline/not-ours.ini" \
    "$build/old/lib$library.abi" "$build/now/lib$library.abi" || status=$?
  # 1 and 2 are errors of abidiff itself. 4 is any change that it does not hold to be harmless: 8, for
  # those that surely break programs, leaves out members that have moved.
  [ $((status & 3)) -eq 0 ] || exit 1
  [ $((status & 12)) -eq 0 ] || breaks=$((breaks + 1))
done
if [ "$breaks" -gt 0 ] && [ "${is%%.*}" -le "${was%%.*}" ]; then
  echo "programs linked to $was break; the major version must go up"
  exit 1
fi
