// SPDX-License-Identifier: BSD-3-Clause
// Texts with escape sequences. They are read here, character by character, and only what a byte of
// a set means is left to the converter: where a text is damaged the rest is to be shown all the
// same.
//
// Sets of two bytes a character in G0 (Japanese) use bytes that else are letters, a backslash among
// them: only who knows which set is in use can tell where a value ends.
#include "zrimaging/texts/Iso2022.h"

#include "zrimaging/texts/TextBytes.h"
#include "zrimaging/texts/Utf8Builder.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zr {

enum class Place : std::uint8_t { kG0, kG1 };

/// A row of PS3.3 tables C.12-2 to C.12-4.
struct CodedSet {
  std::string_view number;  ///< of "ISO_IR 100" and "ISO 2022 IR 100"
  std::string_view escape;  ///< what brings it in, behind ESC
  Place place;
  const char* encoding;     ///< the converter's name; null: the letters of ASCII
  std::size_t bytes;        ///< of a character
  std::string_view prefix;  ///< stands before each character in the converter's encoding
};

namespace {

constexpr std::array<CodedSet, 18> kSets = {{
    {"6", "(B", Place::kG0, nullptr, 1, ""},
    {"14", "(J", Place::kG0, nullptr, 1, ""},  // ASCII with two signs of its own
    {"87", "$B", Place::kG0, "EUC-JP", 2, ""},
    {"159", "$(D", Place::kG0, "EUC-JP", 2, "\x8F"},
    {"13", ")I", Place::kG1, "EUC-JP", 1, "\x8E"},
    {"100", "-A", Place::kG1, "ISO-8859-1", 1, ""},
    {"101", "-B", Place::kG1, "ISO-8859-2", 1, ""},
    {"109", "-C", Place::kG1, "ISO-8859-3", 1, ""},
    {"110", "-D", Place::kG1, "ISO-8859-4", 1, ""},
    {"144", "-L", Place::kG1, "ISO-8859-5", 1, ""},
    {"127", "-G", Place::kG1, "ISO-8859-6", 1, ""},
    {"126", "-F", Place::kG1, "ISO-8859-7", 1, ""},
    {"138", "-H", Place::kG1, "ISO-8859-8", 1, ""},
    {"148", "-M", Place::kG1, "ISO-8859-9", 1, ""},
    {"203", "-b", Place::kG1, "ISO-8859-15", 1, ""},
    {"166", "-T", Place::kG1, "TIS-620", 1, ""},
    {"149", "$)C", Place::kG1, "EUC-KR", 2, ""},
    {"58", "$)A", Place::kG1, "EUC-CN", 2, ""},
}};
constexpr const CodedSet* kAscii = kSets.data();
constexpr const CodedSet* kRomaji = &kSets[1];

const CodedSet* setOfNumber(std::string_view number) {
  const auto* const found =
      std::find_if(kSets.begin(), kSets.end(),
                   [number](const CodedSet& candidate) { return candidate.number == number; });
  return found == kSets.end() || found == kRomaji ? nullptr : found;
}

/// Reads a text in sets that escape sequences may change (PS3.5 6.1.2.5).
class Iso2022Reader {
public:
  Iso2022Reader(const CodedSets& first, bool switches, DcmEVR vr)
      : first_(first), now_(first), switches_(switches), vr_(vr) {}

  Utf8Text read(std::string_view bytes) {
    while (!bytes.empty()) {
      bytes.remove_prefix(readNext(bytes));
    }
    return text_.take();
  }

private:
  /// Reads what the rest of the text begins with; yields the number of its bytes.
  std::size_t readNext(std::string_view rest) {
    const char byte = rest.front();
    if (byte == kEscape) {
      return readEscape(rest);
    }
    if (isHigh(byte)) {
      return readCharacter(now_.high, rest);
    }
    const bool isLetter = codeOf(byte) > 0x20 && byte != '\x7F';
    if (isLetter && now_.low->encoding != nullptr) {
      return readCharacter(now_.low, rest);
    }
    addLetter(byte);
    return 1;
  }

  std::size_t readEscape(std::string_view rest) {
    const auto* const set = std::find_if(kSets.begin(), kSets.end(), [rest](const CodedSet& known) {
      return rest.substr(1, known.escape.size()) == known.escape;
    });
    if (!switches_ || set == kSets.end()) {
      text_.addEscaped(rest.substr(0, 1));
      return 1;
    }
    (set->place == Place::kG0 ? now_.low : now_.high) = set;
    return 1 + set->escape.size();
  }

  std::size_t readCharacter(const CodedSet* set, std::string_view rest) {
    const bool high = isHigh(rest.front());
    const auto belongs = [high](char byte) {
      const unsigned code = codeOf(byte) & 0x7FU;
      return isHigh(byte) == high && code >= (high ? 0x20U : 0x21U) && (high || code != 0x7FU);
    };
    const std::size_t bytes = set == nullptr ? 1 : set->bytes;
    const std::string_view character = rest.substr(0, bytes);
    if (set == nullptr || character.size() < bytes ||
        !std::all_of(character.begin(), character.end(), belongs)) {
      text_.addEscaped(rest.substr(0, 1));
      return 1;
    }
    std::string encoded(set->prefix);
    for (const char byte : character) {
      encoded += static_cast<char>(codeOf(byte) | 0x80U);
    }
    text_.add(set->encoding, character, encoded);
    return bytes;
  }

  void addLetter(char byte) {
    const bool endsValue = byte == '\\' && !hasOneValue(vr_);
    const bool endsPart = (byte == '^' || byte == '=') && vr_ == EVR_PN;
    const bool endsLine = byte == '\n' || byte == '\r' || byte == '\f' || byte == '\t';
    if (endsValue) {
      text_.endValue();
    } else if (now_.low == kRomaji && byte == '~') {
      text_.add("\u203E");  // overline
    } else if (now_.low == kRomaji && byte == '\\') {
      text_.add("\u00A5");  // yen
    } else {
      text_.add(std::string_view(&byte, 1));
    }
    if (endsValue || endsPart || endsLine) {
      now_ = first_;
    }
  }

  CodedSets first_;
  CodedSets now_;
  bool switches_;
  DcmEVR vr_;
  Utf8Builder text_;
};

}  // namespace

CodedSets asciiAlone() {
  return {kAscii, nullptr};
}

CodedSets setsOf(std::string_view number, bool switching) {
  const CodedSet* const set = setOfNumber(number);
  if (set == nullptr || set->place != Place::kG1 || (set->bytes != 1 && !switching)) {
    return asciiAlone();
  }
  return {set->number == "13" ? kRomaji : kAscii, set};
}

Utf8Text readIso2022(std::string_view bytes, const CodedSets& first, bool switches, DcmEVR vr) {
  return Iso2022Reader(first, switches, vr).read(bytes);
}

}  // namespace zr
