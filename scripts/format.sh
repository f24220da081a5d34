#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# Formats every C++ file in place; with --check only says which are not formatted, and which comments are
# wider than the code: clang-format leaves those alone, so that drawings keep their columns. Tables, links
# and words for tools may be wider.
set -eu
cd "$(dirname "$0")/.."
mode="-i"
if [ "${1:-}" = "--check" ]; then
  mode="--dry-run -Werror"
fi
# $mode is one or two words on purpose.
# shellcheck disable=SC2086
git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp' | xargs -0 clang-format-14 $mode
if [ "${1:-}" = "--check" ]; then
  wide=$(git ls-files --cached --others --exclude-standard -- '*.h' '*.cpp' | xargs grep -HnE '^.{101,}$' |
    grep -E '^[^:]*:[0-9]*:([^"]|"[^"]*")*//' | grep -vE '/// \||https?://|NOLINT' || true)
  if [ -n "$wide" ]; then
    printf 'comments wider than 100 columns:\n%s\n' "$wide"
    exit 1
  fi
fi
