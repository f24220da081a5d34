// SPDX-License-Identifier: BSD-3-Clause
// The attributes of a file to be written: from JSON, from a dataset, checked, into the writer,
// which is asked of each text whether it can write it.
#include "zrimaging/export/ExportAttributes.h"

#include "zrimaging/Error.h"
#include "zrimaging/export/ExportUnicode.h"

#include <gx/GxParamBundle.h>
#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ZrDcmExport.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

namespace zr {

namespace {

// The tree keeps the order of the file, so that messages come in that order, and every key, so
// that a key given twice is noticed.
using Json = nlohmann::ordered_json;

constexpr std::uint32_t kPixelData = 0x7FE00010;

struct TagRange {
  std::uint32_t first;
  std::uint32_t last;
};

/// Attributes that describe the samples of the image they stand in and no other.
constexpr TagRange kOfOldSamples[] = {
    {0x00000000, 0x0002FFFF},  // command set and file meta information
    {0x00280002, 0x00280002},  // Samples per Pixel
    {0x00280004, 0x00280006},  // Photometric Interpretation .. Planar Configuration
    {0x00280008, 0x00280011},  // Number of Frames .. Columns
    {0x00280100, 0x00280121},  // Bits Allocated .. extremes and padding of the samples
    {0x00281101, 0x00281224},  // palettes
    {0x00282000, 0x00282002},  // ICC Profile, Color Space
    {0x00283000, 0x00283000},  // Modality LUT Sequence
    {0x00283010, 0x00283010},  // VOI LUT Sequence
    {0x52009229, 0x52009230},  // functional groups of multi-frame images
    {0x60000000, 0xFFFFFFFF},  // overlays, samples, signatures, padding
};

DcmTagKey keyOf(std::uint32_t tag) {
  return {static_cast<Uint16>(tag >> 16U), static_cast<Uint16>(tag & 0xFFFFU)};
}

std::uint32_t tagOf(const DcmTagKey& key) {
  return static_cast<std::uint32_t>(key.getGroup()) << 16U | key.getElement();
}

bool isPrivate(std::uint32_t tag) {
  return (tag >> 16U) % 2 == 1;
}

bool isOfOldSamples(std::uint32_t tag) {
  return std::any_of(
      std::begin(kOfOldSamples), std::end(kOfOldSamples),
      [tag](const TagRange& range) { return tag >= range.first && tag <= range.last; });
}

std::string writerKey(std::uint32_t tag) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "G%04x-%04x", tag >> 16U, tag & 0xFFFFU);  // always fits
  return text;
}

std::string attributeNameOf(std::uint32_t tag) {
  DcmTag known(keyOf(tag));
  return known.isUnknownVR() ? writerKey(tag) : known.getTagName();
}

/// The tag of "G0008-0016" or "SOPClassUID"; nothing when it is neither.
std::optional<std::uint32_t> parseKey(const std::string& key) {
  unsigned int group = 0;
  unsigned int element = 0;
  int length = 0;
  constexpr std::size_t kKeyLength = 10;
  if (std::sscanf(key.c_str(), "G%4x-%4x%n", &group, &element, &length) == 2 &&
      key.size() == kKeyLength && static_cast<std::size_t>(length) == kKeyLength) {
    return group << 16U | element;
  }
  DcmTag tag;
  if (DcmTag::findTagFromName(key.c_str(), tag).good() && tag.getTagName() == key) {
    return tagOf(tag);
  }
  return std::nullopt;
}

AttributeSet parseObject(const Json& object, const std::string& prefix);

Attribute parseValue(const Json& value, const std::string& name) {
  Attribute attribute;
  attribute.name = name;
  if (value.is_string()) {
    attribute.text = value.get<std::string>();
    return attribute;
  }
  if (!value.is_array()) {
    throw Error(Reason::CannotWrite, name + ": wants a text, or a list of objects for a sequence");
  }
  attribute.isSequence = true;
  for (const Json& item : value) {
    const std::string place = name + "[" + std::to_string(attribute.items.size()) + "]";
    if (!item.is_object()) {
      throw Error(Reason::CannotWrite, place + ": wants an object of attributes");
    }
    attribute.items.push_back(parseObject(item, place + "."));
  }
  return attribute;
}

AttributeSet parseObject(const Json& object, const std::string& prefix) {
  AttributeSet attributes;
  for (const auto& [key, value] : object.items()) {
    const std::optional<std::uint32_t> tag = parseKey(key);
    if (!tag) {
      throw Error(Reason::CannotWrite,
                  prefix + key + ": neither a keyword of DICOM nor a key like G0008-0016");
    }
    if (attributes.has(*tag)) {
      throw Error(Reason::CannotWrite, prefix + key + ": given twice");
    }
    attributes.byTag[*tag] = parseValue(value, prefix + key);
  }
  return attributes;
}

/// Parses JSON that names no key twice in one object; the parser alone would keep one of them.
Json parseJson(const std::string& text) {
  std::vector<std::vector<std::string>> keys;
  const Json::parser_callback_t noticeRepetition = [&keys](int, Json::parse_event_t event,
                                                           Json& parsed) {
    if (event == Json::parse_event_t::object_start) {
      keys.emplace_back();
    } else if (event == Json::parse_event_t::object_end) {
      keys.pop_back();
    } else if (event == Json::parse_event_t::key) {
      const auto key = parsed.get<std::string>();
      if (std::find(keys.back().begin(), keys.back().end(), key) != keys.back().end()) {
        throw Error(Reason::CannotWrite, key + ": given twice");
      }
      keys.back().push_back(key);
    }
    return true;
  };
  return Json::parse(text, noticeRepetition);
}

/// Value representations whose texts follow a form of their own (PS3.5 section 6.2).
bool hasForm(DcmEVR vr) {
  switch (vr) {
    case EVR_AS:
    case EVR_CS:
    case EVR_DA:
    case EVR_DS:
    case EVR_DT:
    case EVR_IS:
    case EVR_TM:
    case EVR_UI:
      return true;
    default:
      return false;
  }
}

/// DCMTK stores such texts as they are, so a date that is none would get into the file.
void requireForm(const AttributeSet& attributes) {
  for (const auto& [tag, attribute] : attributes.byTag) {
    for (const AttributeSet& item : attribute.items) {
      requireForm(item);
    }
    const DcmTag known(keyOf(tag));
    DcmItem scratch;
    DcmElement* element = nullptr;
    if (attribute.isSequence || !hasForm(known.getEVR()) ||
        scratch.putAndInsertString(known, attribute.text.c_str()).bad() ||
        scratch.findAndGetElement(keyOf(tag), element).bad()) {
      continue;
    }
    if (element->checkValue().bad()) {
      throw Error(Reason::CannotWrite, attribute.name + ": \"" + attribute.text +
                                           "\" is no value of representation " +
                                           DcmVR(known.getEVR()).getVRName());
    }
  }
}

void requireWritableText(std::uint32_t tag, const Attribute& attribute, ExportType type,
                         bool inItem) {
  const DcmTagKey key = keyOf(tag);
  if (DcmTag(key).getEVR() == EVR_SQ) {
    throw Error(Reason::CannotWrite,
                attribute.name + ": is a sequence and wants a list of objects");
  }
  // The bundles of the writer know no empty value.
  if (inItem && attribute.text.empty()) {
    throw Error(Reason::CannotWrite, attribute.name + ": cannot be empty within an item");
  }
  const std::string reason = ZrDcmExport::reasonNotWritable(
      key.getGroup(), key.getElement(), attribute.text, type == ExportType::kS16);
  if (!reason.empty()) {
    throw Error(Reason::CannotWrite, attribute.name + ": " + reason);
  }
}

void requireWritableSet(const AttributeSet& attributes, ExportType type, bool inItem) {
  for (const auto& [tag, attribute] : attributes.byTag) {
    if (isPrivate(tag)) {
      throw Error(Reason::CannotWrite, attribute.name + ": private attributes cannot be written");
    }
    if (tag >> 16U <= 0x0002U) {
      throw Error(Reason::CannotWrite,
                  attribute.name + ": the file meta information is the writer's own");
    }
    if (tag == kPixelData) {
      throw Error(Reason::CannotWrite, attribute.name + ": the samples come from --pixels");
    }
    if (DcmTag(keyOf(tag)).isUnknownVR()) {
      throw Error(Reason::CannotWrite, attribute.name + ": is not in the dictionary of DICOM");
    }
    if (!attribute.isSequence) {
      requireWritableText(tag, attribute, type, inItem);
      continue;
    }
    if (DcmTag(keyOf(tag)).getEVR() != EVR_SQ) {
      throw Error(Reason::CannotWrite, attribute.name + ": is no sequence and wants a text");
    }
    if (attribute.items.empty()) {
      throw Error(Reason::CannotWrite,
                  attribute.name + ": a sequence without items cannot be written");
    }
    for (const AttributeSet& item : attribute.items) {
      requireWritableSet(item, type, true);
    }
  }
}

AttributeSet attributesOfItem(DcmItem& item, ExportType type, bool inItem);

/// The text of an element that has a text form, in the bytes of its file.
std::optional<std::string> textAsStored(DcmElement& element) {
  auto* const binary = dynamic_cast<DcmOtherByteOtherWord*>(&element);
  if (binary != nullptr && element.getTag().isUnknownVR()) {
    // DCMTK would give the bytes as numbers, which are no text of the VR in the dictionary.
    std::string text;
    if (!ExDCM::getOFStringFromUN(binary, text)) {
      return std::nullopt;
    }
    constexpr std::string_view kPadding(" \0", 2);
    return text.substr(0, text.find_last_not_of(kPadding) + 1);
  }
  OFString text;
  if (element.getLength() != 0 && element.getOFStringArray(text).bad()) {
    throw Error(Reason::CannotWrite, attributeNameOf(tagOf(element.getTag())) + ": cannot be read");
  }
  return text;
}

/// The text in Unicode when that is another, or when some of it is not known.
std::optional<Utf8Text> otherInUnicode(DcmItem& item, DcmElement& element,
                                       const std::string& stored) {
  const bool isBinary = dynamic_cast<DcmOtherByteOtherWord*>(&element) != nullptr;
  std::optional<Utf8Text> unicode =
      isBinary ? CharacterSet::of(item).decode(stored, element.getVR()) : utf8Of(item, element);
  const bool same = unicode && !unicode->escaped && unicode->joined() == stored;
  return same ? std::nullopt : unicode;
}

std::optional<Attribute> attributeOf(DcmItem& item, DcmElement& element, ExportType type,
                                     bool inItem) {
  const std::uint32_t tag = tagOf(element.getTag());
  Attribute attribute;
  attribute.name = attributeNameOf(tag);
  if (element.ident() == EVR_SQ) {
    attribute.isSequence = true;
    auto& sequence = dynamic_cast<DcmSequenceOfItems&>(element);
    for (unsigned long i = 0; i < sequence.card(); ++i) {
      attribute.items.push_back(attributesOfItem(*sequence.getItem(i), type, true));
    }
  } else {
    const std::optional<std::string> text = textAsStored(element);
    if (!text) {
      return std::nullopt;
    }
    attribute.text = *text;
    attribute.unicode = otherInUnicode(item, element, *text);
  }
  AttributeSet alone;
  alone.byTag[tag] = attribute;
  try {
    requireWritableSet(alone, type, inItem);
  } catch (const Error&) {
    return std::nullopt;  // what the writer cannot take over is left out
  }
  return attribute;
}

AttributeSet attributesOfItem(DcmItem& item, ExportType type, bool inItem) {
  AttributeSet attributes;
  for (unsigned long i = 0; i < item.card(); ++i) {
    DcmElement* element = item.getElement(i);
    const std::uint32_t tag = tagOf(element->getTag());
    const bool isGroupLength = (tag & 0xFFFFU) == 0;
    if (isGroupLength || isOfOldSamples(tag)) {
      continue;
    }
    if (std::optional<Attribute> attribute = attributeOf(item, *element, type, inItem)) {
      attributes.byTag[tag] = std::move(*attribute);
    }
  }
  return attributes;
}

void fillBundle(GxParamBundle& bundle, const AttributeSet& attributes) {
  for (const auto& [tag, attribute] : attributes.byTag) {
    if (!attribute.isSequence) {
      const DcmTag known(keyOf(tag));
      bundle.addParameter(writerKey(tag),
                          (std::string(known.getVRName()) + ": " + attribute.text).c_str());
      continue;
    }
    GxParamBundle& sequence = bundle.addBundle(writerKey(tag));
    for (std::size_t i = 0; i < attribute.items.size(); ++i) {
      fillBundle(sequence.addBundle("Item_" + std::to_string(i)), attribute.items[i]);
    }
  }
}

}  // namespace

std::string AttributeSet::text(std::uint32_t tag) const {
  const auto found = byTag.find(tag);
  return found == byTag.end() ? std::string() : found->second.text;
}

void AttributeSet::set(std::uint32_t tag, const std::string& text) {
  Attribute attribute;
  attribute.name = attributeNameOf(tag);
  attribute.text = text;
  byTag[tag] = std::move(attribute);
}

void AttributeSet::setDefault(std::uint32_t tag, const std::string& text) {
  if (!has(tag)) {
    set(tag, text);
  }
}

AttributeSet parseAttributes(const std::string& json, const std::string& name) {
  const std::string prefix = name.empty() ? "" : name + ": ";
  Json tree;
  try {
    tree = parseJson(json);
  } catch (const Json::exception& error) {
    throw Error(Reason::CannotWrite, prefix + "no JSON: " + error.what());
  }
  if (!tree.is_object()) {
    throw Error(Reason::CannotWrite, prefix + "wants an object of attributes");
  }
  AttributeSet attributes = parseObject(tree, "");
  requireCharacterSet(attributes);
  requireForm(attributes);
  return attributes;
}

AttributeSet exportAttributesOf(DcmItem& dataset, ExportType type) {
  return attributesOfItem(dataset, type, false);
}

void apply(AttributeSet& attributes, const AttributeSet& changes) {
  convertTexts(attributes, changes);
  for (const auto& [tag, change] : changes.byTag) {
    attributes.byTag[tag] = change;
  }
}

void requireWritable(const AttributeSet& attributes, ExportType type) {
  requireWritableSet(attributes, type, false);
}

void fillWriter(ZrDcmExport& writer, const AttributeSet& attributes) {
  GxParamBundle bundle("attributes");
  fillBundle(bundle, attributes);
  bool taken = writer.addParameters(&bundle);
  for (const auto& [tag, attribute] : attributes.byTag) {
    if (!attribute.isSequence && attribute.text.empty()) {
      // Bundles know no empty value.
      const DcmTagKey key = keyOf(tag);
      taken = writer.setDicomTag(key.getGroup(), key.getElement(), "") && taken;
    }
  }
  if (!taken) {
    throw Error(Reason::CannotWrite, writer.lastError());
  }
}

}  // namespace zr
