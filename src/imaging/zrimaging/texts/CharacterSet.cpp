// SPDX-License-Identifier: BSD-3-Clause
// Which set an item has, and its texts value by value. The bytes are read character by character,
// because those that stand for none are to be shown one by one.
#include "zrimaging/texts/CharacterSet.h"

#include "zrimaging/texts/Iso2022.h"
#include "zrimaging/texts/TextBytes.h"
#include "zrimaging/texts/Utf8.h"
#include "zrimaging/texts/Utf8Builder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zr {

namespace {

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
  return plain ? Utf8Text{{values}, false} : readIso2022(values, asciiAlone(), false, EVR_LT);
}

}  // namespace

CharacterSet::CharacterSet(const std::string& terms) : first_(asciiAlone()) {
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
  if (switching || term.rfind(kAlone, 0) == 0) {
    const std::size_t number = (switching ? kSwitching : kAlone).size();
    first_ = setsOf(std::string_view(term).substr(number), switching);
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
    return readIso2022(bytes, asciiAlone(), false, vr);
  }
  switch (kind_) {
    case Kind::kUtf8:
      return decodeUtf8(bytes, vr);
    case Kind::kGb18030:
      return decodeChinese(bytes, vr, "GB18030", true);
    case Kind::kGbk:
      return decodeChinese(bytes, vr, "GBK", false);
    default:
      return readIso2022(bytes, first_, switches_, vr);
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

}  // namespace zr
