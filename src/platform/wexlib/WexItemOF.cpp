// SPDX-License-Identifier: BSD-3-Clause
// DCMTK items behind the item interface. Most reads are DCMTK's own, which sets outputs to neutral
// values when it fails; what is added is a guard against elements that only pretend to be
// sequences, and the search for the transfer syntax.

#include <wexlib/WexItemOF.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcerror.h"
#include "dcmtk/dcmdata/dcitem.h"
#include "dcmtk/dcmdata/dcpixel.h"
#include "dcmtk/dcmdata/dcsequen.h"

namespace {

E_TransferSyntax syntaxOfDataset(const DcmDataset& dataset) {
  const E_TransferSyntax original = dataset.getOriginalXfer();
  return original != EXS_Unknown ? original : dataset.getCurrentXfer();
}

E_TransferSyntax syntaxOfPixelData(DcmItem& item) {
  DcmElement* element = nullptr;
  (void)item.findAndGetElement(DCM_PixelData, element);  // null says it all
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr) {
    return EXS_Unknown;
  }
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData->getOriginalRepresentationKey(syntax, parameter);
  return syntax;
}

}  // namespace

Wex::ItemOF::ItemOF(DcmItem& item) : item_(item) {}

Wex::ItemOF::~ItemOF() = default;

OFCondition Wex::ItemOF::findAndGetOFStringArray(const DcmTagKey& tag, OFString& values) {
  return item_.findAndGetOFStringArray(tag, values);
}

OFCondition Wex::ItemOF::findAndGetOFString(const DcmTagKey& tag, OFString& value,
                                            unsigned long pos) {
  return item_.findAndGetOFString(tag, value, pos);
}

OFCondition Wex::ItemOF::findAndGetUint16(const DcmTagKey& tag, Uint16& value, unsigned long pos) {
  return item_.findAndGetUint16(tag, value, pos);
}

OFCondition Wex::ItemOF::findAndGetUint8Array(const DcmTagKey& tag, const Uint8*& values,
                                              unsigned long& count) {
  return item_.findAndGetUint8Array(tag, values, &count);
}

OFCondition Wex::ItemOF::findAndGetUint16Array(const DcmTagKey& tag, const Uint16*& values,
                                               unsigned long& count) {
  return item_.findAndGetUint16Array(tag, values, &count);
}

OFCondition Wex::ItemOF::findAndGetSequenceItem(const DcmTagKey& tag, std::unique_ptr<Item>& item,
                                                long itemNumber) {
  item.reset();
  DcmElement* element = nullptr;
  if (const OFCondition status = item_.findAndGetElement(tag, element); status.bad()) {
    return status;
  }
  // DCMTK casts to a sequence whatever calls itself SQ, so the class is asked first.
  if (dynamic_cast<DcmSequenceOfItems*>(element) == nullptr) {
    return EC_InvalidVR;
  }
  DcmItem* found = nullptr;
  const OFCondition status = item_.findAndGetSequenceItem(tag, found, itemNumber);
  if (status.good() && found != nullptr) {
    item = std::make_unique<ItemOF>(*found);
  }
  return status;
}

E_TransferSyntax Wex::ItemOF::transferSyntax() {
  DcmItem* const root = item_.getRootItem();
  DcmItem& outermost = root != nullptr ? *root : item_;
  if (const auto* const dataset = dynamic_cast<const DcmDataset*>(&outermost); dataset != nullptr) {
    return syntaxOfDataset(*dataset);
  }
  return syntaxOfPixelData(outermost);
}
