// SPDX-License-Identifier: BSD-3-Clause
// zrdcm text: the value of one element as the library renders it.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "Messages.h"
#include "UsageError.h"
#include "Verb.h"
#include "zrimaging/Error.h"
#include "zrimaging/files/DicomFile.h"
#include "zrimaging/texts/CharacterSet.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter =
    R"(TAG is a number, 0010,0020 or 00100020, a keyword of the dictionary such as
PatientID, or a private element with its creator, 7005,16,TOSHIBA_MEC_CT3: the element within the
block, which is looked for wherever the file has a block of that creator. Keywords of private
elements (zrdcm dict lists them) find their block by themselves.

Unknown values (UN) come out as text where the dictionary knows that they are text. Word values (OW)
come out as numbers, unsigned 16-bit ones without --as. Bytes (OB) have no text form.

Texts come out in UTF-8, converted from the Specific Character Set of the file. Bytes that stand for
no character of it are shown as \xE9; with --json "escaped" says whether there are any.

Examples:
  zrdcm text ct.dcm PatientID
  zrdcm text ct.dcm ToshibaVolumeUID
  zrdcm text ct.dcm 0028,3006 --as s16)";

// The numbers by which the library knows the types.
const std::map<std::string, int> kValueTypes = {
    {"u16", 0}, {"s16", 1}, {"f32", 2}, {"f64", 3}, {"s32", 4}};

struct TextOptions {
  std::string file;
  std::string tag;
  std::string valueType;
  bool json = false;
};

/// What the user asks for. With a creator, only the low byte of the element counts.
struct WantedElement {
  DcmTagKey key;
  std::string creator;
};

/// A number of `digits` hexadecimal digits that is the whole text.
std::optional<Uint16> hexNumber(std::string_view text, std::size_t digits) {
  Uint16 number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
  const bool whole = text.size() == digits && error == std::errc() && stop == end;
  return whole ? std::optional<Uint16>(number) : std::nullopt;
}

/// "16", "xx16" or "1016": the element within a block. The block is looked for, so its digits do not
/// count.
std::optional<Uint16> elementInBlock(std::string_view text) {
  constexpr std::size_t kBlockDigits = 2;
  if (text.size() == 2 * kBlockDigits) {
    const std::string_view block = text.substr(0, kBlockDigits);
    const bool named = std::all_of(block.begin(), block.end(), [](char digit) {
      return digit == 'x' || hexNumber(std::string_view(&digit, 1), 1);
    });
    return named ? hexNumber(text.substr(kBlockDigits), 2) : std::nullopt;
  }
  return hexNumber(text, 2);
}

/// "gggg,eeee", "ggggeeee" or "gggg,ee,CREATOR", in parentheses or not.
std::optional<WantedElement> wantedByNumber(std::string_view text) {
  constexpr std::size_t kGroupDigits = 4;
  if (!text.empty() && text.front() == '(') {
    text.remove_prefix(1);
  }
  if (!text.empty() && text.back() == ')') {
    text.remove_suffix(1);
  }
  const std::optional<Uint16> group = hexNumber(text.substr(0, kGroupDigits), kGroupDigits);
  if (!group) {
    return std::nullopt;
  }
  text.remove_prefix(kGroupDigits);
  const bool hasComma = !text.empty() && text.front() == ',';
  text.remove_prefix(hasComma ? 1 : 0);
  if (const std::optional<Uint16> element = hexNumber(text, 4)) {
    return WantedElement{DcmTagKey(*group, *element), {}};
  }
  const std::size_t comma = text.find(',');
  if (!hasComma || comma == std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<Uint16> element = elementInBlock(text.substr(0, comma));
  const std::string_view creator = text.substr(comma + 1);
  if (!element || creator.empty()) {
    return std::nullopt;
  }
  return WantedElement{DcmTagKey(*group, *element), std::string(creator)};
}

std::optional<WantedElement> wantedByKeyword(const std::string& keyword) {
  std::optional<WantedElement> wanted;
  const DcmDataDictionary& dictionary = dcmDataDict.rdlock();
  const DcmDictEntry* entry = dictionary.findEntry(keyword.c_str());
  if (entry != nullptr) {
    const char* const creator = entry->getPrivateCreator();
    wanted = WantedElement{entry->getKey(), creator != nullptr ? creator : ""};
  }
  dcmDataDict.rdunlock();
  return wanted;
}

WantedElement parseTag(const std::string& text) {
  std::optional<WantedElement> wanted = wantedByNumber(text);
  if (!wanted) {
    wanted = wantedByKeyword(text);
  }
  if (!wanted) {
    throw UsageError("'" + text + "' is neither the number nor the keyword of an element");
  }
  return *wanted;
}

DcmElement* findElement(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  return item.findAndGetElement(key, element).good() ? element : nullptr;
}

// A creator may own several blocks of a group.
DcmElement* findPrivateElement(DcmItem& item, const WantedElement& wanted) {
  constexpr Uint16 kFirstBlock = 0x10;
  constexpr Uint16 kLastBlock = 0xff;
  for (Uint16 block = kFirstBlock; block <= kLastBlock; ++block) {
    if (zr::textOf(item, DcmTagKey(wanted.key.getGroup(), block)) != wanted.creator) {
      continue;
    }
    const auto number = static_cast<Uint16>(0x100U * block + (wanted.key.getElement() & 0xFFU));
    DcmElement* const element = findElement(item, DcmTagKey(wanted.key.getGroup(), number));
    if (element != nullptr) {
      return element;
    }
  }
  return nullptr;
}

/// One element of a file and all that is to be said about it.
struct Rendering {
  std::string tag;
  std::string name;
  std::string vr;
  std::optional<std::string> creator;
  zr::Utf8Text text;
};

[[noreturn]] void refuse(const TextOptions& options, const Rendering& rendering,
                         const std::string& reason) {
  throw zr::Error(zr::Reason::Unsupported, options.file + ": " + rendering.tag + " " +
                                               rendering.name + " (" + rendering.vr + ") " +
                                               reason);
}

zr::Utf8Text renderBinary(DcmItem& item, DcmOtherByteOtherWord& element, const TextOptions& options,
                          const Rendering& rendering) {
  std::string text;
  if (!options.valueType.empty()) {
    if (!ExDCM::getOFStringFromOBOW(&element, kValueTypes.at(options.valueType), text)) {
      refuse(options, rendering, "cannot be read as 16-bit words");
    }
    return {{text}, false};
  }
  // Words first: looking up the VR changes it, after which words may be out of reach.
  if (ExDCM::getOFStringFromOBOW(&element, kValueTypes.at("u16"), text)) {
    return {{text}, false};
  }
  if (!ExDCM::getOFStringFromUN(&element, text)) {
    refuse(options, rendering, "has no text form");
  }
  return zr::CharacterSet::of(item).decode(text, element.getTag().getEVR());
}

zr::Utf8Text renderTyped(DcmItem& item, DcmElement& element, const TextOptions& options,
                         const Rendering& rendering) {
  if (!options.valueType.empty()) {
    refuse(options, rendering, "is no OW value, to which --as belongs");
  }
  const std::optional<zr::Utf8Text> text = zr::utf8Of(item, element);
  if (!text) {
    refuse(options, rendering, "has no text form");
  }
  return *text;
}

std::optional<std::string> creatorOf(DcmItem& item, const DcmTag& tag) {
  const char* const creator = tag.getPrivateCreator();
  if (creator == nullptr) {
    return std::nullopt;
  }
  return zr::CharacterSet::of(item).decode(creator, EVR_LO).joined();
}

Rendering render(DcmItem& item, DcmElement& element, const TextOptions& options) {
  DcmTag tag = element.getTag();
  Rendering rendering{tag.toString(), tag.getTagName(), tag.getVRName(), creatorOf(item, tag),
                      zr::Utf8Text()};
  auto* const binary = dynamic_cast<DcmOtherByteOtherWord*>(&element);
  rendering.text = binary != nullptr ? renderBinary(item, *binary, options, rendering)
                                     : renderTyped(item, element, options, rendering);
  return rendering;
}

void print(const TextOptions& options, const Rendering& rendering) {
  if (!options.json) {
    say(rendering.text.joined());
    return;
  }
  sayJson({{"file", options.file},
           {"tag", rendering.tag},
           {"name", rendering.name},
           {"vr", rendering.vr},
           {"creator", rendering.creator ? Json(*rendering.creator) : Json(nullptr)},
           {"text", rendering.text.joined()},
           {"escaped", rendering.text.escaped}});
}

int showText(const TextOptions& options) {
  // Before the file is read: implicit files take their VRs from the dictionary while they are read.
  ExDCM::registerPrivateDicomTags();
  const WantedElement wanted = parseTag(options.tag);
  const zr::DicomFile file =
      withFileNamed(options.file, [&] { return zr::DicomFile(options.file); });
  DcmElement* const element = wanted.creator.empty() ? findElement(file.dataset(), wanted.key)
                                                     : findPrivateElement(file.dataset(), wanted);
  if (element == nullptr) {
    throw zr::Error(zr::Reason::MissingAttribute, options.file + ": has no element " + options.tag);
  }
  print(options, render(file.dataset(), *element, options));
  return kDone;
}

}  // namespace

VerbAction configureText(CLI::App& command) {
  auto options = std::make_shared<TextOptions>();
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command.add_option("tag", options->tag, "The element: number, keyword, or number and creator")
      ->type_name("TAG")
      ->required();
  command.add_option("--as", options->valueType, "Read words as numbers of this type")
      ->type_name("u16|s16|f32|f64|s32")
      ->check(CLI::IsMember({"u16", "s16", "f32", "f64", "s32"}).description(""));
  command.add_flag("--json", options->json, "Print an object with tag, VR and text");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget&) { return showText(*options); };
}

}  // namespace zrdcm
