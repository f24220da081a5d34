#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Works out how real files must be split into volumes, with pydicom and NumPy instead of our library.

usage: split_frames.py CORPUS_FOLDER > split_frames.tsv

One row a file that has Number of Frames or Frame Increment Pointer. The columns:

  file
  whole     yes or no: whether the file can be kept as one slice of all frames
  reversed  yes or no: whether the slices run against the volume's direction; - where it is not split
  volumes   frame numbers (0-based) of the slices in order, volumes behind a bar; - where it is not split
  md5       the first eight digits of the MD5 of each slice's samples in the same order, which pydicom took
            from the frame of that number; - where it is not split
"""
import hashlib
import pathlib
import re
import sys
import warnings

import numpy as np
import pydicom

warnings.simplefilter("ignore")
pydicom.config.replace_un_with_known_vr = False  # what has no VR has no text

FRAME_TIMES = {0x00181063, 0x00181065, 0x10630018}
SPACING, GRID, SLICES = 0x00180088, 0x3004000C, 0x00540080
GATES = [0x00540060, 0x00540070, 0x00540080]


def values(dataset, keyword):
    """The values of an attribute as a list; None when it is missing, empty or of unknown VR."""
    element = dataset.get(pydicom.datadict.tag_for_keyword(keyword))
    if element is None or element.value in (None, "") or isinstance(element.value, bytes):
        return None
    value = element.value
    return list(value) if isinstance(value, (list, pydicom.multival.MultiValue)) else [value]


def count(dataset, keyword):
    """The number that the text of an attribute begins with, 0 without one."""
    texts = values(dataset, keyword)
    match = re.match(r"\s*[+-]?\d+", str(texts[0])) if texts else None
    return int(match.group()) if match else 0


def spacing(dataset, frames):
    if "SpacingBetweenSlices" in dataset:
        return float((values(dataset, "SpacingBetweenSlices") or [0])[0])
    offsets = np.array([float(v) for v in values(dataset, "GridFrameOffsetVector") or []])
    if len(offsets) < 2 or frames < 2:
        return 0.0
    steps = np.diff(offsets)
    return float(steps[0]) if np.all(np.abs(steps - steps[0]) <= 1e-4) else 0.0


def sorted_by(keys):
    """Indices in the order of keys that must be 1, 2, 3, ... in any order."""
    return list(np.argsort(keys)) if sorted(keys) == list(range(1, len(keys) + 1)) else None


def gated_volumes(dataset, frames):
    """One volume for each time slot and, within it, each R-R interval."""
    vectors = [values(dataset, k) for k in ("TimeSlotVector", "RRIntervalVector", "SliceVector")]
    if any(v is None or len(v) != frames for v in vectors):
        return None
    volumes = []
    for slot in range(1, count(dataset, "NumberOfTimeSlots") + 1):
        for interval in range(1, count(dataset, "NumberOfRRIntervals") + 1):
            members = [f for f in range(frames) if vectors[0][f] == slot and vectors[1][f] == interval]
            order = sorted_by([vectors[2][f] for f in members])
            if order is None:
                raise NotImplementedError("gated data with gaps")
            volumes.append([members[i] for i in order])
    return volumes


def frame_order(dataset):
    """Frame numbers by slice and volume; None where the attributes give no order."""
    frames = count(dataset, "NumberOfFrames")
    pointer = values(dataset, "FrameIncrementPointer")
    if frames < 2 or pointer is None or spacing(dataset, frames) == 0:
        return None
    pointer = [int(tag) for tag in pointer]
    if pointer == GATES:
        return gated_volumes(dataset, frames)
    one_each = len(pointer) == 1 and pointer[0] in FRAME_TIMES | {SPACING, GRID}
    if not one_each and (pointer != [SLICES] or count(dataset, "NumberOfSlices") < 2):
        return None
    order = sorted_by(values(dataset, "SliceVector") or range(1, frames + 1))
    return [order] if order is not None and len(order) == frames else None


def keeps_whole(dataset, expected):
    """Whether all frames can be decoded together: DCMTK must, and gray samples have 8 or 16 bits."""
    if values(dataset, "FrameIncrementPointer") is None or count(dataset, "NumberOfFrames") == 0:
        return False
    if expected["status"] != "ok" or expected["dcmtk_3_6_7"] != "same":
        return False
    return dataset.SamplesPerPixel == 3 or dataset.BitsAllocated in (8, 16)


def digits(dataset, volumes):
    pixels = dataset.pixel_array
    little = pixels.astype(pixels.dtype.newbyteorder("<"))
    return "|".join(",".join(hashlib.md5(little[f].tobytes()).hexdigest()[:8] for f in volume)
                    for volume in volumes)


def row(dataset, expected):
    whole = keeps_whole(dataset, expected)
    gray = dataset.get("PhotometricInterpretation") in ("MONOCHROME1", "MONOCHROME2")
    volumes = frame_order(dataset) if whole and gray else None
    if volumes is None:
        return ["yes" if whole else "no", "-", "-", "-"]
    reverse = spacing(dataset, count(dataset, "NumberOfFrames")) < 0
    order = "|".join(",".join(map(str, volume)) for volume in volumes)
    return ["yes" if whole else "no", "yes" if reverse else "no", order, digits(dataset, volumes)]


def table(path):
    with open(path, encoding="utf-8") as lines:
        names = next(lines).rstrip("\n").split("\t")
        return [dict(zip(names, line.rstrip("\n").split("\t"))) for line in lines]


def main():
    corpus = pathlib.Path(sys.argv[1])
    expected = {r["file"]: r for r in table(corpus / "expected.tsv")}
    print("file\twhole\treversed\tvolumes\tmd5")
    for path in sorted((corpus / "files").glob("*.dcm")):
        try:
            dataset = pydicom.dcmread(path, force=True)
            if "NumberOfFrames" not in dataset and "FrameIncrementPointer" not in dataset:
                continue
            cells = row(dataset, expected[path.name])
        except Exception as problem:  # a file that pydicom cannot read is no witness
            print(f"{path.name}: {type(problem).__name__}: {problem}", file=sys.stderr)
            continue
        print("\t".join([path.name, *cells]))


if __name__ == "__main__":
    main()
