// SPDX-License-Identifier: BSD-3-Clause
// An element as text: strings through the character set of their item, words through the library's
// own reading of them.
#include "zrimaging/Attribute.h"
#include "zrimaging/Boundary.h"
#include "zrimaging/files/FoundElement.h"
#include "zrimaging/texts/CharacterSet.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

namespace {

/// The number by which the library knows a type.
int valueType(WordType words) {
  return static_cast<int>(words);
}

[[noreturn]] void refuse(const AttributeText& element, const std::string& reason) {
  throw Error(Reason::Unsupported,
              element.tag + " " + element.name + " (" + element.vr + ") " + reason);
}

Utf8Text textOfBinary(DcmItem& item, DcmOtherByteOtherWord& element, std::optional<WordType> words,
                      const AttributeText& described) {
  std::string text;
  if (words) {
    if (!ExDCM::getOFStringFromOBOW(&element, valueType(*words), text)) {
      refuse(described, "cannot be read as 16-bit words");
    }
    return {{text}, false};
  }
  // Words first: looking up the VR changes it, after which words may be out of reach.
  if (ExDCM::getOFStringFromOBOW(&element, valueType(WordType::kU16), text)) {
    return {{text}, false};
  }
  if (!ExDCM::getOFStringFromUN(&element, text)) {
    refuse(described, "has no text form");
  }
  return CharacterSet::of(item).decode(text, element.getTag().getEVR());
}

Utf8Text textOfTyped(DcmItem& item, DcmElement& element, std::optional<WordType> words,
                     const AttributeText& described) {
  if (words) {
    refuse(described, "is no OW value, to which --as belongs");
  }
  std::optional<Utf8Text> text = utf8Of(item, element);
  if (!text) {
    refuse(described, "has no text form");
  }
  return *std::move(text);
}

std::optional<std::string> creatorOf(DcmItem& item, const DcmTag& tag) {
  const char* const creator = tag.getPrivateCreator();
  if (creator == nullptr) {
    return std::nullopt;
  }
  return CharacterSet::of(item).decode(creator, EVR_LO).joined();
}

AttributeText elementText(DcmItem& item, DcmElement& element) {
  DcmTag tag = element.getTag();
  AttributeText described;
  described.tag = tag.toString();
  described.name = tag.getTagName();
  described.vr = tag.getVRName();
  described.creator = creatorOf(item, tag);
  return described;
}

}  // namespace

AttributeText readText(DcmItem& dataset, const AttributePath& path, std::optional<WordType> words) {
  return atBoundary([&] {
    const FoundElement found = locate(dataset, path);
    if (found.element == nullptr) {
      throw Error(Reason::MissingAttribute, "has no element " + path.text());
    }
    AttributeText described = elementText(*found.item, *found.element);
    auto* const binary = dynamic_cast<DcmOtherByteOtherWord*>(found.element);
    const Utf8Text text = binary != nullptr
                              ? textOfBinary(*found.item, *binary, words, described)
                              : textOfTyped(*found.item, *found.element, words, described);
    described.text = text.joined();
    described.escaped = text.escaped;
    return described;
  });
}

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  return atBoundary([&] {
    DcmElement* element = nullptr;
    return item.findAndGetElement(key, element).good() ? firstUtf8Of(item, *element)
                                                       : std::string();
  });
}

}  // namespace zr
