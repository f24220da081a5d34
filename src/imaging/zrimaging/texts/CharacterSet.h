// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/texts/Iso2022.h"
#include "zrimaging/texts/Utf8.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <cstdint>
#include <optional>
#include <string>

class DcmElement;
class DcmItem;

namespace zr {

/// Which characters the bytes of an item's texts stand for (PS3.5 6.1, PS3.3 C.12.1.1.2).
class CharacterSet {
public:
  /// @param terms values of Specific Character Set, separated by backslashes; unknown ones stand
  ///              for no character beyond ASCII
  explicit CharacterSet(const std::string& terms);

  /// The set of an item: its own Specific Character Set, else that of the item it stands in, else
  /// ASCII.
  static CharacterSet of(DcmItem& item);

  /// The text of a value. Only SH, LO, ST, LT, UC, UT and PN are in the set of the item, all others
  /// in ASCII (PS3.5 6.1.2.2). ST, LT and UT have one value.
  [[nodiscard]] Utf8Text decode(const std::string& bytes, DcmEVR vr) const;

private:
  enum class Kind : std::uint8_t { kIso2022, kUtf8, kGb18030, kGbk };

  Kind kind_ = Kind::kIso2022;
  CodedSets first_;        ///< that a text begins with
  bool switches_ = false;  ///< escape sequences may bring in other sets
};

/// The values of an element of the item without their padding, joined already where they are
/// numbers or codes; nothing when it has no text form.
std::optional<Utf8Text> utf8Of(DcmItem& item, DcmElement& element);

/// Value 0 of an element of the item; empty when it has none. Texts are in UTF-8, all else as
/// stored.
std::string firstUtf8Of(DcmItem& item, DcmElement& element);

}  // namespace zr
