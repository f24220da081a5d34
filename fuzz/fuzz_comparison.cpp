// SPDX-License-Identifier: BSD-3-Clause
// The order of two datasets with attributes of any text, in the right VR or another. The order is
// not antisymmetric (see compare()), so what is held here is what must be true of it all the same:
// it answers the same for copies and when asked again, and without the vendor indices a dataset is
// equal to itself.
#include "FuzzDataset.h"

#include <zrdcmexport/ExDCM.h>

namespace {

using fuzz::Input;
using fuzz::require;

struct Criterion {
  Uint16 group;
  Uint16 element;
  DcmEVR vr;
};

constexpr std::array<Criterion, 11> kCriteria = {{{0x0008, 0x0008, EVR_CS},
                                                  {0x0018, 0x0050, EVR_DS},
                                                  {0x0018, 0x0081, EVR_DS},
                                                  {0x0020, 0x000e, EVR_UI},
                                                  {0x0020, 0x0013, EVR_IS},
                                                  {0x0020, 0x0100, EVR_IS},
                                                  {0x0045, 0x1033, EVR_DS},
                                                  {0x2005, 0x1412, EVR_IS},
                                                  {0x2005, 0x1413, EVR_IS},
                                                  {0x7005, 0x1005, EVR_SH},
                                                  {0x7005, 0x1016, EVR_UI}}};

void fill(DcmDataset& dataset, Input& input) {
  for (const Criterion& criterion : kCriteria) {
    const unsigned choice = input.below(8);
    if (choice == 0) {
      continue;
    }
    DcmTag tag(criterion.group, criterion.element, criterion.vr);
    if (choice == 1) {
      const std::string bytes = input.text(16);
      tag.setVR(EVR_UN);
      (void)dataset.putAndInsertUint8Array(tag, reinterpret_cast<const Uint8*>(bytes.data()),
                                           static_cast<unsigned long>(bytes.size()));
    } else if (choice == 2) {
      tag.setVR(EVR_US);
      (void)dataset.putAndInsertUint16(tag, input.word());
    } else {
      (void)dataset.putAndInsertString(tag, input.text(24).c_str());
    }
  }
}

int order(DcmDataset& first, DcmDataset& second, unsigned switches) {
  const auto on = [switches](unsigned bit) { return (switches >> bit & 1U) != 0; };
  return ExDCM::compare(&first, &second, on(0), on(1), on(2), on(3), on(4), on(5));
}

int sign(int value) {
  return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned switches = input.below(64);
  DcmDataset first;
  DcmDataset second;
  fill(first, input);
  fill(second, input);
  const int answer = sign(order(first, second, switches));
  DcmDataset firstCopy(first);
  DcmDataset secondCopy(second);
  require(sign(order(first, second, switches)) == answer);
  require(sign(order(firstCopy, secondCopy, switches)) == answer);
  constexpr unsigned kVendorIndices = 1;
  require(order(first, firstCopy, switches & ~kVendorIndices) == 0);
  require(order(first, first, switches & ~kVendorIndices) == 0);
  return 0;
}
