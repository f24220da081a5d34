// SPDX-License-Identifier: BSD-3-Clause
// Parts of datasets built from the fuzzer's bytes.
#pragma once

#include "Input.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <string>
#include <vector>

namespace fuzz {

/// Writes a 16-bit attribute: the likely value, any other one time in eight, or none likewise.
inline void maybeUint16(DcmItem& item, Input& input, const DcmTagKey& key, Uint16 likely) {
  const unsigned choice = input.below(8);
  if (choice != 7) {
    (void)item.putAndInsertUint16(key, choice < 6 ? likely : input.word());
  }
}

/// One overlay group without overlay data, as embedded overlays are.
inline void addEmbeddedOverlay(DcmItem& item, Input& input) {
  const auto group = static_cast<Uint16>(0x6000 + 2 * input.below(16));
  maybeUint16(item, input, DcmTagKey(group, 0x0010), static_cast<Uint16>(input.below(24)));
  maybeUint16(item, input, DcmTagKey(group, 0x0011), static_cast<Uint16>(input.below(80)));
  maybeUint16(item, input, DcmTagKey(group, 0x0102), static_cast<Uint16>(input.below(16)));
  maybeUint16(item, input, DcmTagKey(group, 0x0051), 1);
  if (input.flag()) {
    (void)item.putAndInsertString(DcmTagKey(group, 0x0015), input.text(8).c_str());
  }
  const std::array<Sint16, 2> origin = {static_cast<Sint16>(input.below(12) - 2),
                                        static_cast<Sint16>(input.below(12) - 2)};
  (void)item.putAndInsertSint16Array(DcmTagKey(group, 0x0050), origin.data(), 2);
}

/// A LUT descriptor of up to three values and its data, 8-bit or 16-bit, of any length.
inline void addLut(DcmItem& item, Input& input, const DcmTagKey& descriptor,
                   const DcmTagKey& data) {
  const unsigned form = input.byte();
  const std::array<Uint16, 3> values = {static_cast<Uint16>(input.below(65)), input.word(),
                                        static_cast<Uint16>(form & 1U ? 16 : 8)};
  DcmTag descriptorTag(descriptor);
  descriptorTag.setVR(form & 2U ? EVR_SS : EVR_US);
  const unsigned count = form & 4U ? 1 + input.below(3) : 3;
  if (form & 2U) {
    (void)item.putAndInsertSint16Array(descriptorTag,
                                       reinterpret_cast<const Sint16*>(values.data()), count);
  } else {
    (void)item.putAndInsertUint16Array(descriptorTag, values.data(), count);
  }
  std::vector<Uint8> entries = input.bytes(input.below(144));
  DcmTag dataTag(data);
  if (form & 8U) {
    dataTag.setVR(EVR_OB);
    (void)item.putAndInsertUint8Array(dataTag, entries.data(), entries.size());
  } else {
    dataTag.setVR(form & 16U ? EVR_US : EVR_OW);
    std::vector<Uint16> words(entries.size() / 2);
    std::copy_n(entries.begin(), 2 * words.size(), reinterpret_cast<Uint8*>(words.data()));
    (void)item.putAndInsertUint16Array(dataTag, words.data(), words.size());
  }
}

inline void addModalityLut(DcmItem& item, Input& input) {
  DcmItem* lut = nullptr;
  if (item.findOrCreateSequenceItem(DCM_ModalityLUTSequence, lut).good() && lut != nullptr) {
    addLut(*lut, input, DCM_LUTDescriptor, DCM_LUTData);
  }
}

inline void addPalette(DcmItem& item, Input& input) {
  for (const Uint16 element : {Uint16{0x1101}, Uint16{0x1102}, Uint16{0x1103}}) {
    addLut(item, input, DcmTagKey(0x0028, element),
           DcmTagKey(0x0028, static_cast<Uint16>(element + 0x100)));
  }
}

}  // namespace fuzz
