#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Works out what decoding real files must give, with pydicom and NumPy instead of our library.

usage: converted_samples.py CORPUS_FILES_FOLDER > converted_samples.tsv

One row a file that pydicom reads without a codec of its own (native and RLE, monochrome, 8 or 16 bits
allocated). The columns, all of the whole image with all frames:

  md5        of the converted samples: stored bits isolated, modality LUT applied or signed samples made
             unsigned, little endian in containers of Bits Allocated (or of the LUT's entries)
  offset     what was added to make signed samples unsigned: 0, 128 or 32768
  slope, intercept   the line from converted samples to modality values
  low, high  smallest and largest modality value (pydicom's apply_modality_lut on pydicom's own pixels)
  window     centre and width as the file has them, "nan nan" when it has none
  spacing    column spacing and row spacing
  overlays   group:frame:x:y:w:h:bits of each embedded overlay, tight box around its set bits
"""
import hashlib
import math
import pathlib
import sys
import warnings

import numpy as np
import pydicom
from pydicom.pixel_data_handlers.util import apply_modality_lut

warnings.simplefilter("ignore")
NAN = float("nan")


def first_number(dataset, keyword, index=0):
    """Value `index` of a decimal string attribute, NaN when it is not there."""
    element = dataset.get(keyword)
    if element is None or element == "":
        return NAN
    values = element if isinstance(element, (list, pydicom.multival.MultiValue)) else [element]
    return float(values[index]) if index < len(values) else NAN


def stored_words(dataset):
    """All frames as unsigned words, every bit as it stands in the file."""
    bits = dataset.BitsAllocated
    if dataset.file_meta.TransferSyntaxUID.is_compressed:
        # pydicom's pixel_array masks nothing; view the decoded array as unsigned words.
        pixels = dataset.pixel_array
        return pixels.astype(pixels.dtype.newbyteorder("=")).view(f"u{bits // 8}").reshape(-1)
    order = "<" if dataset.is_little_endian else ">"
    frames = int(dataset.get("NumberOfFrames", 1) or 1)
    count = dataset.Rows * dataset.Columns * frames
    data = dataset.PixelData
    if bits == 8 and not dataset.is_little_endian and dataset["PixelData"].VR == "OW":
        data = np.frombuffer(data, "u2").byteswap().tobytes()
    words = np.frombuffer(data, f"{order}u{bits // 8}", count=count)
    return words.astype(f"u{bits // 8}")


def stored_values(words, dataset):
    """The stored bits alone, sign-extended when the samples are signed."""
    low = dataset.HighBit + 1 - dataset.BitsStored
    values = (words.astype(np.int64) >> low) & ((1 << dataset.BitsStored) - 1)
    if dataset.PixelRepresentation == 1:
        sign = 1 << (dataset.BitsStored - 1)
        values = (values ^ sign) - sign
    return values


def modality_table(dataset):
    """(first mapped, entries) of the modality LUT, None when there is none."""
    sequence = dataset.get("ModalityLUTSequence")
    if not sequence:
        return None
    item = sequence[0]
    first = item.LUTDescriptor[1]
    if dataset.PixelRepresentation == 1 and first > 32767:
        first -= 65536
    entries = item["LUTData"].value
    if isinstance(entries, bytes):
        entries = np.frombuffer(entries, "<u2" if dataset.is_little_endian else ">u2")
    return first, np.asarray(entries, dtype=np.uint16)


def converted(values, dataset, table):
    bits = dataset.BitsAllocated
    if table is not None:
        first, entries = table
        return entries[np.clip(values - first, 0, len(entries) - 1)], 0
    if dataset.PixelRepresentation == 1:
        offset = 1 << (bits - 1)
        return (values + offset).astype(f"u{bits // 8}"), offset
    return values.astype(f"u{bits // 8}"), 0


def embedded_overlays(words, dataset):
    found = []
    frames = int(dataset.get("NumberOfFrames", 1) or 1)
    samples = words.reshape(frames, dataset.Rows, dataset.Columns)
    for group in range(0x6000, 0x6020, 2):
        if (group, 0x0010) not in dataset or (group, 0x3000) in dataset:
            continue
        if (group, 0x0011) not in dataset or (group, 0x0102) not in dataset:
            continue
        rows, columns = dataset[group, 0x0010].value, dataset[group, 0x0011].value
        row0, column0 = 0, 0
        if (group, 0x0050) in dataset:
            row0, column0 = (v - 1 for v in dataset[group, 0x0050].value)
        inside = row0 >= 0 and column0 >= 0
        if not inside or row0 + rows > dataset.Rows or column0 + columns > dataset.Columns:
            continue
        plane = samples[0, row0:row0 + rows, column0:column0 + columns]
        bits = (plane >> dataset[group, 0x0102].value) & 1
        if not bits.any():
            continue
        ys, xs = np.nonzero(bits)
        found.append(f"{group:04x}:0:{column0 + xs.min()}:{row0 + ys.min()}:"
                     f"{xs.max() - xs.min() + 1}:{ys.max() - ys.min() + 1}:{int(bits.sum())}")
    return found


def usable(dataset):
    syntax = dataset.file_meta.get("TransferSyntaxUID", "")
    readable = not syntax.is_compressed or syntax == pydicom.uid.RLELossless
    return (readable and "PixelData" in dataset and dataset.get("SamplesPerPixel") == 1
            and dataset.get("PhotometricInterpretation") in ("MONOCHROME1", "MONOCHROME2")
            and dataset.get("BitsAllocated") in (8, 16)
            and dataset.BitsStored <= dataset.BitsAllocated
            and len(dataset.PixelData) > 0)


def row(path):
    dataset = pydicom.dcmread(path)
    if not usable(dataset):
        return None
    words = stored_words(dataset)
    table = modality_table(dataset)
    values = stored_values(words, dataset)
    result, offset = converted(values, dataset, table)
    slope, intercept = first_number(dataset, "RescaleSlope"), first_number(dataset, "RescaleIntercept")
    if table is not None or math.isnan(slope) or math.isnan(intercept) or slope == 0:
        slope, intercept = 1.0, 0.0
    modality = apply_modality_lut(values.astype(np.int32), dataset)
    window = [first_number(dataset, k) for k in ("WindowCenter", "WindowWidth")]
    spacing = [first_number(dataset, "PixelSpacing", i) for i in (1, 0)]
    if any(map(math.isnan, window)):
        window = [NAN, NAN]
    if any(map(math.isnan, spacing)):
        spacing = [NAN, NAN]
    overlays = embedded_overlays(words, dataset) if dataset.BitsStored != dataset.BitsAllocated else []
    numbers = [offset, slope, intercept - offset * slope, float(modality.min()), float(modality.max())]
    return [path.name, hashlib.md5(result.tobytes()).hexdigest(), *(f"{n:.9g}" for n in numbers),
            " ".join(f"{n:.9g}" for n in window), " ".join(f"{n:.9g}" for n in spacing),
            ",".join(overlays) or "-"]


def main():
    print("file\tmd5\toffset\tslope\tintercept\tlow\thigh\twindow\tspacing\toverlays")
    for path in sorted(pathlib.Path(sys.argv[1]).glob("*.dcm")):
        try:
            cells = row(path)
        except Exception as problem:  # a file that pydicom cannot read is no witness
            print(f"{path.name}: {problem}", file=sys.stderr)
            continue
        if cells:
            print("\t".join(map(str, cells)))


if __name__ == "__main__":
    main()
