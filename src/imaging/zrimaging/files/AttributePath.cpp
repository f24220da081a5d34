// SPDX-License-Identifier: BSD-3-Clause
// Paths to elements. A slash separates steps, but a private creator may hold one too: the text is
// cut at a slash only where a step ends before it and steps follow it, and as early as that is so.
#include "zrimaging/Attribute.h"
#include "zrimaging/Boundary.h"
#include "zrimaging/files/FoundElement.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

namespace zr {

namespace {

using Step = AttributePath::Step;

/// A number of `digits` digits that is the whole text.
std::optional<std::uint16_t> hexNumber(std::string_view text, std::size_t digits) {
  std::uint16_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
  const bool whole = text.size() == digits && error == std::errc() && stop == end;
  return whole ? std::optional<std::uint16_t>(number) : std::nullopt;
}

/// "16", "xx16" or "1016": the element within a block. The block is looked for, so its digits do
/// not count.
std::optional<std::uint16_t> elementInBlock(std::string_view text) {
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
std::optional<Step> stepByNumber(std::string_view text) {
  constexpr std::size_t kGroupDigits = 4;
  if (!text.empty() && text.front() == '(') {
    text.remove_prefix(1);
  }
  if (!text.empty() && text.back() == ')') {
    text.remove_suffix(1);
  }
  const std::optional<std::uint16_t> group = hexNumber(text.substr(0, kGroupDigits), kGroupDigits);
  if (!group) {
    return std::nullopt;
  }
  text.remove_prefix(kGroupDigits);
  const bool hasComma = !text.empty() && text.front() == ',';
  text.remove_prefix(hasComma ? 1 : 0);
  if (const std::optional<std::uint16_t> element = hexNumber(text, 4)) {
    return Step{*group, *element, {}, 0};
  }
  const std::size_t comma = text.find(',');
  if (!hasComma || comma == std::string_view::npos) {
    return std::nullopt;
  }
  const std::optional<std::uint16_t> element = elementInBlock(text.substr(0, comma));
  const std::string_view creator = text.substr(comma + 1);
  if (!element || creator.empty()) {
    return std::nullopt;
  }
  return Step{*group, *element, std::string(creator), 0};
}

std::optional<Step> stepByKeyword(const std::string& keyword) {
  std::optional<Step> step;
  const DcmDataDictionary& dictionary = dcmDataDict.rdlock();
  const DcmDictEntry* const entry = dictionary.findEntry(keyword.c_str());
  if (entry != nullptr) {
    const DcmTagKey key = entry->getKey();
    const char* const creator = entry->getPrivateCreator();
    step = Step{key.getGroup(), key.getElement(), creator != nullptr ? creator : "", 0};
  }
  dcmDataDict.rdunlock();
  return step;
}

std::optional<Step> parseElement(std::string_view text) {
  std::optional<Step> step = stepByNumber(text);
  return step ? step : stepByKeyword(std::string(text));
}

/// An element with the number of an item, "5200,9230[3]"; item 0 without it.
std::optional<Step> parseSequence(std::string_view text) {
  const std::size_t bracket = text.rfind('[');
  if (text.empty() || text.back() != ']' || bracket == std::string_view::npos) {
    return parseElement(text);
  }
  const std::string_view digits = text.substr(bracket + 1, text.size() - bracket - 2);
  std::size_t item = 0;
  const char* const end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, item);
  if (digits.empty() || error != std::errc() || stop != end) {
    return parseElement(text);  // a creator may hold brackets
  }
  std::optional<Step> step = parseElement(text.substr(0, bracket));
  if (step) {
    step->item = item;
  }
  return step;
}

/// Where a step that begins somewhere ends, and what it is.
struct Cut {
  std::size_t end;
  Step step;
};

/// The steps of the whole text; none where it is no path.
std::vector<Step> parseSteps(std::string_view text) {
  constexpr std::size_t kMostSlashes = 256;  // every place is tried with every other one
  std::vector<std::size_t> begins = {0};     // of the text, and behind every slash
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '/') {
      begins.push_back(i + 1);
    }
  }
  if (begins.size() > kMostSlashes) {
    return {};
  }
  // From the back: whether a path begins at a place depends only on the places behind it.
  std::vector<std::optional<Cut>> cuts(begins.size());
  for (std::size_t first = begins.size(); first-- > 0;) {
    const std::string_view rest = text.substr(begins[first]);
    for (std::size_t next = first + 1; next < begins.size() && !cuts[first]; ++next) {
      if (cuts[next]) {
        const std::optional<Step> step =
            parseSequence(rest.substr(0, begins[next] - 1 - begins[first]));
        cuts[first] = step ? std::optional<Cut>({next, *step}) : std::nullopt;
      }
    }
    if (!cuts[first]) {
      const std::optional<Step> last = parseElement(rest);
      cuts[first] = last ? std::optional<Cut>({begins.size(), *last}) : std::nullopt;
    }
  }
  std::vector<Step> steps;
  for (std::size_t at = 0; at < begins.size() && cuts[at]; at = cuts[at]->end) {
    steps.push_back(cuts[at]->step);
  }
  return steps;
}

DcmElement* elementOf(DcmItem& item, const DcmTagKey& key) {
  DcmElement* element = nullptr;
  return item.findAndGetElement(key, element).good() ? element : nullptr;
}

// A creator may own several blocks of a group.
DcmElement* privateElementOf(DcmItem& item, const Step& step) {
  constexpr std::uint16_t kFirstBlock = 0x10;
  constexpr std::uint16_t kLastBlock = 0xff;
  for (std::uint16_t block = kFirstBlock; block <= kLastBlock; ++block) {
    if (textOf(item, DcmTagKey(step.group, block)) != step.creator) {
      continue;
    }
    const auto number = static_cast<std::uint16_t>(0x100U * block + (step.element & 0xFFU));
    if (DcmElement* const element = elementOf(item, DcmTagKey(step.group, number))) {
      return element;
    }
  }
  return nullptr;
}

DcmElement* elementOf(DcmItem& item, const Step& step) {
  return step.creator.empty() ? elementOf(item, DcmTagKey(step.group, step.element))
                              : privateElementOf(item, step);
}

/// The item that holds the last element of a path; null when something on the way is missing.
DcmItem* holderOf(DcmItem& dataset, const AttributePath& path) {
  DcmItem* item = &dataset;
  const std::vector<Step>& steps = path.steps();
  for (auto step = steps.begin(); step + 1 != steps.end() && item != nullptr; ++step) {
    auto* const sequence = dynamic_cast<DcmSequenceOfItems*>(elementOf(*item, *step));
    const bool has = sequence != nullptr && step->item < sequence->card();
    item = has ? sequence->getItem(static_cast<unsigned long>(step->item)) : nullptr;
  }
  return item;
}

}  // namespace

AttributePath AttributePath::parse(const std::string& text) {
  return atBoundary([&] {
    ExDCM::registerPrivateDicomTags();
    AttributePath path;
    path.text_ = text;
    path.steps_ = parseSteps(text);
    if (path.steps_.empty()) {
      throw Error(Reason::Unsupported,
                  "'" + text + "' is neither the number nor the keyword of an element");
    }
    return path;
  });
}

FoundElement locate(DcmItem& dataset, const AttributePath& path) {
  DcmItem* const item = holderOf(dataset, path);
  return {item, item == nullptr ? nullptr : elementOf(*item, path.steps().back())};
}

DcmElement* findElement(DcmItem& dataset, const AttributePath& path) {
  return atBoundary([&] { return locate(dataset, path).element; });
}

}  // namespace zr
