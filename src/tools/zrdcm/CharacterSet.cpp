// SPDX-License-Identifier: BSD-3-Clause
// Texts of files as UTF-8. ISO 2022 is read here, because escape sequences and damaged bytes must be
// told apart character by character; what a byte of a set means is left to DCMTK's converter (iconv).
//
// A set takes the place of the bytes below 80 (G0) or above (G1). Sets of two bytes a character in G0
// (Japanese) use bytes that else are letters, a backslash among them: only who knows which set is in
// use can tell where a value ends.
#include "CharacterSet.h"

#include "Utf8.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/ofstd/ofchrenc.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace zrdcm {

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

constexpr char kEscape = '\x1B';

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
constexpr const CodedSet* kAscii = &kSets[0];
constexpr const CodedSet* kRomaji = &kSets[1];

const CodedSet* setOfNumber(std::string_view number) {
  const auto* const found =
      std::find_if(kSets.begin(), kSets.end(),
                   [number](const CodedSet& candidate) { return candidate.number == number; });
  return found == kSets.end() || found == kRomaji ? nullptr : found;
}

unsigned codeOf(char byte) {
  return static_cast<unsigned char>(byte);
}

bool isHigh(char byte) {
  return codeOf(byte) >= 0x80;
}

bool hasCharacterSet(DcmEVR vr) {
  switch (vr) {
    case EVR_LO:
    case EVR_LT:
    case EVR_PN:
    case EVR_SH:
    case EVR_ST:
    case EVR_UC:
    case EVR_UT:
      return true;
    default:
      return false;
  }
}

bool hasOneValue(DcmEVR vr) {
  return vr == EVR_LT || vr == EVR_ST || vr == EVR_UT;
}

/// Whether the bytes may mean something else than in ASCII. Two signs differ in Japanese letters.
bool mayDiffer(const std::string& bytes) {
  return std::any_of(bytes.begin(), bytes.end(), [](char byte) {
    return isHigh(byte) || byte == kEscape || byte == '\\' || byte == '~';
  });
}

std::string trimmed(std::string_view text, bool leadingToo) {
  const std::size_t last = text.find_last_not_of(' ');
  const std::size_t first = leadingToo ? text.find_first_not_of(' ') : 0;
  return last == std::string_view::npos ? "" : std::string(text.substr(first, last + 1 - first));
}

/// Bytes in UTF-8; nothing when some of them are no characters of the encoding.
std::optional<std::string> convert(const char* encoding, const std::string& bytes) {
  static std::map<std::string, OFCharacterEncoding> converters;  // opening one reads files
  OFCharacterEncoding& converter = converters[encoding];
  if (!converter && converter.selectEncoding(encoding, "UTF-8").bad()) {
    return std::nullopt;
  }
  OFString text;
  if (converter.convertString(bytes.data(), bytes.size(), text).bad()) {
    return std::nullopt;
  }
  return text;
}

/// A UTF-8 text as it grows. Characters of one encoding are converted together.
class Utf8Builder {
public:
  /// Adds letters of ASCII, or what is UTF-8 already.
  void add(std::string_view utf8) {
    convertPending();
    result_.values.back() += utf8;
  }

  /// What follows is the next value.
  void endValue() {
    convertPending();
    result_.values.emplace_back();
  }

  void addEscaped(std::string_view bytes) {
    convertPending();
    for (const char byte : bytes) {
      result_.values.back() += escapedByte(byte);
    }
    result_.escaped = true;
  }

  /// Adds one character.
  /// @param bytes   as they stand in the file
  /// @param encoded the same as the converter wants them
  void add(const char* encoding, std::string_view bytes, std::string_view encoded) {
    if (encoding != encoding_) {
      convertPending();
      encoding_ = encoding;
    }
    pending_.push_back({std::string(bytes), std::string(encoded)});
    constexpr std::size_t kMostAtOnce = 4096;  // long texts are not to take many times their size
    if (pending_.size() == kMostAtOnce) {
      convertPending();
    }
  }

  Utf8Text take() {
    convertPending();
    return std::move(result_);
  }

private:
  struct Character {
    std::string bytes;
    std::string encoded;
  };

  void convertPending() {
    if (pending_.empty()) {
      return;
    }
    const std::vector<Character> characters = std::move(pending_);
    pending_.clear();
    std::string all;
    for (const Character& character : characters) {
      all += character.encoded;
    }
    if (const std::optional<std::string> text = convert(encoding_, all)) {
      result_.values.back() += *text;
      return;
    }
    for (const Character& character : characters) {
      if (const std::optional<std::string> text = convert(encoding_, character.encoded)) {
        result_.values.back() += *text;
      } else {
        addEscaped(character.bytes);
      }
    }
  }

  Utf8Text result_{{""}, false};
  const char* encoding_ = nullptr;
  std::vector<Character> pending_;
};

/// Reads a text in sets that escape sequences may change (PS3.5 6.1.2.5).
class Iso2022Reader {
public:
  struct Sets {
    const CodedSet* low;
    const CodedSet* high;
  };

  Iso2022Reader(const Sets& first, bool switches, DcmEVR vr)
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

  Sets first_;
  Sets now_;
  bool switches_;
  DcmEVR vr_;
  Utf8Builder text_;
};

/// Bytes of the character of GB18030 or GBK that the text begins with; 0 when it begins with none.
std::size_t chineseCharacter(std::string_view text, bool hasFourBytes) {
  const auto isWithin = [text](std::size_t i, unsigned first, unsigned last) {
    const unsigned code = i < text.size() ? codeOf(text[i]) : 0;
    return code >= first && code <= last;
  };
  const bool lead = isWithin(0, 0x81, 0xFE);
  if (lead && (isWithin(1, 0x40, 0x7E) || isWithin(1, 0x80, 0xFE))) {
    return 2;
  }
  const bool four = hasFourBytes && lead && isWithin(1, 0x30, 0x39) && isWithin(2, 0x81, 0xFE) &&
                    isWithin(3, 0x30, 0x39);
  return four ? 4 : 0;
}

Utf8Text decodeChinese(std::string_view bytes, DcmEVR vr, const char* encoding, bool hasFourBytes) {
  Utf8Builder text;
  while (!bytes.empty()) {
    const std::size_t count = chineseCharacter(bytes, hasFourBytes);
    const std::string_view next = bytes.substr(0, std::max<std::size_t>(count, 1));
    if (count != 0) {
      text.add(encoding, next, next);
    } else if (isHigh(next.front()) || next.front() == kEscape) {
      text.addEscaped(next);
    } else if (next.front() == '\\' && !hasOneValue(vr)) {
      text.endValue();
    } else {
      text.add(next);
    }
    bytes.remove_prefix(next.size());
  }
  return text.take();
}

Utf8Text decodeUtf8(std::string_view bytes, DcmEVR vr) {
  Utf8Builder text;
  for (std::size_t i = 0; i < bytes.size();) {
    const std::optional<Utf8Character> character = utf8At(bytes, i);
    const std::size_t count = character ? character->bytes : 1;
    if (!character || bytes[i] == kEscape) {
      text.addEscaped(bytes.substr(i, count));
    } else if (bytes[i] == '\\' && !hasOneValue(vr)) {
      text.endValue();
    } else {
      text.add(bytes.substr(i, count));
    }
    i += count;
  }
  return text.take();
}

/// Numbers and codes: many values at times, which nobody wants to have one by one.
Utf8Text inAscii(const std::string& values) {
  const bool plain = std::none_of(values.begin(), values.end(),
                                  [](char byte) { return isHigh(byte) || byte == kEscape; });
  return plain ? Utf8Text{{values}, false}
               : Iso2022Reader({kAscii, nullptr}, false, EVR_LT).read(values);
}

}  // namespace

std::string Utf8Text::joined() const {
  std::string text = values.front();
  for (std::size_t i = 1; i < values.size(); ++i) {
    text += "\\" + values[i];
  }
  return text;
}

CharacterSet::CharacterSet(const std::string& terms) : low_(kAscii) {
  constexpr std::string_view kAlone = "ISO_IR ";
  constexpr std::string_view kSwitching = "ISO 2022 IR ";
  const std::size_t end = std::min(terms.find('\\'), terms.size());
  const std::string term = trimmed(std::string_view(terms).substr(0, end), true);
  if (term == "ISO_IR 192" || term == "GB18030" || term == "GBK") {
    kind_ = term == "GBK" ? Kind::kGbk : term == "GB18030" ? Kind::kGb18030 : Kind::kUtf8;
    return;
  }
  const bool switching = term.rfind(kSwitching, 0) == 0;
  switches_ = switching || end < terms.size();
  if (!switching && term.rfind(kAlone, 0) != 0) {
    return;
  }
  const CodedSet* const set =
      setOfNumber(std::string_view(term).substr((switching ? kSwitching : kAlone).size()));
  if (set != nullptr && set->place == Place::kG1 && (switching || set->bytes == 1)) {
    high_ = set;
    low_ = set->number == "13" ? kRomaji : kAscii;
  }
}

CharacterSet CharacterSet::of(DcmItem& item) {
  for (DcmItem* at = &item; at != nullptr; at = at->getParentItem()) {
    OFString terms;
    if (at->tagExists(DCM_SpecificCharacterSet)) {
      // Stays empty when it is no text: then nothing is known of characters beyond ASCII.
      (void)at->findAndGetOFStringArray(DCM_SpecificCharacterSet, terms);
      return CharacterSet(terms);
    }
  }
  return CharacterSet("");
}

Utf8Text CharacterSet::decode(const std::string& bytes, DcmEVR vr) const {
  if (!hasCharacterSet(vr)) {
    return Iso2022Reader({kAscii, nullptr}, false, vr).read(bytes);
  }
  switch (kind_) {
    case Kind::kUtf8:
      return decodeUtf8(bytes, vr);
    case Kind::kGb18030:
      return decodeChinese(bytes, vr, "GB18030", true);
    case Kind::kGbk:
      return decodeChinese(bytes, vr, "GBK", false);
    default:
      return Iso2022Reader({low_, high_}, switches_, vr).read(bytes);
  }
}

std::optional<Utf8Text> utf8Of(DcmItem& item, DcmElement& element) {
  const DcmEVR vr = element.getVR();
  OFString values;
  if (element.getOFStringArray(values).bad()) {
    return std::nullopt;
  }
  if (!hasCharacterSet(vr)) {
    return inAscii(values);
  }
  char* bytes = nullptr;
  Uint32 length = 0;
  if (!mayDiffer(values) || element.getString(bytes, length).bad() || bytes == nullptr) {
    return CharacterSet("").decode(values, vr);
  }
  // From the bytes themselves: DCMTK parts characters that hold the byte of a backslash.
  Utf8Text text = CharacterSet::of(item).decode(std::string(bytes, length), vr);
  for (std::string& value : text.values) {
    value = trimmed(value, vr == EVR_LO || vr == EVR_SH);
  }
  return text;
}

std::string firstUtf8Of(DcmItem& item, DcmElement& element) {
  if (!hasCharacterSet(element.getVR())) {
    OFString value;
    (void)element.getOFString(value, 0);  // a failed call empties the text
    return value;
  }
  const std::optional<Utf8Text> text = utf8Of(item, element);
  return text ? text->values.front() : "";
}

}  // namespace zrdcm
