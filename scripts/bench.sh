#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Builds and runs the benchmarks and other readers beside them: results as JSON in bench/results/, a
# table of ratios in bench/results/ratios.md and on the terminal.
set -eu
cd "$(dirname "$0")/.."
cmake --preset bench --log-level=WARNING
cmake --build --preset bench -j "$(nproc)"
results=bench/results
mkdir -p $results
for group in kernel_bench bench split_bench; do
  build/bench/bench/zrdcmexport_$group --benchmark_out=$results/$group.json \
    --benchmark_out_format=json --benchmark_repetitions=7 --benchmark_min_time=0.05 \
    --benchmark_enable_random_interleaving=true --benchmark_display_aggregates_only=true
done
python3 bench/peers.py build/bench $results/peers.json
python3 bench/ratios.py $results/kernel_bench.json $results/bench.json \
  $results/split_bench.json $results/peers.json |
  tee $results/ratios.md
