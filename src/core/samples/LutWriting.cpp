// SPDX-License-Identifier: BSD-3-Clause
// Lookup tables into DICOM items, in the forms that the reader takes back:
//
//     modality LUT   descriptor US (entries, first mapped, bits); data OB of one byte per entry, or
//                    16-bit words in the dictionary's VR
//     palette        per channel a descriptor US and data OW of one word per entry; 8-bit values
//                    stand in both halves of their word, so that readers of either half are right
//
// The old elements go first, whatever follows.

#include <ktlib/KtPrimType.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcitem.h"
#include "dcmtk/dcmdata/dcsequen.h"
#include "dcmtk/dcmdata/dcvrobow.h"
#include "dcmtk/dcmdata/dcvrus.h"

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace ExDicomUtilities {
namespace {

// DCMTK's failures are collected and not reported: what cannot be put is missing in the item.
void keepFirstFailure(OFCondition& status, const OFCondition& next) {
  if (status.good()) {
    status = next;
  }
}

// The entries side by side and what the descriptor says of them.
class EntryTable {
public:
  explicit EntryTable(const LUT& lut) : firstMapped_(lut.firstMapped) {
    if (lut.entries.isNotNull()) {
      lut.entries->clone(entries_, KtAllocator(1));
    }
  }

  [[nodiscard]] bool is8() const { return hasType(KtPrimType::U8); }
  [[nodiscard]] bool is16() const { return hasType(KtPrimType::U16); }
  [[nodiscard]] unsigned valuesPerEntry() const { return entries_->nDataVar(); }
  [[nodiscard]] std::size_t size() const { return static_cast<std::size_t>(entries_->dims().x); }
  [[nodiscard]] const Uint8* bytes() const {
    return static_cast<const Uint8*>(entries_->dataPtr(0));
  }
  [[nodiscard]] const Uint16* words() const {
    return static_cast<const Uint16*>(entries_->dataPtr(0));
  }

  // Number of entries (0 when 16 bits cannot say it), first mapped value, bits per entry.
  [[nodiscard]] std::array<Uint16, 3> descriptor() const {
    const auto count = static_cast<Uint32>(size());
    return {static_cast<Uint16>((count >> 16) == 0 ? count : 0), static_cast<Uint16>(firstMapped_),
            static_cast<Uint16>(is8() ? 8 : 16)};
  }

private:
  [[nodiscard]] bool hasType(KtPrimType type) const {
    return entries_.isNotNull() && entries_->hasData() && entries_->primType() == type;
  }

  int firstMapped_;
  KtHandle<ZrDataAccess> entries_;
};

// Puts an element into an item, which owns it from then on.
template <class Element>
void insertInto(DcmItem& item, std::unique_ptr<Element> element, OFCondition& status) {
  const OFCondition inserted = item.insert(element.get(), true);
  if (inserted.good()) {
    (void)element.release();  // owned by the item
  }
  keepFirstFailure(status, inserted);
}

void insertDescriptor(DcmItem& item, const DcmTagKey& tag, const EntryTable& table,
                      OFCondition& status) {
  const std::array<Uint16, 3> values = table.descriptor();
  auto element = std::make_unique<DcmUnsignedShort>(DcmTag(tag));
  keepFirstFailure(status, element->putUint16Array(values.data(), values.size()));
  insertInto(item, std::move(element), status);
}

void insertModalityData(DcmItem& item, const EntryTable& table, OFCondition& status) {
  const auto count = static_cast<unsigned long>(table.size());
  if (table.is8()) {
    // The VR comes first: as words, which is the dictionary's view, the element takes no bytes.
    auto element = std::make_unique<DcmOtherByteOtherWord>(DcmTag(DCM_LUTData));
    keepFirstFailure(status, element->setVR(EVR_OB));
    keepFirstFailure(status, element->putUint8Array(table.bytes(), count));
    insertInto(item, std::move(element), status);
  } else {
    // With the dictionary's VR the data may exceed the 64 KiB that US can hold in a file.
    auto element = std::make_unique<DcmUnsignedShort>(DcmTag(DCM_LUTData));
    keepFirstFailure(status, element->putUint16Array(table.words(), count));
    insertInto(item, std::move(element), status);
  }
}

void insertModalityLut(DcmItem& item, const EntryTable& table, OFCondition& status) {
  auto sequence = std::make_unique<DcmSequenceOfItems>(DcmTag(DCM_ModalityLUTSequence));
  auto lutItem = std::make_unique<DcmItem>();
  insertDescriptor(*lutItem, DCM_LUTDescriptor, table, status);
  insertModalityData(*lutItem, table, status);
  const OFCondition appended = sequence->append(lutItem.get());
  if (appended.good()) {
    (void)lutItem.release();  // owned by the sequence
  }
  keepFirstFailure(status, appended);
  insertInto(item, std::move(sequence), status);
}

const std::array<DcmTagKey, 3>& paletteDescriptors() {
  static const std::array<DcmTagKey, 3> kTags = {DCM_RedPaletteColorLookupTableDescriptor,
                                                 DCM_GreenPaletteColorLookupTableDescriptor,
                                                 DCM_BluePaletteColorLookupTableDescriptor};
  return kTags;
}

const std::array<DcmTagKey, 3>& paletteData() {
  static const std::array<DcmTagKey, 3> kTags = {DCM_RedPaletteColorLookupTableData,
                                                 DCM_GreenPaletteColorLookupTableData,
                                                 DCM_BluePaletteColorLookupTableData};
  return kTags;
}

std::vector<Uint16> channelWords(const EntryTable& table, std::size_t channel) {
  constexpr unsigned kInBothHalves = 0x0101;
  std::vector<Uint16> words(table.size());
  for (std::size_t i = 0; i < words.size(); ++i) {
    words[i] = table.is8() ? static_cast<Uint16>(table.bytes()[3 * i + channel] * kInBothHalves)
                           : table.words()[3 * i + channel];
  }
  return words;
}

void insertPalette(DcmItem& item, const EntryTable& table, OFCondition& status) {
  for (std::size_t channel = 0; channel < 3; ++channel) {
    insertDescriptor(item, paletteDescriptors()[channel], table, status);
    const std::vector<Uint16> words = channelWords(table, channel);
    auto element = std::make_unique<DcmOtherByteOtherWord>(DcmTag(paletteData()[channel]));
    keepFirstFailure(status, element->setVR(EVR_OW));
    keepFirstFailure(
        status, element->putUint16Array(words.data(), static_cast<unsigned long>(words.size())));
    insertInto(item, std::move(element), status);
  }
}

void removeOldLut(DcmItem& item, bool palette) {
  const auto remove = [&item](const DcmTagKey& tag) {
    const std::unique_ptr<DcmElement> removed(item.remove(tag));
  };
  if (!palette) {
    remove(DCM_ModalityLUTSequence);
    return;
  }
  for (std::size_t channel = 3; channel-- > 0;) {
    remove(paletteDescriptors()[channel]);
    remove(paletteData()[channel]);
  }
}

}  // namespace

void LUT::dcmDatasetWrite(const LUT& lut, DcmItem& item, bool writePalette) {
  removeOldLut(item, writePalette);
  const EntryTable table(lut);
  if (!table.is8() && !table.is16()) {
    return;
  }
  OFCondition status = EC_Normal;
  if (writePalette && table.valuesPerEntry() == 3) {
    insertPalette(item, table, status);
  } else if (!writePalette && table.valuesPerEntry() == 1) {
    insertModalityLut(item, table, status);
  }
}

}  // namespace ExDicomUtilities
