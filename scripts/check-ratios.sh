#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Holds the loops over memory against memcpy and against loops over single samples: ratios of CPU
# times of one run, which may be twice their goals. Never absolute times.
set -eu
cd "$(dirname "$0")/.."
cmake --preset bench --log-level=WARNING >/dev/null
cmake --build --preset bench --target zrdcmexport_kernel_bench -j "$(nproc)"
build/bench/bench/zrdcmexport_kernel_bench --benchmark_out=build/bench/kernel_bench.json \
  --benchmark_out_format=json --benchmark_repetitions=5 --benchmark_min_time=0.01 \
  --benchmark_enable_random_interleaving=true >/dev/null
python3 bench/ratios.py --check 2 build/bench/kernel_bench.json
