#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# clang-tidy over the library and the platform, warnings are errors as .clang-tidy says.
set -eu
cd "$(dirname "$0")/.."
cmake --preset tidy --log-level=WARNING
run-clang-tidy-14 -quiet -p build/tidy -j "$(nproc)" "$PWD/src/(core|platform)/.*" > build/tidy.log 2>&1 || {
  grep -E '(warning|error):' -A3 build/tidy.log || cat build/tidy.log
  exit 1
}
