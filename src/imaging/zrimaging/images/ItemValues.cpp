// SPDX-License-Identifier: BSD-3-Clause
// Values of an item for the attributes of frames: names in UTF-8, codes and numbers as they are
// written. Texts are cut to what is sensible, so that no file can make the reading expensive.
#include "zrimaging/images/ItemValues.h"

#include "zrimaging/texts/CharacterSet.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>

namespace zr {

namespace {

// 64 characters of four bytes: no code, number or name may have more.
constexpr std::size_t kMostTextBytes = 256;

std::string cutBetweenCharacters(const std::string& utf8) {
  std::size_t size = std::min(utf8.size(), kMostTextBytes);
  while (size > 0 && size < utf8.size() &&
         (static_cast<unsigned char>(utf8[size]) & 0xC0U) == 0x80U) {
    --size;
  }
  return utf8.substr(0, size);
}

}  // namespace

std::string textAt(DcmItem& item, const DcmTagKey& key, unsigned long position) {
  OFString text;
  return item.findAndGetOFString(key, text, position).good() ? text.substr(0, kMostTextBytes) : "";
}

std::vector<ValueText> namesAt(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  std::vector<ValueText> names;
  if (item.findAndGetElement(key, element).bad()) {
    return names;
  }
  const Utf8Text texts = utf8Of(item, *element).value_or(Utf8Text{});
  for (const std::string& text : texts.values) {
    // Backslashes of the file part values: one within a value is of an escape.
    const bool escaped = texts.escaped && text.find('\\') != std::string::npos;
    names.push_back({cutBetweenCharacters(text), escaped});
  }
  return names;
}

ValueText nameAt(DcmItem& item, const DcmTagKey& key) {
  const std::vector<ValueText> names = namesAt(item, key);
  return names.empty() ? ValueText{} : names.front();
}

std::optional<double> numberAt(DcmItem& item, const DcmTagKey& key, unsigned long position) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(key, element).bad()) {
    return std::nullopt;
  }
  std::optional<double> number;
  if (element->ident() == EVR_FD) {
    Float64 value = 0;
    number = element->getFloat64(value, position).good() ? std::optional(value) : std::nullopt;
  } else {
    number = Zrg::doubleOf(textAt(item, key, position));
  }
  return number && std::isfinite(*number) ? number : std::nullopt;
}

std::vector<DcmItem*> itemsAt(DcmItem& item, const DcmTagKey& key) {
  DcmSequenceOfItems* sequence = nullptr;
  std::vector<DcmItem*> items;
  if (item.findAndGetSequence(key, sequence).bad()) {
    return items;
  }
  // The sequence is a list: an item by its number costs a walk, so they are collected in one.
  for (DcmObject* object = sequence->nextInContainer(nullptr); object != nullptr;
       object = sequence->nextInContainer(object)) {
    items.push_back(dynamic_cast<DcmItem*>(object));
  }
  return items;
}

}  // namespace zr
