#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Builds and runs the benchmarks; results as JSON in bench/results/, ratios on the terminal.
set -eu
cd "$(dirname "$0")/.."
cmake --preset bench --log-level=WARNING
cmake --build --preset bench -j "$(nproc)"
mkdir -p bench/results
build/bench/bench/zrdcmexport_bench --benchmark_out=bench/results/zrdcmexport.json \
  --benchmark_out_format=json --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true \
  --benchmark_report_aggregates_only=false --benchmark_display_aggregates_only=true
python3 bench/ratios.py bench/results/zrdcmexport.json
