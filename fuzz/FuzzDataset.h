// SPDX-License-Identifier: BSD-3-Clause
// Small datasets built from the fuzzer's bytes: attributes first, then pixels, so that a mutation
// changes one attribute instead of breaking the parser.
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixel.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/oflog/oflog.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <string>
#include <vector>

namespace fuzz {

/// DCMTK reports every oddity of a dataset; a fuzzer makes nothing else.
inline void silenceDcmtk() {
  static const bool done = [] {
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    return true;
  }();
  (void)done;
}

/// Writes a 16-bit attribute, or leaves it out one time in eight.
inline void maybeUint16(DcmItem& item, FuzzedDataProvider& input, const DcmTagKey& key,
                        Uint16 likely) {
  const unsigned choice = input.ConsumeIntegralInRange<unsigned>(0, 7);
  if (choice == 0) {
    return;
  }
  (void)item.putAndInsertUint16(key, choice < 6 ? likely : input.ConsumeIntegral<Uint16>());
}

/// Writes a text attribute, or leaves it out one time in four.
inline void maybeText(DcmItem& item, FuzzedDataProvider& input, const DcmTagKey& key) {
  if (input.ConsumeIntegralInRange<unsigned>(0, 3) != 0) {
    (void)item.putAndInsertString(key, input.ConsumeRandomLengthString(24).c_str());
  }
}

/// The attributes that decoding reads; small sizes, mostly consistent.
inline void addImageAttributes(DcmItem& item, FuzzedDataProvider& input) {
  static const std::array<const char*, 7> photometrics = {
      "MONOCHROME2", "MONOCHROME1", "RGB", "PALETTE COLOR", "YBR_FULL", "YBR_FULL_422", "odd"};
  const Uint16 bits = input.ConsumeBool() ? 16 : 8;
  const std::string photometric = photometrics.at(input.ConsumeIntegralInRange<std::size_t>(0, 6));
  (void)item.putAndInsertString(DCM_PhotometricInterpretation, photometric.c_str());
  maybeUint16(item, input, DCM_SamplesPerPixel, photometric[0] == 'M' ? 1 : 3);
  maybeUint16(item, input, DCM_Rows, input.ConsumeIntegralInRange<Uint16>(0, 20));
  maybeUint16(item, input, DCM_Columns, input.ConsumeIntegralInRange<Uint16>(0, 40));
  maybeUint16(item, input, DCM_BitsAllocated, bits);
  maybeUint16(item, input, DCM_BitsStored, input.ConsumeIntegralInRange<Uint16>(0, bits));
  maybeUint16(item, input, DCM_HighBit, input.ConsumeIntegralInRange<Uint16>(0, bits));
  maybeUint16(item, input, DCM_PixelRepresentation, input.ConsumeBool() ? 1 : 0);
  maybeUint16(item, input, DCM_PlanarConfiguration, 0);
  for (const DcmTagKey& key :
       {DCM_NumberOfFrames, DCM_RescaleSlope, DCM_RescaleIntercept, DCM_WindowCenter,
        DCM_WindowWidth, DCM_PixelSpacing, DCM_LossyImageCompression}) {
    maybeText(item, input, key);
  }
}

/// One overlay group without overlay data, as embedded overlays are.
inline void addEmbeddedOverlay(DcmItem& item, FuzzedDataProvider& input) {
  const auto group =
      static_cast<Uint16>(0x6000 + 2 * input.ConsumeIntegralInRange<unsigned>(0, 15));
  maybeUint16(item, input, DcmTagKey(group, 0x0010), input.ConsumeIntegralInRange<Uint16>(0, 20));
  maybeUint16(item, input, DcmTagKey(group, 0x0011), input.ConsumeIntegralInRange<Uint16>(0, 40));
  maybeUint16(item, input, DcmTagKey(group, 0x0102), input.ConsumeIntegralInRange<Uint16>(0, 15));
  maybeUint16(item, input, DcmTagKey(group, 0x0051), 1);
  maybeText(item, input, DcmTagKey(group, 0x0015));
  const std::array<Sint16, 2> origin = {input.ConsumeIntegralInRange<Sint16>(-1, 8),
                                        input.ConsumeIntegralInRange<Sint16>(-1, 8)};
  (void)item.putAndInsertSint16Array(DcmTagKey(group, 0x0050), origin.data(), 2);
}

/// A LUT descriptor of three values and its data, 8-bit or 16-bit, of any length.
inline void addLut(DcmItem& item, FuzzedDataProvider& input, const DcmTagKey& descriptor,
                   const DcmTagKey& data) {
  const std::array<Uint16, 3> values = {input.ConsumeIntegralInRange<Uint16>(0, 64),
                                        input.ConsumeIntegral<Uint16>(),
                                        static_cast<Uint16>(input.ConsumeBool() ? 16 : 8)};
  DcmTag descriptorTag(descriptor);
  descriptorTag.setVR(EVR_US);
  const unsigned count = input.ConsumeIntegralInRange<unsigned>(1, 3);
  (void)item.putAndInsertUint16Array(descriptorTag, values.data(), count);
  std::vector<Uint16> entries(input.ConsumeIntegralInRange<std::size_t>(0, 70));
  for (Uint16& entry : entries) {
    entry = input.ConsumeIntegral<Uint16>();
  }
  DcmTag dataTag(data);
  if (input.ConsumeBool()) {
    dataTag.setVR(EVR_OB);
    (void)item.putAndInsertUint8Array(dataTag, reinterpret_cast<const Uint8*>(entries.data()),
                                      static_cast<unsigned long>(entries.size()));
  } else {
    dataTag.setVR(EVR_OW);
    (void)item.putAndInsertUint16Array(dataTag, entries.data(),
                                       static_cast<unsigned long>(entries.size()));
  }
}

inline void addModalityLut(DcmItem& item, FuzzedDataProvider& input) {
  DcmItem* lut = nullptr;
  if (item.findOrCreateSequenceItem(DCM_ModalityLUTSequence, lut).good() && lut != nullptr) {
    addLut(*lut, input, DCM_LUTDescriptor, DCM_LUTData);
  }
}

/// All bytes that are left, as words where that is possible.
inline void addNativePixels(DcmDataset& dataset, FuzzedDataProvider& input) {
  const std::vector<Uint8> pixels = input.ConsumeRemainingBytes<Uint8>();
  if (pixels.size() % 2 == 0) {
    std::vector<Uint16> words(pixels.size() / 2);
    std::copy(pixels.begin(), pixels.end(), reinterpret_cast<Uint8*>(words.data()));
    (void)dataset.putAndInsertUint16Array(DCM_PixelData, words.data(),
                                          static_cast<unsigned long>(words.size()));
  } else {
    (void)dataset.putAndInsertUint8Array(DCM_PixelData, pixels.data(),
                                         static_cast<unsigned long>(pixels.size()));
  }
}

/// Up to three fragments behind an empty offset table; the last one takes all bytes that are left.
inline void addEncapsulatedPixels(DcmDataset& dataset, FuzzedDataProvider& input,
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

}  // namespace fuzz
