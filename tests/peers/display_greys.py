#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Works out how real monochrome files look on a screen, with DCMTK's programs instead of our library.

usage: display_greys.py CORPUS_FOLDER > display_greys.tsv

dcm2pnm (for JPEG dcmj2pnm, for JPEG-LS dcml2pnm) draws the first frame of each file through its first
window (+Wi 1), else its first VOI LUT (+Wl 1). One row a file; where DCMTK follows another rule than
ours, the row says by which clause of the standard. The columns:

  file
  option  of dcm2pnm: +Wi or +Wl
  rule    same, or the clause of PS3.3 that decides the difference: such greys are not compared
  greys   of up to 256 pixels at equal steps over the frame, row by row, in hexadecimal
"""
import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAMS = ["dcm2pnm", "dcmj2pnm", "dcml2pnm"]
OPTIONS = ["+Wi", "+Wl"]
MOST_PIXELS = 256
LARGEST_FRAME = 10**8

# What DCMTK shows by another rule.
DIFFERENCES = {
    # The item of its VOI LUT Sequence has no entries: there is nothing to apply.
    "mono-jpll__JPEGLosslessP14SV1_1s_1f_u_16_16.dcm": "C.11.2.1.1",
}


def pixels_of(picture):
    """The grey levels of a binary PGM file; None for another kind of picture."""
    header = re.match(rb"P5\s+(?:#[^\n]*\s+)*(\d+)\s+(\d+)\s+255\s", picture)
    return picture[header.end():] if header else None


def is_monochrome(path):
    run = subprocess.run(["dcmdump", "-q", "+P", "0028,0004", str(path)], capture_output=True, check=False)
    return b"MONOCHROME" in run.stdout


def drawn(path, folder):
    """The option that draws a file, and its greys; nothing when no program can."""
    target = pathlib.Path(folder) / "frame.pgm"
    for option in OPTIONS:
        for program in PROGRAMS:
            target.unlink(missing_ok=True)
            run = subprocess.run([program, "+op", "+F", "1", option, "1", str(path), str(target)],
                                 capture_output=True, check=False)
            if run.returncode == 0 and target.exists() and target.stat().st_size < LARGEST_FRAME:
                greys = pixels_of(target.read_bytes())
                if greys:
                    return option, greys
    return None


def main():
    print("file\toption\trule\tgreys")
    with tempfile.TemporaryDirectory() as folder:
        for path in sorted(pathlib.Path(sys.argv[1]).glob("*.dcm")):
            found = drawn(path, folder) if is_monochrome(path) else None
            if found:
                option, greys = found
                some = greys[::max(1, len(greys) // MOST_PIXELS)][:MOST_PIXELS]
                print(path.name, option, DIFFERENCES.get(path.name, "same"), some.hex(), sep="\t")


if __name__ == "__main__":
    main()
