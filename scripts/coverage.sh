#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# coverage.sh [BUILD_FOLDER]: runs all tests on an instrumented build and says which lines and branches
# of src/ they reach. Fails below the two shares here; the pages are in BUILD_FOLDER/report/.
#
# Branches are counted without those that only an exception takes (gcov_reachable.py) and those of code
# that the compiler found unreachable: every call of std::string has them, and they would say nothing
# about our decisions.
# What happens when memory ends is tested by failing each allocation, not by this count.
set -eu
cd "$(dirname "$0")/.."
lines=98
branches=92
build=$(realpath -m "${1:-build/coverage}")

cmake --preset coverage -B "$build" --log-level=WARNING
find "$build" -name '*.gcda' -delete  # counts of earlier runs; they do not fit objects that are built again
cmake --build "$build" -j "${JOBS:-$(nproc)}"
status=0
ctest --test-dir "$build" -j "${JOBS:-$(nproc)}" --output-on-failure --progress --no-tests=error \
  >"$build/ctest.log" 2>&1 || status=$?
tail -n 15 "$build/ctest.log"
if [ $status -ne 0 ]; then
  echo "tests failed: $build/ctest.log"
  exit 1
fi

# gcov leaves files where it runs, which shall not be among the sources.
mkdir -p "$build/report" "$build/gcov"
gcovr --root . --object-directory "$build/gcov" --filter "$PWD/src/" \
  --gcov-executable "$PWD/scripts/gcov_reachable.py" \
  --exclude-throw-branches --exclude-unreachable-branches \
  --txt "$build/report/coverage.txt" --json "$build/report/coverage.json" \
  --json-summary "$build/report/summary.json" --html-details "$build/report/index.html" \
  --fail-under-line $lines --fail-under-branch $branches "$build" || status=$?
python3 scripts/coverage_table.py "$build/report/summary.json"
scripts/coverage_decisions.py "$build/report/coverage.json" || status=$?
exit $status
