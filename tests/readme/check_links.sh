#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# check_links.sh SOURCES: every relative link of the Markdown pages must lead to a file.
set -eu
cd "$1"
links=0
broken=0
for page in *.md docs/*.md; do
  for link in $(grep -o '](\([^)#:]*\))' "$page" | sed 's/^](//; s/)$//'); do
    links=$((links + 1))
    if [ ! -e "$(dirname "$page")/$link" ]; then
      echo "$page links to $link, which does not exist"
      broken=$((broken + 1))
    fi
  done
done
echo "$links links, $broken broken"
[ "$links" -gt 0 ] && [ "$broken" -eq 0 ]
