// SPDX-License-Identifier: BSD-3-Clause
// zrdcm text: the value of one element as the library renders it.
#include "DicomFile.h"
#include "ExitStatus.h"
#include "Failure.h"
#include "FileNamed.h"
#include "Messages.h"
#include "Verb.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <string>

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

Uint16 hexNumber(const std::string& digits) {
  return static_cast<Uint16>(std::stoul(digits, nullptr, 16));
}

std::optional<WantedElement> wantedByNumber(const std::string& text) {
  static const std::regex plain(R"(\(?([0-9a-fA-F]{4}),?([0-9a-fA-F]{4})\)?)");
  static const std::regex ofCreator(
      R"(\(?([0-9a-fA-F]{4}),(?:[0-9a-fA-Fx]{2})?([0-9a-fA-F]{2}),([^)]+)\)?)");
  std::smatch parts;
  if (std::regex_match(text, parts, plain)) {
    return WantedElement{DcmTagKey(hexNumber(parts[1]), hexNumber(parts[2])), {}};
  }
  if (std::regex_match(text, parts, ofCreator)) {
    return WantedElement{DcmTagKey(hexNumber(parts[1]), hexNumber(parts[2])), parts[3]};
  }
  return std::nullopt;
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
    if (textOf(item, DcmTagKey(wanted.key.getGroup(), block)) != wanted.creator) {
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
  std::string text;
};

[[noreturn]] void refuse(const TextOptions& options, const Rendering& rendering,
                         const std::string& reason) {
  throw Failure(options.file + ": " + rendering.tag + " " + rendering.name + " (" + rendering.vr +
                ") " + reason);
}

std::string renderBinary(DcmOtherByteOtherWord& element, const TextOptions& options,
                         const Rendering& rendering) {
  std::string text;
  if (!options.valueType.empty()) {
    if (!ExDCM::getOFStringFromOBOW(&element, kValueTypes.at(options.valueType), text)) {
      refuse(options, rendering, "cannot be read as 16-bit words");
    }
    return text;
  }
  // Words first: looking up the VR changes it, after which words may be out of reach.
  if (!ExDCM::getOFStringFromOBOW(&element, kValueTypes.at("u16"), text) &&
      !ExDCM::getOFStringFromUN(&element, text)) {
    refuse(options, rendering, "has no text form");
  }
  return text;
}

std::string renderTyped(DcmElement& element, const TextOptions& options,
                        const Rendering& rendering) {
  if (!options.valueType.empty()) {
    refuse(options, rendering, "is no OW value, to which --as belongs");
  }
  OFString text;
  if (element.getOFStringArray(text).bad()) {
    refuse(options, rendering, "has no text form");
  }
  return text;
}

Rendering render(DcmElement& element, const TextOptions& options) {
  DcmTag tag = element.getTag();
  const char* const creator = tag.getPrivateCreator();
  Rendering rendering{tag.toString(), tag.getTagName(), tag.getVRName(),
                      creator != nullptr ? std::optional<std::string>(creator) : std::nullopt, ""};
  auto* const binary = dynamic_cast<DcmOtherByteOtherWord*>(&element);
  rendering.text = binary != nullptr ? renderBinary(*binary, options, rendering)
                                     : renderTyped(element, options, rendering);
  return rendering;
}

void print(const TextOptions& options, const Rendering& rendering) {
  if (!options.json) {
    say(printable(rendering.text));
    return;
  }
  sayJson({{"file", options.file},
           {"tag", rendering.tag},
           {"name", rendering.name},
           {"vr", rendering.vr},
           {"creator", rendering.creator ? Json(*rendering.creator) : Json(nullptr)},
           {"text", rendering.text}});
}

int showText(const TextOptions& options) {
  // Before the file is read: implicit files take their VRs from the dictionary while they are read.
  ExDCM::registerPrivateDicomTags();
  const WantedElement wanted = parseTag(options.tag);
  const DicomFile file = withFileNamed(options.file, [&] { return DicomFile(options.file); });
  DcmElement* const element = wanted.creator.empty() ? findElement(file.dataset(), wanted.key)
                                                     : findPrivateElement(file.dataset(), wanted);
  if (element == nullptr) {
    throw Failure(options.file + ": has no element " + options.tag);
  }
  print(options, render(*element, options));
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
  return [options](const MemoryBudget&) { return showText(*options); };
}

}  // namespace zrdcm
