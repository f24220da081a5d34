#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# fuzz.sh [SECONDS]: builds every fuzzer and runs each for that long; stops at the first finding.
# With RUNS=N in the environment each runs N inputs instead, from a fixed seed.
set -eu
cd "$(dirname "$0")/.."
if [ -n "${RUNS:-}" ]; then
  bound="-runs=$RUNS -seed=1"
else
  bound="-max_total_time=${1:-60}"
fi
# Attributes may ask for more memory than there is: the library must then see the null pointer, and
# what counts is memory that is touched.
export ASAN_OPTIONS=allocator_may_return_null=1
memory="-rss_limit_mb=4096 -malloc_limit_mb=65536"
cmake --preset fuzz --log-level=WARNING
cmake --build --preset fuzz --target fuzzers -j "$(nproc)"
for fuzzer in build/fuzz/fuzz/fuzz_*; do
  [ -x "$fuzzer" ] || continue
  name=$(basename "$fuzzer")
  mkdir -p "build/fuzz/corpus/$name"
  echo "== $name"
  # shellcheck disable=SC2086 # words, one option each
  "$fuzzer" $bound $memory -timeout=10 -print_final_stats=1 \
    -artifact_prefix="build/fuzz/$name-" "build/fuzz/corpus/$name"
done
