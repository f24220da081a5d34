#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Formats every C++ file in place; with --check only says which are not formatted.
set -eu
cd "$(dirname "$0")/.."
mode="-i"
if [ "${1:-}" = "--check" ]; then
  mode="--dry-run -Werror"
fi
# $mode is one or two words on purpose.
# shellcheck disable=SC2086
git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp' | xargs -0 clang-format-14 $mode
