// SPDX-License-Identifier: BSD-3-Clause
// DCMTK keeps a global pointer to the colour registration that our library brings along. An
// application that loads and unloads the library must be able to render colour afterwards: a
// registration that went away with the library would crash it here.
#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmimgle/dcmimage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <dlfcn.h>

namespace {

constexpr std::array<Uint8, 12> kFourPixels = {255, 0, 0, 0, 255, 0, 0, 0, 255, 10, 20, 30};

DcmDataset rgbImageOfTwoByTwo() {
  DcmDataset dataset;
  dataset.putAndInsertUint16(DCM_SamplesPerPixel, 3);
  dataset.putAndInsertString(DCM_PhotometricInterpretation, "RGB");
  dataset.putAndInsertUint16(DCM_PlanarConfiguration, 0);
  dataset.putAndInsertUint16(DCM_Rows, 2);
  dataset.putAndInsertUint16(DCM_Columns, 2);
  dataset.putAndInsertUint16(DCM_BitsAllocated, 8);
  dataset.putAndInsertUint16(DCM_BitsStored, 8);
  dataset.putAndInsertUint16(DCM_HighBit, 7);
  dataset.putAndInsertUint16(DCM_PixelRepresentation, 0);
  dataset.putAndInsertUint8Array(DCM_PixelData, kFourPixels.data(), kFourPixels.size());
  return dataset;
}

TEST(Library, LeavesColourRenderingIntactAfterItWasUnloaded) {
  void* library = dlopen(ZRDCMEXPORT_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  ASSERT_EQ(dlclose(library), 0);

  DcmDataset dataset = rgbImageOfTwoByTwo();
  DicomImage image(&dataset, EXS_LittleEndianExplicit);
  std::array<Uint8, kFourPixels.size()> rendered{};

  ASSERT_EQ(image.getStatus(), EIS_Normal);
  ASSERT_NE(image.getOutputData(rendered.data(), rendered.size(), 8), 0);
  EXPECT_EQ(rendered, kFourPixels);
}

}  // namespace
