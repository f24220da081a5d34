// SPDX-License-Identifier: BSD-3-Clause
#include "FakeItem.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcerror.h"

namespace luttest {
namespace {

// An item of a sequence: a view of its own into the content.
class View : public Wex::Item {
public:
  explicit View(FakeItem& content) : content_(content) {}

  OFCondition findAndGetOFStringArray(const DcmTagKey& tag, OFString& values) override {
    return content_.findAndGetOFStringArray(tag, values);
  }
  OFCondition findAndGetOFString(const DcmTagKey& tag, OFString& value,
                                 unsigned long pos) override {
    return content_.findAndGetOFString(tag, value, pos);
  }
  OFCondition findAndGetUint16(const DcmTagKey& tag, Uint16& value, unsigned long pos) override {
    return content_.findAndGetUint16(tag, value, pos);
  }
  OFCondition findAndGetUint8Array(const DcmTagKey& tag, const Uint8*& values,
                                   unsigned long& count) override {
    return content_.findAndGetUint8Array(tag, values, count);
  }
  OFCondition findAndGetUint16Array(const DcmTagKey& tag, const Uint16*& values,
                                    unsigned long& count) override {
    return content_.findAndGetUint16Array(tag, values, count);
  }
  OFCondition findAndGetSequenceItem(const DcmTagKey& tag, std::unique_ptr<Wex::Item>& found,
                                     long itemNumber) override {
    return content_.findAndGetSequenceItem(tag, found, itemNumber);
  }
  E_TransferSyntax transferSyntax() override { return content_.transferSyntax(); }

private:
  FakeItem& content_;
};

}  // namespace

FakeItem& FakeItem::text(const DcmTagKey& tag, const std::string& values) {
  texts_[tag] = values;
  return *this;
}

FakeItem& FakeItem::number(const DcmTagKey& tag, Uint16 value) {
  numbers_[tag] = value;
  return *this;
}

FakeItem& FakeItem::bytes(const DcmTagKey& tag, std::vector<Uint8> values) {
  bytes_[tag] = std::move(values);
  return *this;
}

FakeItem& FakeItem::words(const DcmTagKey& tag, std::vector<Uint16> values) {
  words_[tag] = std::move(values);
  return *this;
}

FakeItem& FakeItem::item(const DcmTagKey& sequence, FakeItem& content) {
  items_[sequence] = &content;
  return *this;
}

FakeItem& FakeItem::noItem(const DcmTagKey& sequence) {
  items_[sequence] = nullptr;
  return *this;
}

FakeItem& FakeItem::findsNothingWithSuccess() {
  findsNothingWithSuccess_ = true;
  return *this;
}

FakeItem& FakeItem::failsWithRubbish() {
  failsWithRubbish_ = true;
  return *this;
}

OFCondition FakeItem::findAndGetOFStringArray(const DcmTagKey& tag, OFString& values) {
  asked_.push_back(tag);
  const auto found = texts_.find(tag);
  values = found == texts_.end() ? "" : found->second;
  return found == texts_.end() ? EC_TagNotFound : EC_Normal;
}

OFCondition FakeItem::findAndGetOFString(const DcmTagKey& tag, OFString& value,
                                         unsigned long /*pos*/) {
  OFString values;
  const OFCondition status = findAndGetOFStringArray(tag, values);
  value = values.substr(0, values.find('\\'));
  return status;
}

OFCondition FakeItem::findAndGetUint16(const DcmTagKey& tag, Uint16& value, unsigned long /*pos*/) {
  asked_.push_back(tag);
  const auto found = numbers_.find(tag);
  value = found == numbers_.end() ? Uint16{0} : found->second;
  return found == numbers_.end() ? EC_TagNotFound : EC_Normal;
}

template <class T>
OFCondition FakeItem::getArray(const std::map<DcmTagKey, std::vector<T>>& arrays,
                               const DcmTagKey& tag, const T*& values, unsigned long& count) {
  static const T kRubbish{77};
  asked_.push_back(tag);
  values = failsWithRubbish_ ? &kRubbish : nullptr;
  count = failsWithRubbish_ ? 1 : 0;
  const auto found = arrays.find(tag);
  if (found == arrays.end()) {
    return findsNothingWithSuccess_ ? EC_Normal : EC_TagNotFound;
  }
  values = found->second.data();
  count = static_cast<unsigned long>(found->second.size());
  return EC_Normal;
}

OFCondition FakeItem::findAndGetUint8Array(const DcmTagKey& tag, const Uint8*& values,
                                           unsigned long& count) {
  return getArray(bytes_, tag, values, count);
}

OFCondition FakeItem::findAndGetUint16Array(const DcmTagKey& tag, const Uint16*& values,
                                            unsigned long& count) {
  return getArray(words_, tag, values, count);
}

OFCondition FakeItem::findAndGetSequenceItem(const DcmTagKey& tag,
                                             std::unique_ptr<Wex::Item>& found,
                                             long /*itemNumber*/) {
  asked_.push_back(tag);
  found.reset();
  const auto entry = items_.find(tag);
  if (entry == items_.end()) {
    return EC_TagNotFound;
  }
  if (entry->second != nullptr) {
    found = std::make_unique<View>(*entry->second);
  }
  return EC_Normal;
}

}  // namespace luttest
