#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""usage: ratios.py RESULTS.json -- each benchmark's best time divided by its peers' of the same run.

Names are subject/what/size; the peers of a benchmark are "memcpy" and "dcmtk" of the same subject and
size. Only ratios are comparable between machines.
"""
import collections
import json
import sys


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    best = collections.OrderedDict()
    for run in runs:
        if run.get("run_type") == "iteration" and "error_message" not in run:
            name = run["run_name"]
            best[name] = min(best.get(name, float("inf")), run["cpu_time"])
    print("| benchmark | best time | : memcpy | : DCMTK |\n|---|---|---|---|")
    for name, time in best.items():
        subject, what, *size = name.split("/")
        cells = []
        for peer in ("memcpy", "dcmtk"):
            if what == peer:
                cells.append("1")
                continue
            peers = [t for n, t in best.items()
                     if n.split("/")[:2] == [subject, peer] and n.split("/")[2:] in (size, size[:1])]
            cells.append(f"{time / peers[0]:.2f}" if peers else "")
        print(f"| {name} | {time:.3g} | {cells[0]} | {cells[1]} |")


if __name__ == "__main__":
    main()
