#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Installs the release build into a temporary prefix and builds and runs packaging/consumer against
# it with find_package and pkg-config, and against the sources with add_subdirectory.
set -eu
cd "$(dirname "$0")/.."
source_dir=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install build/release --prefix "$work/prefix" > "$work/install.log"

echo "find_package"
cmake -S packaging/consumer -B "$work/found" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" --log-level=WARNING
cmake --build "$work/found"
"$work/found/consumer"
"$work/found/codecs_consumer"
"$work/found/imaging_consumer"

echo "pkg-config"
export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name zrdcmexport.pc)")
# The flags must split into words.
# shellcheck disable=SC2046
g++ -std=c++17 packaging/consumer/main.cpp -o "$work/consumer" $(pkg-config --cflags --libs zrdcmexport)
"$work/consumer"
# shellcheck disable=SC2046
g++ -std=c++17 packaging/consumer/imaging.cpp -o "$work/imaging" $(pkg-config --cflags --libs zrimaging)
"$work/imaging"

echo "add_subdirectory"
cmake -S packaging/consumer -B "$work/sub" -G Ninja -DZRDCMEXPORT_SOURCE="$source_dir" --log-level=WARNING
cmake --build "$work/sub"
"$work/sub/consumer"
"$work/sub/imaging_consumer"

echo "add_subdirectory without libpng"
cmake -S packaging/consumer -B "$work/bare" -G Ninja -DZRDCMEXPORT_SOURCE="$source_dir" \
  -DCMAKE_DISABLE_FIND_PACKAGE_PNG=ON > "$work/bare.log"
grep -q 'there is no imaging library' "$work/bare.log"

echo "installed example"
cmake -S "$work/prefix/share/doc/zrdcmexport/examples" -B "$work/examples" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" --log-level=WARNING
cmake --build "$work/examples"
test -x "$work/examples/reformat_coronal"
