// SPDX-License-Identifier: BSD-3-Clause
// Decoding end to end: native, RLE, JPEG and JPEG-LS, all frames or a range, into own memory or a
// target that is exactly as large as it says.
#include "FuzzDataset.h"

#include <ktlib/KtLogFile.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/dcmdata/dcpixel.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"

#include <new>

namespace {

void addNativePixels(DcmDataset& dataset, FuzzedDataProvider& input) {
  const std::vector<Uint8> pixels = input.ConsumeRemainingBytes<Uint8>();
  if (pixels.size() % 2 == 0) {
    std::vector<Uint16> words(pixels.size() / 2);
    std::memcpy(words.data(), pixels.data(), pixels.size());
    (void)dataset.putAndInsertUint16Array(DCM_PixelData, words.data(),
                                          static_cast<unsigned long>(words.size()));
  } else {
    (void)dataset.putAndInsertUint8Array(DCM_PixelData, pixels.data(),
                                         static_cast<unsigned long>(pixels.size()));
  }
}

void addEncapsulatedPixels(DcmDataset& dataset, FuzzedDataProvider& input,
                           E_TransferSyntax syntax) {
  auto sequence = std::make_unique<DcmPixelSequence>(DcmTag(DCM_PixelData, EVR_OB));
  (void)sequence->insert(new DcmPixelItem(DcmTag(DCM_Item, EVR_OB)));
  for (unsigned fragments = input.ConsumeIntegralInRange<unsigned>(0, 3); fragments > 0;
       --fragments) {
    std::vector<Uint8> bytes =
        fragments > 1 ? input.ConsumeBytes<Uint8>(input.ConsumeIntegralInRange<std::size_t>(0, 200))
                      : input.ConsumeRemainingBytes<Uint8>();
    bytes.resize(bytes.size() + bytes.size() % 2);
    auto* item = new DcmPixelItem(DcmTag(DCM_Item, EVR_OB));
    (void)item->putUint8Array(bytes.data(), static_cast<unsigned long>(bytes.size()));
    (void)sequence->insert(item);
  }
  auto* pixels = new DcmPixelData(DCM_PixelData);
  pixels->putOriginalRepresentation(syntax, nullptr, sequence.release());
  if (dataset.insert(pixels, true).bad()) {
    delete pixels;
  }
}

}  // namespace

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
    addNativePixels(dataset, input);
  } else {
    addEncapsulatedPixels(dataset, input, syntax);
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
