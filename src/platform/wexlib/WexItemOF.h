// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <wexlib/WexApi.h>
#include <wexlib/WexItem.h>

class DcmItem;

namespace Wex {

/// An item or dataset of DCMTK seen as a Wex::Item.
///
/// The DCMTK item is referred to, not copied or owned, and must outlive this object. Reading
/// changes no attribute, though DCMTK may load values from the item's file into memory.
class WEX_API ItemOF : public Item {
public:
  explicit ItemOF(DcmItem& item);
  ~ItemOF() override;

  OFCondition findAndGetOFStringArray(const DcmTagKey& tag, OFString& values) override;
  OFCondition findAndGetOFString(const DcmTagKey& tag, OFString& value,
                                 unsigned long pos = 0) override;
  OFCondition findAndGetUint16(const DcmTagKey& tag, Uint16& value, unsigned long pos = 0) override;
  OFCondition findAndGetUint8Array(const DcmTagKey& tag, const Uint8*& values,
                                   unsigned long& count) override;
  OFCondition findAndGetUint16Array(const DcmTagKey& tag, const Uint16*& values,
                                    unsigned long& count) override;
  /// An element that is not a sequence gives EC_InvalidVR, a missing item EC_ItemNotFound or
  /// EC_IllegalParameter as DCMTK decides.
  OFCondition findAndGetSequenceItem(const DcmTagKey& tag, std::unique_ptr<Item>& item,
                                     long itemNumber) override;

  /// The original transfer syntax of the dataset that the item is or is part of, however deep;
  /// where that is unknown because the dataset was made in memory, its current one. For an item
  /// that is not part of a dataset, the representation in which the pixel data of the item (or of
  /// the outermost item around it) is stored; EXS_Unknown where there is none.
  E_TransferSyntax transferSyntax() override;

private:
  DcmItem& item_;
};

}  // namespace Wex
