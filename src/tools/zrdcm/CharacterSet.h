// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class DcmElement;
class DcmItem;

namespace zrdcm {

/// A text of a file in UTF-8, value by value.
struct Utf8Text {
  std::vector<std::string> values;  ///< one at least
  bool escaped = false;             ///< some hold bytes that stand for no known character, as \xE9

  /// The values separated by backslashes. Where bytes are escaped a backslash may be of an escape.
  [[nodiscard]] std::string joined() const;
};

/// A repertoire of characters that texts of a file can switch to.
struct CodedSet;

/// Which characters the bytes of an item's texts stand for (PS3.5 6.1, PS3.3 C.12.1.1.2).
class CharacterSet {
public:
  /// @param terms values of Specific Character Set, separated by backslashes; unknown ones stand for
  ///              no character beyond ASCII
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
  /// The sets that a text begins with, for bytes below and above 80; null: no character.
  const CodedSet* low_;
  const CodedSet* high_ = nullptr;
  bool switches_ = false;  ///< escape sequences may bring in other sets
};

/// The values of an element of the item without their padding, joined already where they are numbers
/// or codes; nothing when it has no text form.
std::optional<Utf8Text> utf8Of(DcmItem& item, DcmElement& element);

/// Value 0 of an element of the item; empty when it has none. Texts are in UTF-8, all else as stored.
std::string firstUtf8Of(DcmItem& item, DcmElement& element);

}  // namespace zrdcm
