// SPDX-License-Identifier: BSD-3-Clause
#include "support/DatasetBuilder.h"

#include <stdexcept>

namespace support {

namespace {

void require(const OFCondition& status, const DcmTagKey& key) {
  if (status.bad()) {
    throw std::logic_error(std::string("builder: ") + key.toString().c_str() + ": " +
                           status.text());
  }
}

}  // namespace

void DatasetContent::putText(const DcmTagKey& key, const std::string& text) {
  require(dataset_.putAndInsertString(DcmTag(key), text.c_str()), key);
}

void DatasetContent::putText(const DcmTagKey& key, DcmEVR vr, const std::string& text) {
  require(dataset_.putAndInsertString(DcmTag(key, DcmVR(vr)), text.c_str()), key);
}

void DatasetContent::putUint16(const DcmTagKey& key, const std::vector<Uint16>& values) {
  // The VR is forced: LUT descriptors and their kin are "US or SS" in the dictionary.
  auto element = std::make_unique<DcmUnsignedShort>(DcmTag(key, EVR_US));
  require(element->putUint16Array(values.data(), static_cast<unsigned long>(values.size())), key);
  putElement(std::move(element));
}

void DatasetContent::putSint16(const DcmTagKey& key, const std::vector<Sint16>& values) {
  auto element = std::make_unique<DcmSignedShort>(DcmTag(key, EVR_SS));
  require(element->putSint16Array(values.data(), static_cast<unsigned long>(values.size())), key);
  putElement(std::move(element));
}

void DatasetContent::putBytes(const DcmTagKey& key, DcmEVR vr, const std::vector<Uint8>& bytes) {
  if (key == DCM_PixelData) {
    require(dataset_.putAndInsertUint8Array(DCM_PixelData, bytes.data(),
                                            static_cast<unsigned long>(bytes.size())),
            key);
    return;
  }
  auto element = std::make_unique<DcmOtherByteOtherWord>(DcmTag(key, DcmVR(vr)));
  require(element->putUint8Array(bytes.data(), static_cast<unsigned long>(bytes.size())), key);
  putElement(std::move(element));
}

void DatasetContent::putWords(const DcmTagKey& key, const std::vector<Uint16>& words) {
  if (key == DCM_PixelData) {
    require(dataset_.putAndInsertUint16Array(DCM_PixelData, words.data(),
                                             static_cast<unsigned long>(words.size())),
            key);
    return;
  }
  auto element = std::make_unique<DcmOtherByteOtherWord>(DcmTag(key, EVR_OW));
  require(element->putUint16Array(words.data(), static_cast<unsigned long>(words.size())), key);
  putElement(std::move(element));
}

void DatasetContent::putElement(std::unique_ptr<DcmElement> element) {
  const DcmTagKey key = element->getTag();
  require(dataset_.insert(element.get(), OFTrue), key);
  (void)element.release();  // insert() took it over
}

void DatasetContent::appendItem(const DcmTagKey& sequence, const DcmItem& item) {
  require(dataset_.insertSequenceItem(DcmTag(sequence), new DcmItem(item), -2), sequence);
}

void DatasetContent::remove(const DcmTagKey& key) {
  delete dataset_.remove(key);
}

std::unique_ptr<DcmDataset> DatasetBuilder::build() const {
  return std::make_unique<DcmDataset>(content_.dataset());
}

std::unique_ptr<DcmItem> DatasetBuilder::buildItem() const {
  return std::make_unique<DcmItem>(static_cast<const DcmItem&>(content_.dataset()));
}

}  // namespace support
