// SPDX-License-Identifier: BSD-3-Clause
// Overlay groups of any kind over samples of exactly the size that the slice says.
#include "FuzzDataset.h"

#include <zrdcmexport/ZrSliceImage.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::silenceDcmtk();
  FuzzedDataProvider input(data, size);
  DcmDataset dataset;
  for (unsigned groups = input.ConsumeIntegralInRange<unsigned>(1, 3); groups > 0; --groups) {
    fuzz::addEmbeddedOverlay(dataset, input);
  }
  const KtVec3l extent{input.ConsumeIntegralInRange<int>(0, 40),
                       input.ConsumeIntegralInRange<int>(0, 20),
                       input.ConsumeIntegralInRange<int>(0, 3)};
  const unsigned bytes = input.ConsumeBool() ? 2 : 1;
  const int first = input.ConsumeIntegralInRange<int>(0, 4);
  const int last = input.ConsumeIntegralInRange<int>(0, 4);
  std::string samples = input.ConsumeRemainingBytesAsString();
  samples.resize(static_cast<std::size_t>(extent.x * extent.y * extent.z) * bytes);
  std::vector<std::uint16_t> aligned(samples.size() / 2 + 1);
  std::memcpy(aligned.data(), samples.data(), samples.size());

  Zrg::SliceImage slice;
  slice.setFrameOffset(0, bytes, 1, extent, false, true);
  slice.data = reinterpret_cast<char*>(aligned.data());
  slice.extractEmbeddedOverlays(dataset, first, last);
  return 0;
}
