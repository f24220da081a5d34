#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""coverage_decisions.py COVERAGE.json: holds the lines that no test reaches against uncovered.tsv.

Each such line is there with the reason why it stays so, known by its function and its text so that it
outlives other edits; a text that stands twice in a function takes two rows. Lines without a reason and
reasons without a line are listed, and the exit status is 1.
"""
import bisect
import collections
import json
import pathlib
import re
import sys

HERE = pathlib.Path(__file__).resolve().parent


def plain_name(name):
    """'process' of 'bool Zrg::(anonymous namespace)::process<int>(Zrg::Image&)'; a lambda is its function's."""
    name = re.sub(r"\(anonymous namespace\)|\[abi:\w+\]", "", name).split("{lambda")[0]
    operator = re.search(r"operator\s*(\(\)|[^\s\w(]+|\w+)", name)
    if operator:
        return operator.group(0)
    name = name.split("(")[0]
    while "<" in name:
        shorter = re.sub(r"<[^<>]*>", "", name)
        if shorter == name:
            break
        name = shorter
    return (name.strip().rstrip(":").split() or [""])[-1].split("::")[-1]


def function_finder(source):
    """Yields the name of the function that a line of the source stands in."""
    starts = sorted((function["lineno"], plain_name(function["name"])) for function in source["functions"]
                    if not function["name"].startswith("_GLOBAL_"))
    lines = [line for line, _ in starts]

    def function_at(line):
        place = bisect.bisect_right(lines, line)
        return starts[place - 1][1] if place else ""

    return function_at


def unreached_lines(report):
    """(file, function, number, text) of each line that has code and was never run.

    Templates count as run when one of their instances was.
    """
    for source in report["files"]:
        function_at = function_finder(source)
        runs = collections.Counter()
        for line in source["lines"]:
            if not line.get("gcovr/noncode") and not line.get("gcovr/excluded"):
                runs[line["line_number"]] += line["count"]
        texts = (HERE.parent / source["file"]).read_text(encoding="utf-8").splitlines()
        for number, count in sorted(runs.items()):
            if count == 0:
                yield source["file"], function_at(number), number, texts[number - 1].strip()


def decisions():
    with open(HERE / "uncovered.tsv", encoding="utf-8") as table:
        for row in table:
            if row.strip() and not row.startswith("#"):
                file, function, text, reason = row.rstrip("\n").split("\t")
                assert reason, row
                yield file, function, text


def main():
    with open(sys.argv[1], encoding="utf-8") as report:
        unreached = list(unreached_lines(json.load(report)))
    left = collections.Counter(decisions())
    without = []
    for file, function, number, text in unreached:
        if left[file, function, text] > 0:
            left[file, function, text] -= 1
        else:
            without.append(f"{file}:{number}: in {function}: {text}")
    stale = [f"{file}: in {function}: {text}" for (file, function, text), count in left.items() if count > 0]
    print(f"{len(unreached)} lines that no test reaches, {len(without)} of them without a reason")
    print(*without, sep="\n")
    if stale:
        print("reasons for lines that are reached or gone:", *stale, sep="\n")
    sys.exit(1 if without or stale else 0)


if __name__ == "__main__":
    main()
