// SPDX-License-Identifier: BSD-3-Clause
// Decoding end to end: native, RLE, JPEG and JPEG-LS, all frames or a range, into own memory or a
// target that is exactly as large as it says.
#include "FuzzDataset.h"

#include <ktlib/KtLogFile.h>
#include <zrdcmexport/ZrSliceImage.h>

#include <new>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::array<E_TransferSyntax, 8> syntaxes = {
      EXS_LittleEndianExplicit, EXS_RLELossless,    EXS_JPEGProcess1, EXS_JPEGProcess2_4,
      EXS_JPEGProcess14SV1,     EXS_JPEGLSLossless, EXS_JPEGLSLossy,  EXS_JPEG2000LosslessOnly};
  fuzz::silenceDcmtk();
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
  FuzzedDataProvider input(data, size);
  const E_TransferSyntax syntax = syntaxes.at(input.ConsumeIntegralInRange<std::size_t>(0, 7));
  const int first = input.ConsumeIntegralInRange<int>(-1, 3);
  const int last = input.ConsumeIntegralInRange<int>(-1, 4);
  std::vector<char> target(input.ConsumeIntegralInRange<std::size_t>(0, 2000));
  const bool useTarget = input.ConsumeBool();
  DcmDataset dataset;
  fuzz::addImageAttributes(dataset, input);
  if (input.ConsumeBool()) {
    fuzz::addEmbeddedOverlay(dataset, input);
  }
  if (input.ConsumeBool()) {
    fuzz::addModalityLut(dataset, input);
  }
  if (syntax == EXS_LittleEndianExplicit) {
    fuzz::addNativePixels(dataset, input);
  } else {
    fuzz::addEncapsulatedPixels(dataset, input, syntax);
  }

  Zrg::SliceImage slice;
  std::string error;
  try {
    const bool done = slice.process(dataset, error, first, last,
                                    useTarget ? target.data() : nullptr, target.size());
    if (done != error.empty() || done != slice.valid) {
      std::abort();
    }
  } catch (const std::bad_alloc&) {
    // Documented: passed on after the text was set.
  }
  return 0;
}
