// SPDX-License-Identifier: BSD-3-Clause
// zrdcm dict: the private elements that the library adds to a dictionary.
#include "ExitStatus.h"
#include "Messages.h"
#include "Verb.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdicent.h"
#include "dcmtk/dcmdata/dcdict.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kFooter =
    R"(Own elements carry the private creator "Zorlan" and always stand in block 10 of
group 0071. Elements of other vendors, shown as (gggg,xxee), stand in whatever block a file gives
their creator. Internal elements have no creator; they live in memory and are not meant for files.

Example:
  zrdcm dict --vendors)";

struct DictOptions {
  bool own = false;
  bool vendors = false;
  bool internal = false;
  bool json = false;
};

enum class Kind { kVendor, kOwn, kInternal };

struct Entry {
  Kind kind;
  unsigned group;
  unsigned element;
  std::string vr;
  int vm;
  std::string name;
  std::optional<std::string> creator;
};

const char* nameOf(Kind kind) {
  switch (kind) {
    case Kind::kVendor:
      return "vendor";
    case Kind::kOwn:
      return "own";
    default:
      return "internal";
  }
}

Entry entryOf(const DcmDictEntry& source) {
  const char* const creator = source.getPrivateCreator();
  Entry entry{
      Kind::kInternal,   source.getGroup(),   source.getElement(), source.getVR().getVRName(),
      source.getVMMin(), source.getTagName(), std::nullopt};
  if (creator != nullptr) {
    entry.creator = creator;
    entry.kind = *entry.creator == ExDCM::PrivateTag::CreatorZorlan ? Kind::kOwn : Kind::kVendor;
  }
  return entry;
}

// What the library adds shows best in a dictionary that holds nothing else. It must live as long as
// the program, because the library remembers dictionaries by their address.
GlobalDcmDataDictionary& ownDictionary() {
  static GlobalDcmDataDictionary dictionary;
  dictionary.clear();
  ExDCM::addPrivateTagsToDict(&dictionary);
  return dictionary;
}

std::vector<Entry> registeredEntries() {
  GlobalDcmDataDictionary& global = ownDictionary();
  std::vector<Entry> entries;
  // DCMTK hands iterators only to writers. Nothing else knows this dictionary.
  DcmDataDictionary& dictionary = global.wrlock();
  const DcmHashDictIterator end = dictionary.normalEnd();
  for (DcmHashDictIterator entry = dictionary.normalBegin(); entry != end; ++entry) {
    entries.push_back(entryOf(**entry));
  }
  global.wrunlock();
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    return std::tie(a.kind, a.group, a.element, a.creator) <
           std::tie(b.kind, b.group, b.element, b.creator);
  });
  return entries;
}

bool isWanted(const Entry& entry, const DictOptions& options) {
  const bool all = !options.own && !options.vendors && !options.internal;
  switch (entry.kind) {
    case Kind::kVendor:
      return all || options.vendors;
    case Kind::kOwn:
      return all || options.own;
    default:
      return all || options.internal;
  }
}

std::string tagText(const Entry& entry) {
  char text[16];
  const bool anyBlock = entry.kind == Kind::kVendor;
  (void)std::snprintf(text, sizeof text, anyBlock ? "(%04x,xx%02x)" : "(%04x,%04x)",
                      entry.group & 0xFFFFU, entry.element & 0xFFFFU);  // always fits
  return text;
}

std::string padded(std::string text, std::size_t width) {
  text.resize(std::max(text.size() + 2, width), ' ');
  return text;
}

void print(const Entry& entry) {
  constexpr std::size_t kNameWidth = 45;
  say(tagText(entry) + "  " + entry.vr + "  " + std::to_string(entry.vm) + "  " +
      (entry.creator ? padded(entry.name, kNameWidth) + *entry.creator : entry.name));
}

Json report(const Entry& entry) {
  return {{"tag", tagText(entry)},
          {"group", entry.group},
          {"element", entry.element},
          {"vr", entry.vr},
          {"vm", entry.vm},
          {"name", entry.name},
          {"creator", entry.creator ? Json(*entry.creator) : Json(nullptr)},
          {"kind", nameOf(entry.kind)}};
}

int listEntries(const DictOptions& options) {
  Json reports = Json::array();
  for (const Entry& entry : registeredEntries()) {
    if (!isWanted(entry, options)) {
      continue;
    }
    if (options.json) {
      reports.push_back(report(entry));
    } else {
      print(entry);
    }
  }
  if (options.json) {
    sayJson(reports);
  }
  return kDone;
}

}  // namespace

VerbAction configureDict(CLI::App& command) {
  auto options = std::make_shared<DictOptions>();
  CLI::Option* own = command.add_flag("--own", options->own, "Only our own elements");
  CLI::Option* vendors =
      command.add_flag("--vendors", options->vendors, "Only elements of other vendors");
  CLI::Option* internal =
      command.add_flag("--internal", options->internal, "Only elements that stay in memory");
  own->excludes(vendors)->excludes(internal);
  vendors->excludes(internal);
  command.add_flag("--json", options->json, "Print an array of objects, one an element");
  command.footer(kFooter);
  return [options](const zr::MemoryBudget&) { return listEntries(*options); };
}

}  // namespace zrdcm
