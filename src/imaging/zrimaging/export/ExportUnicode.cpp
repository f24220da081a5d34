// SPDX-License-Identifier: BSD-3-Clause
// One character set for a new file whose attributes come from two places: from --tags, which is
// UTF-8, and from a file in whatever set. An item may name a set of its own; what stands in it
// follows that.
#include "zrimaging/export/ExportUnicode.h"

#include "zrimaging/Error.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace zr {

namespace {

constexpr std::uint32_t kSpecificCharacterSet = 0x00080005;
constexpr const char* kUnicode = "ISO_IR 192";

bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// The first text beyond ASCII in a place where another set than Unicode holds; null when there is
/// none.
/// @param set what holds where the attributes name none themselves
const Attribute* firstOutsideUnicode(const AttributeSet& attributes, const std::string& set) {
  const std::string named =
      attributes.has(kSpecificCharacterSet) ? attributes.text(kSpecificCharacterSet) : set;
  for (const auto& [tag, attribute] : attributes.byTag) {
    if (named != kUnicode && !isAscii(attribute.text)) {
      return &attribute;
    }
    for (const AttributeSet& item : attribute.items) {
      if (const Attribute* found = firstOutsideUnicode(item, named)) {
        return found;
      }
    }
  }
  return nullptr;
}

std::string placeInItem(const Attribute& sequence, std::size_t index) {
  return sequence.name + "[" + std::to_string(index) + "].";
}

void toUnicode(Attribute& attribute, const std::string& prefix) {
  if (attribute.unicode && attribute.unicode->escaped) {
    throw Error(Reason::CannotWrite,
                prefix + attribute.name +
                    ": holds bytes that are no characters of its SpecificCharacterSet: " +
                    attribute.unicode->joined());
  }
  if (attribute.unicode) {
    attribute.text = attribute.unicode->joined();
    attribute.unicode.reset();
  }
  for (std::size_t i = 0; i < attribute.items.size(); ++i) {
    for (auto& [tag, inner] : attribute.items[i].byTag) {
      toUnicode(inner, prefix + placeInItem(attribute, i));
    }
    if (attribute.items[i].has(kSpecificCharacterSet)) {
      attribute.items[i].set(kSpecificCharacterSet, kUnicode);
    }
  }
}

/// Texts that take their set from outside must mean the same in any; items may bring their own.
void requireAscii(const Attribute& attribute, const std::string& prefix, const std::string& set) {
  if (attribute.unicode || !isAscii(attribute.text)) {
    throw Error(Reason::CannotWrite,
                prefix + attribute.name + ": is not in the SpecificCharacterSet " + set);
  }
  for (std::size_t i = 0; i < attribute.items.size(); ++i) {
    if (attribute.items[i].has(kSpecificCharacterSet)) {
      continue;
    }
    for (const auto& [tag, inner] : attribute.items[i].byTag) {
      requireAscii(inner, prefix + placeInItem(attribute, i), set);
    }
  }
}

}  // namespace

void requireCharacterSet(AttributeSet& attributes) {
  if (firstOutsideUnicode(attributes, "") == nullptr) {
    return;
  }
  attributes.setDefault(kSpecificCharacterSet, kUnicode);
  if (const Attribute* foreign = firstOutsideUnicode(attributes, "")) {
    throw Error(Reason::CannotWrite,
                foreign->name + ": letters beyond ASCII need the SpecificCharacterSet " + kUnicode);
  }
}

void convertTexts(AttributeSet& attributes, const AttributeSet& changes) {
  if (!changes.has(kSpecificCharacterSet)) {
    return;
  }
  const std::string before = attributes.text(kSpecificCharacterSet);
  const std::string after = changes.text(kSpecificCharacterSet);
  for (auto& [tag, attribute] : attributes.byTag) {
    if (changes.has(tag)) {
      continue;
    }
    if (after == kUnicode) {
      toUnicode(attribute, "");
    } else if (before != after) {
      requireAscii(attribute, "", after);
    }
  }
}

}  // namespace zr
