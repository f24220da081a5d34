#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# fuzz.sh SECONDS: builds every fuzzer and runs each for that long; stops at the first finding.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-60}
cmake --preset fuzz --log-level=WARNING
cmake --build --preset fuzz -j "$(nproc)"
for fuzzer in build/fuzz/fuzz/fuzz_*; do
  [ -x "$fuzzer" ] || continue
  name=$(basename "$fuzzer")
  mkdir -p "build/fuzz/corpus/$name"
  echo "== $name"
  "$fuzzer" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" \
    "build/fuzz/corpus/$name"
done
