#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""usage: ratios.py [--check SLACK] RESULTS.json... -- times of benchmarks divided by those of their peers.

A name is subject/what/size. The peers of a benchmark are those of PEERS that have its subject and
either its size or none; the best times of one run are divided. Goals stand in goals.json. With --check
the exit status is 1 when a ratio is more than SLACK times its goal, or when a goal finds no result.
Only ratios are comparable between machines.
"""
import argparse
import json
import pathlib
import sys

PEERS = {
    "memcpy": "memcpy",
    "scalar": "loop over single samples",
    "dcmtk": "DCMTK",
    "dicomimage": "DCMTK's DicomImage",
    "gdcm": "GDCM",
    "itk": "ITK",
    "pydicom": "pydicom and NumPy",
    "lookup": "look-up per attribute",
    "writev": "writev",
    "libmd": "libmd",
    "first": "frame 0",
    "4k_frames": "4,096 frames",
    "headers": "loading by DCMTK",
}


def read_results(paths):
    """Best CPU time in milliseconds and counters of each benchmark."""
    factor = {"ns": 1e-6, "us": 1e-3, "ms": 1.0}
    times, counters = {}, {}
    for path in paths:
        for run in json.loads(pathlib.Path(path).read_text(encoding="utf-8"))["benchmarks"]:
            if run.get("run_type") != "iteration":
                continue
            name = run["run_name"]
            if "error_message" in run:
                raise SystemExit(f"{name} failed: {run['error_message']}")
            time = run["cpu_time"] * factor[run["time_unit"]]
            times[name] = min(times.get(name, float("inf")), time)
            for counter in ("bytes_per_slice", "peak_mib", "peak_of_samples"):
                if counter in run:
                    key = (name, counter)
                    counters[key] = min(counters.get(key, float("inf")), run[counter])
    return times, counters


def peer_names(name):
    subject, what, *size = name.split("/")
    for peer in PEERS:
        if peer != what:
            yield peer, "/".join([subject, peer, *size])
            if size:
                yield peer, f"{subject}/{peer}"


def rows_of(times, counters, goals):
    """(benchmark, peer, ratio, goal) of every pair that was measured."""
    for name in times:
        if name.split("/")[1] in PEERS:
            continue
        for peer, peer_name in peer_names(name):
            if peer_name in times:
                yield name, PEERS[peer], times[name] / times[peer_name], goals.pop((name, peer), None)
    for (name, counter), value in counters.items():
        if name.split("/")[1] in PEERS:
            continue
        yield name, counter, value, goals.pop((name, counter), None)
        for peer, peer_name in peer_names(name):
            if (peer_name, counter) in counters:
                ratio = value / counters[peer_name, counter]
                yield name, f"{counter} of {PEERS[peer]}", ratio, goals.pop((name, f"{counter}:{peer}"), None)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--check", type=float, metavar="SLACK")
    parser.add_argument("results", nargs="+")
    options = parser.parse_args()
    times, counters = read_results(options.results)
    text = (pathlib.Path(__file__).parent / "goals.json").read_text(encoding="utf-8")
    goals = {(goal["benchmark"], goal["against"]): goal["at_most"] for goal in json.loads(text)
             if goal["benchmark"].split("/")[0] in {name.split("/")[0] for name in times}}

    broken = []
    print("| benchmark | best time | against | ratio | goal |\n|---|---|---|---|---|")
    for name, peer, ratio, goal in rows_of(times, counters, goals):
        verdict = ""
        if goal is not None:
            verdict = f"{goal:g}" + ("" if ratio <= goal else ", missed")
            if options.check and ratio > goal * options.check:
                broken.append(f"{name} takes {ratio:.2f} of {peer}, more than {options.check:g} times {goal:g}")
        print(f"| {name} | {times[name]:.3g} ms | {peer} | {ratio:.3g} | {verdict} |")
    if options.check:
        broken += [f"{name} was not measured against {peer}" for name, peer in goals]
        print("\n".join(broken), file=sys.stderr)
        return 1 if broken else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
