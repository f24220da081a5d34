#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Works out what real files say about their frames, with pydicom and NumPy instead of our library.

usage: frame_values.py CORPUS_FILES_FOLDER > frame_values.tsv

One row a file with functional groups or a dose grid that pydicom reads without a codec of its own
(native and RLE, 8 or 16 bits allocated). A cell has one value for all frames where they agree, else the
values of the frames joined by bars; "-" is a value that nothing tells. The columns:

  file
  rescale      slope and intercept; of a dose grid its scaling and 0
  unit         what the values are in
  window       centre and width of the first window
  spacing      between columns and between rows, mm
  position     x, y and z of the first pixel, mm
  orientation  direction of the rows and of the columns
  low, high    smallest and largest modality value of each frame (as stored where no line is known);
               "-" for colour
"""
import pathlib
import sys
import warnings

import numpy as np
import pydicom

warnings.simplefilter("ignore")

RT_DOSE = "1.2.840.10008.5.1.4.1.1.481.2"


def numbers(dataset, keyword, count):
    """The first `count` values of an attribute; None unless all are there."""
    value = dataset.get(keyword)
    if value is None or value == "":
        return None
    values = list(value) if isinstance(value, (list, pydicom.multival.MultiValue)) else [value]
    return [float(v) for v in values[:count]] if len(values) >= count else None


def group_value(dataset, index, macro, keyword, count):
    """An attribute of a functional group: the frame's, the shared one, else lying flat."""
    items = []
    own = dataset.get("PerFrameFunctionalGroupsSequence")
    shared = dataset.get("SharedFunctionalGroupsSequence")
    if own:
        items.append(own[index])
    if shared:
        items.append(shared[0])
    for holder in [i.get(macro)[0] for i in items if i.get(macro)] + items:
        if numbers(holder, keyword, count) is not None:
            return numbers(holder, keyword, count), holder
    return None, None


def enhanced_frame(dataset, index):
    def of(macro, keyword, count):
        return group_value(dataset, index, macro, keyword, count)

    slope, holder = of("PixelValueTransformationSequence", "RescaleSlope", 1)
    intercept, _ = of("PixelValueTransformationSequence", "RescaleIntercept", 1)
    unit = holder.get("RescaleType") if holder is not None else None
    centre, _ = of("FrameVOILUTSequence", "WindowCenter", 1)
    width, _ = of("FrameVOILUTSequence", "WindowWidth", 1)
    spacing, _ = of("PixelMeasuresSequence", "PixelSpacing", 2)
    return {
        "rescale": slope + intercept if slope and intercept else None,
        "unit": unit if unit != "US" else None,  # unspecified
        "window": centre + width if centre and width else None,
        "spacing": spacing[::-1] if spacing else None,
        "position": of("PlanePositionSequence", "ImagePositionPatient", 3)[0],
        "orientation": of("PlaneOrientationSequence", "ImageOrientationPatient", 6)[0],
    }


def dose_frame(dataset, index, frames):
    scaling = numbers(dataset, "DoseGridScaling", 1)
    position = numbers(dataset, "ImagePositionPatient", 3)
    orientation = numbers(dataset, "ImageOrientationPatient", 6)
    if frames > 1 and position and orientation:
        offset = float(dataset.GridFrameOffsetVector[index])
        normal = np.cross(orientation[:3], orientation[3:])
        if float(dataset.GridFrameOffsetVector[0]) == 0:
            position = list(np.array(position) + offset * normal)
        else:
            position = position[:2] + [offset]
    spacing = numbers(dataset, "PixelSpacing", 2)
    units = dataset.get("DoseUnits")
    return {
        "rescale": scaling + [0.0] if scaling else None,
        "unit": "Gy" if units == "GY" else units,
        "window": None,
        "spacing": spacing[::-1] if spacing else None,
        "position": position,
        "orientation": orientation,
    }


def text(value):
    if value is None:
        return "-"
    return value if isinstance(value, str) else " ".join(f"{v:.12g}" for v in value)


def cell(texts):
    return texts[0] if len(set(texts)) == 1 else "|".join(texts)


def value_ranges(dataset, frames, values):
    if dataset.SamplesPerPixel != 1 or "MONOCHROME" not in dataset.PhotometricInterpretation:
        return None, None
    pixels = dataset.pixel_array.reshape(frames, -1).astype(np.float64)
    lows, highs = [], []
    for samples, value in zip(pixels, values):
        slope, intercept = value["rescale"] or (1.0, 0.0)
        modality = slope * samples + intercept
        lows.append([modality.min()])
        highs.append([modality.max()])
    return lows, highs


def usable(dataset):
    syntax = dataset.file_meta.get("TransferSyntaxUID", pydicom.uid.ImplicitVRLittleEndian)
    readable = not syntax.is_compressed or syntax == pydicom.uid.RLELossless
    return "PixelData" in dataset and readable and dataset.get("BitsAllocated") in (8, 16)


def row(path):
    dataset = pydicom.dcmread(path, force=True)
    grouped = "SharedFunctionalGroupsSequence" in dataset
    grouped = grouped or "PerFrameFunctionalGroupsSequence" in dataset
    dose = dataset.get("SOPClassUID") == RT_DOSE or "DoseGridScaling" in dataset
    if not (grouped or dose) or not usable(dataset):
        return None
    frames = int(dataset.get("NumberOfFrames", 1) or 1)
    values = [enhanced_frame(dataset, i) if grouped else dose_frame(dataset, i, frames)
              for i in range(frames)]
    if "TransferSyntaxUID" not in dataset.file_meta:
        dataset.file_meta.TransferSyntaxUID = pydicom.uid.ImplicitVRLittleEndian
    lows, highs = value_ranges(dataset, frames, values)
    names = ("rescale", "unit", "window", "spacing", "position", "orientation")
    cells = [cell([text(v[name]) for v in values]) for name in names]
    ranges = [cell([text(v) for v in r]) if r else "-" for r in (lows, highs)]
    return [path.name, *cells, *ranges]


def main():
    print("file\trescale\tunit\twindow\tspacing\tposition\torientation\tlow\thigh")
    for path in sorted(pathlib.Path(sys.argv[1]).glob("*.dcm")):
        try:
            cells = row(path)
        except Exception as problem:  # a file that pydicom cannot read is no witness
            print(f"{path.name}: {type(problem).__name__}: {problem}", file=sys.stderr)
            continue
        if cells:
            print("\t".join(map(str, cells)))


if __name__ == "__main__":
    main()
