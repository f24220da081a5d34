// SPDX-License-Identifier: BSD-3-Clause
#include "support/SmallFiles.h"

#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace support {

namespace {

using Dataset = std::unique_ptr<DcmDataset>;

// ---- native ----

ImageBuilder unsigned16() {
  return monochromeImage(4, 2);
}
Dataset explicit16() {
  return unsigned16().build();
}
Dataset oddSigned8() {
  return monochromeImage(3, 3).signed8().frames(3).build();
}
Dataset signed12() {
  return ctSlice(4, 2)
      .signed16()
      .bitsStored(12)
      .rescale("2", "-1024")
      .window("40", "400")
      .spacing("0.5", "0.25")
      .build();
}
Dataset tableAndOverlay() {
  return monochromeImage(4, 2)
      .bitsStored(12)
      .highBit(11)
      .overlayPlane(0x6000, 12)
      .overlayBits(0x6000, 12, {{1, 1}})
      .withItem(DCM_ModalityLUTSequence, DatasetBuilder()
                                             .withUint16s(DCM_LUTDescriptor, {4, 0, 16})
                                             .withWords(DCM_LUTData, {0, 10, 20, 30}))
      .build();
}

// ---- multi-frame ----

Dataset sliceVector() {
  return monochromeImage(2, 2)
      .frames(4)
      .frameIncrementPointer("(0054,0080)")
      .with(DCM_SpacingBetweenSlices, "1")
      .withUint16(DCM_NumberOfSlices, 4)
      .withUint16s(DCM_SliceVector, {1, 2, 3, 4})
      .build();
}
ImageBuilder gatedHeart() {
  return monochromeImage(2, 1)
      .frames(4)
      .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
      .with(DCM_SpacingBetweenSlices, "-1")
      .withUint16(DCM_NumberOfSlices, 2)
      .withUint16(DCM_NumberOfRRIntervals, 1)
      .withUint16(DCM_NumberOfTimeSlots, 2)
      .withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1})
      .withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2})
      .withUint16s(DCM_SliceVector, {1, 2, 2, 1});
}
Dataset gated() {
  return gatedHeart().build();
}
Dataset doseGrid() {
  return monochromeImage(2, 2)
      .frames(3)
      .frameIncrementPointer("(3004,000c)")
      .with(DCM_GridFrameOffsetVector, "0\\2.5\\5")
      .build();
}

// ---- colour ----

ImageBuilder smallRgb(Uint16 columns, Uint16 rows) {
  return rgbImage(columns, rows).unsigned8();
}
Dataset colour() {
  return smallRgb(3, 1).build();
}
Dataset colourByPlane() {
  return smallRgb(4, 2).frames(2).planar(1).build();
}
Dataset sharedColour() {
  return smallRgb(4, 2).photometric("YBR_FULL").build();
}
Dataset palette() {
  const std::vector<Uint16> descriptor = {4, 0, 16};
  return ImageBuilder(2, 2, 1, "PALETTE COLOR")
      .unsigned8()
      .samples({0, 1, 2, 3})
      .withUint16s(DCM_RedPaletteColorLookupTableDescriptor, descriptor)
      .withUint16s(DCM_GreenPaletteColorLookupTableDescriptor, descriptor)
      .withUint16s(DCM_BluePaletteColorLookupTableDescriptor, descriptor)
      .withWords(DCM_RedPaletteColorLookupTableData, {0, 0x4000, 0x8000, 0xFF00})
      .withWords(DCM_GreenPaletteColorLookupTableData, {0xFF00, 0x8000, 0x4000, 0})
      .withWords(DCM_BluePaletteColorLookupTableData, {0x1000, 0x2000, 0x3000, 0x4000})
      .build();
}

// ---- compressed ----

Dataset rle() {
  return compress(*unsigned16().frames(2).build(), EXS_RLELossless);
}
Dataset rleColour() {
  return compress(*smallRgb(4, 2).build(), EXS_RLELossless);
}
Dataset rleGated() {
  return compress(*gatedHeart().build(), EXS_RLELossless);
}
Dataset jpegLossless() {
  return compress(*unsigned16().frames(2).build(), EXS_JPEGProcess14SV1);
}
Dataset jpegBaseline() {
  return compress(*monochromeImage(8, 8).unsigned8().build(), EXS_JPEGProcess1);
}
Dataset jpegColour() {
  return compress(*smallRgb(8, 8).build(), EXS_JPEGProcess1);
}
Dataset jpegLs() {
  return compress(*unsigned16().build(), EXS_JPEGLSLossless);
}
Dataset jpegLsColour() {
  return compress(*smallRgb(4, 2).frames(2).build(), EXS_JPEGLSLossless);
}

// ---- attributes alone ----

Dataset attributesAlone() {
  return DatasetBuilder()
      .with(DCM_ImageType, "ORIGINAL\\PRIMARY")
      .with(DCM_PatientName, "Doe^Jane")
      .with(DCM_SeriesInstanceUID, "1.2.3")
      .with(DCM_InstanceNumber, "7")
      .with(DCM_EchoTime, "4.5")
      .with(DCM_SliceThickness, "2")
      .with(DcmTagKey(0x2005, 0x0010), EVR_LO, "Philips MR Imaging DD 001")
      .with(DcmTagKey(0x2005, 0x1412), EVR_IS, "3")
      .withBytes(DcmTagKey(0x0071, 0x1021), {'t', 'e', 'x', 't'}, EVR_UN)
      .withWords(DCM_LUTData, {1, 2, 3, 4, 5, 6})
      .withItem(DCM_ReferencedImageSequence,
                DatasetBuilder().with(DCM_ReferencedSOPInstanceUID, "1.2.3.4"))
      .build();
}

}  // namespace

const std::vector<SmallFile>& smallFiles() {
  static const std::vector<SmallFile> kFiles = {
      {"Explicit16", explicit16, EXS_LittleEndianExplicit},
      {"BigEndian16", explicit16, EXS_BigEndianExplicit},
      {"OddSigned8", oddSigned8, EXS_LittleEndianExplicit},
      {"Signed12Implicit", signed12, EXS_LittleEndianImplicit},
      {"TableAndOverlay", tableAndOverlay, EXS_LittleEndianExplicit},
      {"SliceVectorImplicit", sliceVector, EXS_LittleEndianImplicit},
      {"SliceVectorDeflated", sliceVector, EXS_DeflatedLittleEndianExplicit},
      {"Gated", gated, EXS_LittleEndianExplicit},
      {"DoseGrid", doseGrid, EXS_LittleEndianExplicit},
      {"Colour", colour, EXS_LittleEndianExplicit},
      {"ColourByPlane", colourByPlane, EXS_LittleEndianExplicit},
      {"SharedColour", sharedColour, EXS_LittleEndianExplicit},
      {"Palette", palette, EXS_LittleEndianExplicit},
      {"Rle", rle, EXS_RLELossless},
      {"RleColour", rleColour, EXS_RLELossless},
      {"RleGated", rleGated, EXS_RLELossless},
      {"JpegLossless", jpegLossless, EXS_JPEGProcess14SV1},
      {"JpegBaseline", jpegBaseline, EXS_JPEGProcess1},
      {"JpegColour", jpegColour, EXS_JPEGProcess1},
      {"JpegLs", jpegLs, EXS_JPEGLSLossless},
      {"JpegLsColour", jpegLsColour, EXS_JPEGLSLossless},
      {"AttributesAlone", attributesAlone, EXS_LittleEndianExplicit, false},
  };
  return kFiles;
}

std::size_t stepFrom(const char* variable, std::size_t usual) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? std::stoul(text) : usual;
}

bool timeIsLimited() {
  return std::getenv("ZRDCMEXPORT_NO_TIME_LIMIT") == nullptr;
}

std::string bytesOf(const SmallFile& file) {
  const TempDir folder;
  const auto path = folder.file("small.dcm");
  const pid_t child = fork();
  if (child == 0) {
    try {
      saveFile(*file.build(), path, file.syntax);
      _exit(0);
    } catch (const std::exception&) {
      _exit(1);
    }
  }
  int status = -1;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
    throw std::runtime_error(std::string("cannot make the file ") + file.name);
  }
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace support
