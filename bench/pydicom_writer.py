#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""New files with the attributes and samples of BenchExport.cpp; prints the CPU milliseconds of one file."""
import pathlib
import tempfile
import time

import numpy
import pydicom
from pydicom.dataset import FileDataset, FileMetaDataset
from pydicom.uid import ExplicitVRLittleEndian

CT_IMAGE_STORAGE = "1.2.840.10008.5.1.4.1.1.2"
BLOCKS = 20
FILES_A_BLOCK = 10


def write(path, pixels):
    meta = FileMetaDataset()
    meta.MediaStorageSOPClassUID = CT_IMAGE_STORAGE
    meta.MediaStorageSOPInstanceUID = "2.25.7"
    meta.TransferSyntaxUID = ExplicitVRLittleEndian
    image = FileDataset(path, {}, file_meta=meta, preamble=b"\0" * 128)
    image.is_little_endian = True
    image.is_implicit_VR = False
    image.ImageType = ["DERIVED", "SECONDARY"]
    image.SOPClassUID = CT_IMAGE_STORAGE
    image.SOPInstanceUID = "2.25.7"
    image.StudyDate = "20200102"
    image.Modality = "CT"
    image.PatientName = "Phantom^Head"
    image.PatientID = "1"
    image.SliceThickness = "1.25"
    image.StudyInstanceUID = "2.25.2"
    image.SeriesInstanceUID = "2.25.3"
    image.InstanceNumber = "1"
    image.ImagePositionPatient = ["-120", "-120", "10"]
    image.SamplesPerPixel = 1
    image.PhotometricInterpretation = "MONOCHROME2"
    image.Rows, image.Columns = pixels.shape
    image.PixelSpacing = ["0.5", "0.5"]
    image.BitsAllocated = image.BitsStored = 16
    image.HighBit = 15
    image.PixelRepresentation = 0
    image.PixelData = pixels.tobytes()
    pydicom.dcmwrite(path, image, write_like_original=False)


def main():
    memory = pathlib.Path("/dev/shm")
    pixels = (numpy.arange(512 * 512, dtype=numpy.uint32) * 25173).astype(numpy.uint16).reshape(512, 512)
    best = float("inf")
    with tempfile.TemporaryDirectory(dir=memory if memory.is_dir() else None) as folder:
        path = f"{folder}/image.dcm"
        for _ in range(BLOCKS):
            begun = time.process_time()
            for _ in range(FILES_A_BLOCK):
                write(path, pixels)
            best = min(best, (time.process_time() - begun) * 1e3 / FILES_A_BLOCK)
    print(f"{best:.4f}")


if __name__ == "__main__":
    main()
