// SPDX-License-Identifier: BSD-3-Clause
// An item whose every view is set by hand: also those that no DCMTK element offers, such as one
// value seen both as bytes and as words.
#pragma once

#include <wexlib/WexItem.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace luttest {

class FakeItem : public Wex::Item {
public:
  FakeItem() = default;

  FakeItem& text(const DcmTagKey& tag, const std::string& values);
  FakeItem& number(const DcmTagKey& tag, Uint16 value);
  FakeItem& bytes(const DcmTagKey& tag, std::vector<Uint8> values);
  FakeItem& words(const DcmTagKey& tag, std::vector<Uint16> values);
  /// Item 0 of a sequence; must outlive this one.
  FakeItem& item(const DcmTagKey& sequence, FakeItem& content);
  /// A sequence whose lookup succeeds and gives no item.
  FakeItem& noItem(const DcmTagKey& sequence);
  /// Array reads of what is not there succeed with a null pointer.
  FakeItem& findsNothingWithSuccess();
  /// Failed array reads leave rubbish behind instead of null.
  FakeItem& failsWithRubbish();

  /// The tags that were asked for, in order.
  const std::vector<DcmTagKey>& asked() const { return asked_; }

  OFCondition findAndGetOFStringArray(const DcmTagKey& tag, OFString& values) override;
  OFCondition findAndGetOFString(const DcmTagKey& tag, OFString& value, unsigned long pos) override;
  OFCondition findAndGetUint16(const DcmTagKey& tag, Uint16& value, unsigned long pos) override;
  OFCondition findAndGetUint8Array(const DcmTagKey& tag, const Uint8*& values,
                                   unsigned long& count) override;
  OFCondition findAndGetUint16Array(const DcmTagKey& tag, const Uint16*& values,
                                    unsigned long& count) override;
  OFCondition findAndGetSequenceItem(const DcmTagKey& tag, std::unique_ptr<Wex::Item>& found,
                                     long itemNumber) override;
  E_TransferSyntax transferSyntax() override { return EXS_Unknown; }

private:
  template <class T>
  OFCondition getArray(const std::map<DcmTagKey, std::vector<T>>& arrays, const DcmTagKey& tag,
                       const T*& values, unsigned long& count);

  std::map<DcmTagKey, std::string> texts_;
  std::map<DcmTagKey, Uint16> numbers_;
  std::map<DcmTagKey, std::vector<Uint8>> bytes_;
  std::map<DcmTagKey, std::vector<Uint16>> words_;
  std::map<DcmTagKey, FakeItem*> items_;
  bool findsNothingWithSuccess_ = false;
  bool failsWithRubbish_ = false;
  std::vector<DcmTagKey> asked_;
};

}  // namespace luttest
