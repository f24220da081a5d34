#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""gcov for gcovr, without the branches that only an exception reaches.

What has been built when an exception passes is taken down by code of the compiler's own, with branches
of its own that no decision of ours made. gcovr leaves out the branches into that code. gcov knows the
code itself when it is asked for all blocks, and marks the blocks with $$$$$; their branches go here.
A handler that a test has entered is marked otherwise and counts.
"""
import re
import subprocess
import sys

BLOCK = re.compile(rb"^\s*(\S+):\s*\d+-block\s")
BRANCH = re.compile(rb"^(branch|call|unconditional)\s")


def without_exceptional(text):
    kept = []
    exceptional = False
    for line in text.split(b"\n"):
        block = BLOCK.match(line)
        if block:
            exceptional = block.group(1).startswith(b"$$$$$")
            continue
        if not BRANCH.match(line):
            exceptional = False
        elif exceptional:
            continue
        kept.append(line)
    return b"\n".join(kept)


def main():
    arguments = sys.argv[1:]
    if not any(argument.endswith(".gcda") for argument in arguments):
        return subprocess.run(["gcov", *arguments], check=False).returncode
    done = subprocess.run(["gcov", "--all-blocks", *arguments], check=False, stdout=subprocess.PIPE)
    for name in re.findall(rb"Creating '([^']+)'", done.stdout):
        with open(name, "rb") as report:
            text = report.read()
        with open(name, "wb") as report:
            report.write(without_exceptional(text))
    sys.stdout.buffer.write(done.stdout)
    return done.returncode


if __name__ == "__main__":
    sys.exit(main())
