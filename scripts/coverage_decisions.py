#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""coverage_decisions.py COVERAGE.json: holds the lines that no test reaches against uncovered.tsv.

Each such line is there with the reason why it stays so, known by its text so that it outlives other
edits; a text that stands twice in a file takes two rows. Lines without a reason and reasons without a
line are listed, and the exit status is 1.
"""
import collections
import json
import pathlib
import sys

HERE = pathlib.Path(__file__).resolve().parent


def unreached_lines(report):
    """(file, text) of each line that has code and was never run; templates count as run when one was."""
    for source in report["files"]:
        runs = collections.Counter()
        for line in source["lines"]:
            if not line.get("gcovr/noncode") and not line.get("gcovr/excluded"):
                runs[line["line_number"]] += line["count"]
        texts = (HERE.parent / source["file"]).read_text(encoding="utf-8").splitlines()
        for number, count in sorted(runs.items()):
            if count == 0:
                yield source["file"], number, texts[number - 1].strip()


def decisions():
    with open(HERE / "uncovered.tsv", encoding="utf-8") as table:
        for row in table:
            if row.strip() and not row.startswith("#"):
                file, text, reason = row.rstrip("\n").split("\t")
                assert reason, row
                yield file, text


def main():
    with open(sys.argv[1], encoding="utf-8") as report:
        unreached = list(unreached_lines(json.load(report)))
    left = collections.Counter(decisions())
    without = []
    for file, number, text in unreached:
        if left[file, text] > 0:
            left[file, text] -= 1
        else:
            without.append(f"{file}:{number}: {text}")
    stale = [f"{file}: {text}" for (file, text), count in left.items() if count > 0]
    print(f"{len(unreached)} lines that no test reaches, {len(without)} of them without a reason")
    print(*without, sep="\n")
    if stale:
        print("reasons for lines that are reached or gone:", *stale, sep="\n")
    sys.exit(1 if without or stale else 0)


if __name__ == "__main__":
    main()
