#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# fuzz.sh [SECONDS]: builds every fuzzer and runs each for that long; stops at the first finding.
# With RUNS=N in the environment each runs N inputs instead, from a fixed seed.
#
# Each begins with the inputs in fuzz/corpus; what it adds goes to build/fuzz/corpus, so that the
# committed ones stay as they are. FUZZERS="decoding splitting" runs only these; OPTIONS="-entropic=0"
# hands more options to libFuzzer (that one makes a long run with many inputs up to three times as fast).
set -eu
cd "$(dirname "$0")/.."
if [ -n "${RUNS:-}" ]; then
  bound="-runs=$RUNS -seed=1"
else
  bound="-max_total_time=${1:-60}"
fi
cmake --preset fuzz --log-level=WARNING
cmake --build --preset fuzz --target fuzzers -j "$(nproc)"
for source in fuzz/fuzz_*.cpp; do
  name=$(basename "$source" .cpp)
  subject=${name#fuzz_}
  case " ${FUZZERS:-$subject} " in *" $subject "*) ;; *) continue ;; esac
  mkdir -p "build/fuzz/corpus/$subject"
  log="build/fuzz/$name.log"
  # shellcheck disable=SC2086 # words, one option each
  if "build/fuzz/fuzz/$name" $bound -max_len=1536 -rss_limit_mb=2048 -timeout=10 \
      -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" ${OPTIONS:-} \
      "build/fuzz/corpus/$subject" "fuzz/corpus/$subject" > "$log" 2>&1; then
    echo "$name: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs," \
      "$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log") a second"
  else
    tail -n 60 "$log"
    echo "$name: FOUND SOMETHING, see $log and the input build/fuzz/$name-*"
    exit 1
  fi
done
