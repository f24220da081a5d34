#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Reference documentation of the public headers into build/docs/html; Doxygen's warnings are errors.
set -eu
cd "$(dirname "$0")/.."
mkdir -p build/docs
doxygen docs/Doxyfile
echo "build/docs/html/index.html"
