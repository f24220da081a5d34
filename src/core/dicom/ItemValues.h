// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcitem.h"

#include <optional>
#include <utility>

/// Values of an item. DCMTK overwrites what it is given even where it finds nothing; here a value
/// that is missing is nothing. `Item` is a DcmItem or a Wex::Item; it is only read.
namespace Zrg {

/// The element itself; null when there is none at the item's top level.
[[nodiscard]] inline DcmElement* topLevelElement(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  return item.findAndGetElement(key, element).good() ? element : nullptr;
}

/// One value as text, which is empty for an element without values. Numbers come as decimals.
template <class Item>
[[nodiscard]] std::optional<OFString> readValueText(Item& item, const DcmTagKey& key,
                                                    unsigned long position = 0) {
  OFString text;
  if (item.findAndGetOFString(key, text, position).bad()) {
    return std::nullopt;
  }
  return text;
}

/// All values as one text, joined by backslashes.
template <class Item>
[[nodiscard]] std::optional<OFString> readValueTexts(Item& item, const DcmTagKey& key) {
  OFString texts;
  if (item.findAndGetOFStringArray(key, texts).bad()) {
    return std::nullopt;
  }
  return texts;
}

/// A number of VR US; nothing for other VRs and for an element without values.
template <class Item>
[[nodiscard]] std::optional<Uint16> readUint16(Item& item, const DcmTagKey& key) {
  Uint16 value = 0;
  return item.findAndGetUint16(key, value).good() ? std::optional(value) : std::nullopt;
}

/// A number of VR SS, likewise.
[[nodiscard]] inline std::optional<Sint16> readSint16(DcmItem& item, const DcmTagKey& key,
                                                      unsigned long position = 0) {
  Sint16 value = 0;
  return item.findAndGetSint16(key, value, position).good() ? std::optional(value) : std::nullopt;
}

/// An integer of whatever VR, by its text; 0 for a text that is no number.
template <class Item>
[[nodiscard]] std::optional<int> readInt(Item& item, const DcmTagKey& key) {
  const std::optional<OFString> text = readValueText(item, key);
  return text ? std::optional(intOf(*text).value_or(0)) : std::nullopt;
}

/// A decimal of whatever VR, by its text; nothing for a text that is no number.
template <class Item>
[[nodiscard]] std::optional<float> readFloat(Item& item, const DcmTagKey& key,
                                             unsigned long position = 0) {
  const std::optional<OFString> text = readValueText(item, key, position);
  return text ? floatOf(*text) : std::nullopt;
}

}  // namespace Zrg
