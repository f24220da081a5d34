// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <wexlib/WexApi.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctagkey.h"
#include "dcmtk/dcmdata/dcxfer.h"
#include "dcmtk/ofstd/ofcond.h"
#include "dcmtk/ofstd/ofstring.h"

#include <memory>

/// The application's view of DICOM items, whatever toolkit or database is behind them.
namespace Wex {

/// A set of DICOM attributes that can be read.
///
/// All reads concern the item itself and not the sequences below it. Each answers a good condition
/// and a value, or a bad condition and a neutral value: a failed read *overwrites* its output with
/// an empty text, 0, a null pointer with count 0, or no item. Values behind pointers belong to the
/// item and live as long as their element is neither changed nor removed.
class WEX_API Item {
public:
  Item();
  virtual ~Item();
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;

  /// All values of an element as text, each without its padding, joined by backslashes.
  virtual OFCondition findAndGetOFStringArray(const DcmTagKey& tag, OFString& values) = 0;
  /// One value of an element as text without its padding. Value 0 of an empty element is good: "".
  /// @param tag   the element
  /// @param value the text
  /// @param pos   0-based number of the value
  virtual OFCondition findAndGetOFString(const DcmTagKey& tag, OFString& value,
                                         unsigned long pos = 0) = 0;
  /// One value of an element of VR US.
  /// @param tag   the element
  /// @param value the number
  /// @param pos   0-based number of the value
  virtual OFCondition findAndGetUint16(const DcmTagKey& tag, Uint16& value,
                                       unsigned long pos = 0) = 0;
  /// The whole value as bytes, where its VR can be seen as such (OB, UN; pixel and overlay data).
  /// An element without a value may be good with a null pointer.
  /// @param tag    the element
  /// @param values first byte
  /// @param count  number of bytes
  virtual OFCondition findAndGetUint8Array(const DcmTagKey& tag, const Uint8*& values,
                                           unsigned long& count) = 0;
  /// The whole value as 16-bit words in the machine's byte order, where its VR can be seen as such
  /// (US, OW; pixel and overlay data). An element without a value may be good with a null pointer.
  /// @param tag    the element
  /// @param values first word
  /// @param count  number of words
  virtual OFCondition findAndGetUint16Array(const DcmTagKey& tag, const Uint16*& values,
                                            unsigned long& count) = 0;
  /// An item of a sequence as an item of its own, a view into this one that must not outlive it.
  /// @param tag        the sequence
  /// @param item       receives the item; it is the caller's
  /// @param itemNumber 0-based; -1 is the last item
  virtual OFCondition findAndGetSequenceItem(const DcmTagKey& tag, std::unique_ptr<Item>& item,
                                             long itemNumber) = 0;
  /// How the item's data was encoded where it came from; EXS_Unknown when that cannot be told.
  /// @see PS3.5 10 (Transfer Syntax)
  virtual E_TransferSyntax transferSyntax() = 0;
};

}  // namespace Wex
