#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""headers_used.py BINARY HEADER... -- SOURCE...: an installed header is documented and used from outside.

Each HEADER must have a documentation comment and be included by a SOURCE of the tests that link the shared
libraries; BINARY, a program of such sources, must indeed need the library. Headers that only mark what
is exported (...Api.h) come with the others.
"""
import pathlib
import re
import subprocess
import sys


def main():
    binary, *rest = sys.argv[1:]
    middle = rest.index("--")
    headers = [pathlib.Path(name) for name in rest[:middle] if not name.endswith("Api.h")]
    included = set()
    for source in rest[middle + 1:]:
        included.update(re.findall(r"^\s*#include <([^>]+)>", pathlib.Path(source).read_text(encoding="utf-8"), re.M))
    faults = []
    for header in headers:
        name = f"{header.parent.name}/{header.name}"
        if name not in included:
            faults.append(f"<{name}> is installed, but no test from outside includes it")
        if header.suffix == ".h" and "///" not in header.read_text(encoding="utf-8"):
            faults.append(f"<{name}> is installed and has no documentation")
    needed = subprocess.run(["readelf", "-d", binary], check=True, capture_output=True, text=True).stdout
    if not re.search(r"NEEDED.*\[libzrdcmexport\.so", needed):
        faults.append(f"{binary} does not link the shared library")
    print(*faults, sep="\n")
    print(f"{len(headers)} headers, {len(faults)} faults")
    sys.exit(1 if faults or not headers else 0)


if __name__ == "__main__":
    main()
