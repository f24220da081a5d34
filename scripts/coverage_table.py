#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""coverage_table.py SUMMARY.json: lines and branches that tests reach, by folder of src/."""
import collections
import json
import os
import sys

KEYS = ("line_covered", "line_total", "branch_covered", "branch_total")


def share(covered, total):
    return f"{100.0 * covered / total:6.2f} %" if total else "      -"


def main():
    with open(sys.argv[1], encoding="utf-8") as summary:
        files = json.load(summary)["files"]
    folders = collections.defaultdict(lambda: [0, 0, 0, 0])
    for entry in files:
        for name in (os.path.dirname(entry["filename"]), "src"):
            for i, key in enumerate(KEYS):
                folders[name][i] += entry[key]
    print(f"{'folder':34}{'lines':>8}{'reached':>9}{'branches':>10}{'reached':>9}")
    for name in sorted(folders, key=lambda folder: (folder == "src", folder)):
        lines, all_lines, branches, all_branches = folders[name]
        print(f"{name:34}{all_lines:8}{share(lines, all_lines):>9}"
              f"{all_branches:10}{share(branches, all_branches):>9}")


if __name__ == "__main__":
    main()
