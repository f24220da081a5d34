// SPDX-License-Identifier: BSD-3-Clause
// Tables of the VOI LUT Sequence:
//
//   LUT Descriptor   number of entries (0 stands for 65536), first mapped value, bits of an entry
//   LUT Data         a word for each entry; entries of 8 bits also two in a word, the first one low
//
// The number of entries is that of the data where it has fewer than the descriptor says.
#include "zrimaging/images/VoiTables.h"

#include "zrimaging/images/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace zr {

namespace {

constexpr unsigned kMostBits = 16;
constexpr std::size_t kMostEntries = 65536;

struct Descriptor {
  std::size_t entries;
  int firstMapped;
  unsigned bits;
};

/// Words of an element that may be US, SS or OW; nothing when it has none.
std::optional<std::vector<std::uint16_t>> wordsAt(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(key, element).bad() || element->getLength() == 0) {
    return std::nullopt;
  }
  const std::size_t count = element->getLength() / sizeof(std::uint16_t);
  Uint16* words = nullptr;
  Sint16* signedWords = nullptr;
  if (element->getUint16Array(words).good() && words != nullptr) {
    return std::vector<std::uint16_t>(words, words + count);
  }
  if (element->getSint16Array(signedWords).good() && signedWords != nullptr) {
    return std::vector<std::uint16_t>(signedWords, signedWords + count);
  }
  return std::nullopt;
}

// The VR says whether the first mapped value has a sign; implicit VR leaves it to the samples.
bool isDescriptorSigned(DcmItem& item) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(DCM_LUTDescriptor, element).good() && element->ident() == EVR_SS) {
    return true;
  }
  const auto* const dataset = dynamic_cast<DcmDataset*>(item.getRootItem());
  const bool isExplicit = dataset != nullptr && DcmXfer(dataset->getOriginalXfer()).isExplicitVR();
  Uint16 representation = 0;
  return !isExplicit && item.getRootItem() != nullptr &&
         item.getRootItem()->findAndGetUint16(DCM_PixelRepresentation, representation).good() &&
         representation == 1;
}

std::optional<Descriptor> descriptorOf(DcmItem& item) {
  const auto words = wordsAt(item, DCM_LUTDescriptor);
  if (!words || words->size() < 3) {
    return std::nullopt;
  }
  const std::uint16_t first = (*words)[1];
  return Descriptor{(*words)[0] == 0 ? kMostEntries : (*words)[0],
                    isDescriptorSigned(item) ? static_cast<std::int16_t>(first) : int{first},
                    (*words)[2]};
}

std::vector<std::uint16_t> entriesOf(const Descriptor& descriptor,
                                     const std::vector<std::uint16_t>& words) {
  constexpr unsigned kBitsOfByte = 8;
  if (descriptor.bits > kBitsOfByte || words.size() >= descriptor.entries) {
    const auto count = static_cast<std::ptrdiff_t>(std::min(descriptor.entries, words.size()));
    return {words.begin(), words.begin() + count};
  }
  std::vector<std::uint16_t> entries;
  for (const std::uint16_t word : words) {
    entries.push_back(word & 0xFFU);
    entries.push_back(static_cast<std::uint16_t>(word >> kBitsOfByte));
  }
  entries.resize(std::min(descriptor.entries, entries.size()));
  return entries;
}

std::optional<VoiTable> tableOf(DcmItem& item) {
  const std::optional<Descriptor> descriptor = descriptorOf(item);
  const auto words = wordsAt(item, DCM_LUTData);
  if (!descriptor || !words || descriptor->bits == 0 || descriptor->bits > kMostBits) {
    return std::nullopt;
  }
  auto entries = std::make_shared<const std::vector<std::uint16_t>>(entriesOf(*descriptor, *words));
  if (entries->empty()) {
    return std::nullopt;
  }
  return VoiTable{descriptor->firstMapped, descriptor->bits, std::move(entries),
                  nameAt(item, DCM_LUTExplanation)};
}

}  // namespace

std::vector<VoiTable> readVoiTables(DcmItem& item) {
  constexpr unsigned kMostTables = 16;
  std::vector<VoiTable> tables;
  DcmSequenceOfItems* sequence = nullptr;
  if (item.findAndGetSequence(DCM_VOILUTSequence, sequence).bad()) {
    return tables;
  }
  for (unsigned long i = 0; i < std::min<unsigned long>(sequence->card(), kMostTables); ++i) {
    if (std::optional<VoiTable> table = tableOf(*sequence->getItem(i))) {
      tables.push_back(std::move(*table));
    }
  }
  return tables;
}

}  // namespace zr
