#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""usage: pydicom_reader.py FILE -- all frames as unsigned samples; prints the CPU time in milliseconds."""
import sys
import time

import numpy
import pydicom


def main():
    begun = time.process_time()
    dataset = pydicom.dcmread(sys.argv[1])
    samples = dataset.pixel_array
    if not samples.flags.writeable:
        samples = samples.copy()
    shift = dataset.BitsAllocated - dataset.BitsStored
    samples <<= shift
    samples >>= shift
    unsigned = samples.view(numpy.uint16)
    unsigned ^= 0x8000
    print(f"{(time.process_time() - begun) * 1e3:.3f}")


if __name__ == "__main__":
    main()
