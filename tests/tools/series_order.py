#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Series among the files of a folder, in the order of their instance numbers, as pydicom reads them.

usage: series_order.py FOLDER

Prints a JSON array with one array of paths a series. Only series count that the instance number alone
puts in order: two files at least, all numbers different, Image Type and Slice Thickness the same.
"""
import collections
import json
import pathlib
import sys
import warnings

import pydicom

warnings.simplefilter("ignore")
KEYWORDS = ["SeriesInstanceUID", "InstanceNumber", "ImageType", "SliceThickness"]


def attributes(path):
    try:
        dataset = pydicom.dcmread(path, force=True, specific_tags=KEYWORDS, stop_before_pixels=True)
        uid, number = dataset.get("SeriesInstanceUID"), dataset.get("InstanceNumber")
        return (uid, int(number), str(dataset.get("ImageType")), str(dataset.get("SliceThickness")))
    except Exception:  # damaged files stand among the others on purpose
        return None


def main():
    series = collections.defaultdict(list)
    for path in sorted(pathlib.Path(sys.argv[1]).iterdir()):
        found = attributes(path)
        if found and found[0]:
            series[found[0]].append((found[1], str(path), found[2:]))
    ordered = []
    for images in series.values():
        numbers = {number for number, _, _ in images}
        if len(images) > 1 and len(numbers) == len(images) and len({rest for *_, rest in images}) == 1:
            ordered.append([path for _, path, _ in sorted(images)])
    json.dump(ordered, sys.stdout)


main()
