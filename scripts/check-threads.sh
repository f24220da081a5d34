#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# What applications may do from several threads at once, under ThreadSanitizer. Only that test program
# is built: the rest of the tests is single-threaded and would say nothing.
set -eu
cd "$(dirname "$0")/.."
cmake --preset tsan --log-level=WARNING
cmake --build --preset tsan --target thread_tests -j "$(nproc)"
ctest --preset tsan -R FromThreads --no-tests=error
