// SPDX-License-Identifier: BSD-3-Clause
// zrdcm text: the value of one element as the library renders it.
#include "ExitStatus.h"
#include "FileNamed.h"
#include "Messages.h"
#include "UsageError.h"
#include "Verb.h"

#include <zrdcmexport/ExDCM.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <zrimaging/Attribute.h>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter =
    R"(TAG is a number, 0010,0020 or 00100020, a keyword of the dictionary such as
PatientID, or a private element with its creator, 7005,16,TOSHIBA_MEC_CT3: the element within the
block, which is looked for wherever the file has a block of that creator. Keywords of private
elements (zrdcm dict lists them) find their block by themselves. An element within sequences is named
by a path, 5200,9230[3]/0020,9113/0020,0032: sequence and item (0-based, the first when not said),
then what is in that item.

Unknown values (UN) come out as text where the dictionary knows that they are text. Word values (OW)
come out as numbers, unsigned 16-bit ones without --as. Bytes (OB) have no text form.

Texts come out in UTF-8, converted from the Specific Character Set of the file. Bytes that stand for
no character of it are shown as \xE9; with --json "escaped" says whether there are any.

Examples:
  zrdcm text ct.dcm PatientID
  zrdcm text ct.dcm ToshibaVolumeUID
  zrdcm text ct.dcm SourceImageSequence[1]/ReferencedSOPInstanceUID
  zrdcm text ct.dcm 0028,3006 --as s16)";

const std::map<std::string, zr::WordType> kWordTypes = {{"u16", zr::WordType::kU16},
                                                        {"s16", zr::WordType::kS16},
                                                        {"f32", zr::WordType::kF32},
                                                        {"f64", zr::WordType::kF64},
                                                        {"s32", zr::WordType::kS32}};

struct TextOptions {
  std::string file;
  std::string tag;
  std::optional<zr::WordType> words;
  bool json = false;
};

zr::AttributePath pathWanted(const TextOptions& options) {
  try {
    return zr::AttributePath::parse(options.tag);
  } catch (const zr::Error& error) {
    throw UsageError(error.what());
  }
}

void print(const TextOptions& options, const zr::AttributeText& value) {
  if (!options.json) {
    say(value.text);
    return;
  }
  sayJson({{"file", options.file},
           {"tag", value.tag},
           {"name", value.name},
           {"vr", value.vr},
           {"creator", value.creator ? Json(*value.creator) : Json(nullptr)},
           {"text", value.text},
           {"escaped", value.escaped}});
}

int showText(const TextOptions& options) {
  // Before the file is read: implicit files take their VRs from the dictionary while they are read.
  ExDCM::registerPrivateDicomTags();
  const zr::AttributePath path = pathWanted(options);
  print(options, withFileNamed(options.file,
                               [&] { return zr::File(options.file).text(path, options.words); }));
  return kDone;
}

}  // namespace

VerbAction configureText(CLI::App& command) {
  auto options = std::make_shared<TextOptions>();
  command.add_option("file", options->file, "The DICOM file")->type_name("FILE")->required();
  command
      .add_option("tag", options->tag,
                  "The element: number, keyword, number and creator, or a path")
      ->type_name("TAG")
      ->required();
  command
      .add_option_function<std::string>(
          "--as", [options](const std::string& name) { options->words = kWordTypes.at(name); },
          "Read words as numbers of this type")
      ->type_name("u16|s16|f32|f64|s32")
      ->check(CLI::IsMember({"u16", "s16", "f32", "f64", "s32"}).description(""));
  command.add_flag("--json", options->json, "Print an object with tag, VR and text");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget&) { return showText(*options); };
}

}  // namespace zrdcm
