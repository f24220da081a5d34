#!/usr/bin/env bash
# SPDX-License-Identifier: BSD-3-Clause
# Runs hostile and damaged files through the optimised build under valgrind's memcheck, which looks into
# the packaged DCMTK as well; AddressSanitizer cannot. Every hostile pattern that the tests build (and
# the files of ZRDCMEXPORT_HAZARDS, where there are any), and small files cut off and with bits turned
# over, at some places each. Usage: scripts/check-memcheck.sh [BUILD_FOLDER]
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT

if [ $# -eq 0 ]; then
  cmake --preset release --log-level=WARNING
fi
cmake --build "$build" --target streams_tests zrdcm_malformed_tests imaging_inside_tests bit_flip_tests

# Primes, so that all bits and all places in words take their turn.
export ZRDCMEXPORT_BYTES_BETWEEN_CUTS=${ZRDCMEXPORT_BYTES_BETWEEN_CUTS:-97}
export ZRDCMEXPORT_BITS_BETWEEN_FLIPS=${ZRDCMEXPORT_BITS_BETWEEN_FLIPS:-401}
export ZRDCMEXPORT_NO_TIME_LIMIT=1

# memcheck PROGRAM ARGUMENT...: fails when the tests do, or any of their processes errs. Who frees does
# not matter: a test program with an operator new of its own has an inlined delete that calls free.
memcheck() {
  valgrind --quiet --error-exitcode=9 --leak-check=no --show-mismatched-frees=no --num-callers=30 \
    --suppressions=scripts/memcheck.supp --log-file="$logs/%p" "$@"
}

# Valgrind lets a file be made before it says that there is no descriptor for it, so that one test finds a
# file where the system alone leaves none.
inside="$build/tests/imaging/imaging_inside_tests"
left_out=DicomWriter.SaysWhyItCannotOpenItsFile
if ! "$inside" --gtest_list_tests --gtest_filter="$left_out" | grep -q "${left_out#*.}"; then
  echo "there is no test $left_out to leave out" >&2
  exit 1
fi

# One after the other in two rows, as the tests of each run for about a minute.
{
  memcheck "$build/tests/core/streams/streams_tests" --gtest_brief=1 --gtest_filter='*Hostile*' &&
    memcheck "$build/tests/tools/zrdcm_malformed_tests" --gtest_brief=1 &&
    memcheck "$inside" --gtest_brief=1 --gtest_filter="-$left_out"
} &
row=$!
status=0
memcheck "$build/tests/core/faults/bit_flip_tests" --gtest_brief=1 || status=1
wait $row || status=1

if grep -q . "$logs"/*; then
  cat "$logs"/*
  status=1
fi
exit $status
