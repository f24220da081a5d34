// SPDX-License-Identifier: BSD-3-Clause
// Names in words. DCMTK knows SOP classes and elements by their keywords alone, which are the names
// without blanks and hyphens: they are parted where a capital begins a word, and hyphens come back
// by a table. Classes that are younger than this DCMTK have their names here.
#include "zrimaging/images/Names.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/ObjectFacts.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace zr {

namespace {

struct Named {
  std::string_view uid;
  const char* name;
};

// PS3.6 table A-1: SOP classes that DCMTK 3.6.7 does not have.
constexpr std::array kYoungClasses = {
    Named{"1.2.840.10008.5.1.4.1.1.6.3", "Photoacoustic Image Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.9.100.1", "Waveform Presentation State Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.9.100.2", "Waveform Acquisition Presentation State Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.11.12",
          "Variable Modality LUT Softcopy Presentation State Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.66.7", "Label Map Segmentation Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.66.8", "Height Map Segmentation Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.77.1.8", "Confocal Microscopy Image Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.77.1.9", "Confocal Microscopy Tiled Pyramidal Image Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.88.77", "Waveform Annotation SR Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.200.1", "CT Defined Procedure Protocol Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.200.3", "Protocol Approval Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.200.7", "XA Defined Procedure Protocol Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.201.1", "Inventory Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.481.23", "Enhanced RT Image Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.481.24", "Enhanced Continuous RT Image Storage"},
    Named{"1.2.840.10008.5.1.4.1.1.481.25", "RT Patient Position Acquisition Instruction Storage"},
};

struct Spelling {
  std::string_view parted;  ///< words as capitals part them
  std::string_view right;
};

// Each is put right wherever it is found as whole words.
constexpr std::array kSpellings = {
    Spelling{"X Ray", "X-Ray"},
    Spelling{"Multiframe", "Multi-frame"},
    Spelling{"Multichannel", "Multi-channel"},
    Spelling{"Intra Oral", "Intra-Oral"},
    Spelling{"C Arm", "C-Arm"},
    Spelling{"Photon Electron", "Photon-Electron"},
    Spelling{"Bi Plane", "Bi-Plane"},
    Spelling{"Bscan", "B-scan"},
    Spelling{"Twelve Lead", "12-lead"},
    Spelling{"Storage For", "Storage - For"},
    Spelling{"XAXRF", "XA/XRF"},
    Spelling{"CADSR", "CAD SR"},
    Spelling{"VOILUT", "VOI LUT"},
    Spelling{"Thickness And", "Thickness and"},
    Spelling{"In Stack", "In-Stack"},
    Spelling{"RR Interval", "R-R Interval"},
    Spelling{"Diffusion B Value", "Diffusion b-value"},
};

bool isCapital(char c) {
  return c >= 'A' && c <= 'Z';
}

bool isSmall(char c) {
  return c >= 'a' && c <= 'z';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// "3D" is a word of its own, whatever follows.
bool endsWithDimensions(std::string_view before) {
  return before.size() >= 2 && before.back() == 'D' && isDigit(before[before.size() - 2]);
}

bool beginsWord(std::string_view keyword, std::size_t at) {
  const char before = keyword[at - 1];
  const char here = keyword[at];
  const char after = at + 1 < keyword.size() ? keyword[at + 1] : '\0';
  if (isDigit(here)) {
    return !isDigit(before);
  }
  if (!isCapital(here)) {
    return false;
  }
  return isSmall(before) || endsWithDimensions(keyword.substr(0, at)) ||
         (isSmall(after) && (isCapital(before) || isDigit(before)));
}

std::string partedAtCapitals(std::string_view keyword) {
  std::string words;
  for (std::size_t i = 0; i < keyword.size(); ++i) {
    if (i > 0 && beginsWord(keyword, i)) {
      words += ' ';
    }
    words += keyword[i];
  }
  return words;
}

void putRight(std::string& words, const Spelling& spelling) {
  const std::string_view wrong = spelling.parted;
  for (std::size_t at = words.find(wrong); at != std::string::npos; at = words.find(wrong, at)) {
    const std::size_t end = at + wrong.size();
    const bool whole =
        (at == 0 || words[at - 1] == ' ') && (end == words.size() || words[end] == ' ');
    if (whole) {
      words.replace(at, wrong.size(), spelling.right);
    }
    at += whole ? spelling.right.size() : wrong.size();
  }
}

// DCMTK marks classes that the standard has given up, and those of its sisters.
std::string withMarkInWords(const std::string& keyword) {
  const std::size_t end = keyword.find('_');
  if (end == std::string::npos) {
    return titleOfKeyword(keyword);
  }
  const std::string mark = keyword.substr(0, end);
  const std::string title = titleOfKeyword(keyword.substr(end + 1));
  if (mark == "RETIRED") {
    return title + " (Retired)";
  }
  return mark == "DRAFT" ? title + " (Trial)" : mark + " " + title;
}

}  // namespace

std::string titleOfKeyword(const std::string& keyword) {
  std::string words = partedAtCapitals(keyword);
  for (const Spelling& spelling : kSpellings) {
    putRight(words, spelling);
  }
  return words;
}

std::string titleOfElement(const DcmTagKey& key) {
  DcmTag tag(key);
  return tag.isUnknownVR() ? "" : titleOfKeyword(tag.getTagName());
}

std::string uidTitle(const std::string& uid) {
  return atBoundary([&]() -> std::string {
    const auto young = std::find_if(kYoungClasses.begin(), kYoungClasses.end(),
                                    [&](const Named& entry) { return entry.uid == uid; });
    if (young != kYoungClasses.end()) {
      return young->name;
    }
    const char* const keyword = uid.empty() ? nullptr : dcmFindNameOfUID(uid.c_str());
    return keyword == nullptr ? "" : withMarkInWords(keyword);
  });
}

}  // namespace zr
