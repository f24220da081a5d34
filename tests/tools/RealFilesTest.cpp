// SPDX-License-Identifier: BSD-3-Clause
// Text and order of real files beside what dcmdump and pydicom make of them. Skipped where the
// files or the programs are not there.
#include "support/CorpusFixture.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using tools::runProgram;
using tools::runZrdcm;

// What the files hold. A comparison that lets some slip through must not go unnoticed.
constexpr int kLeastElements = 11;
constexpr std::size_t kLeastSeries = 5;

constexpr const char* kStandardDictionary = "/usr/share/libdcmtk17/dicom.dic";

/// An element of the dataset as dcmdump prints it.
struct DumpedElement {
  std::string tag;
  std::string vr;
  std::string value;
  std::string name;
};

// (0019,1024) DS [17.784578]            #  10, 1 MidScanTime
// Elements within sequences are indented, and lines that are none have another shape.
std::optional<DumpedElement> parseDumpLine(const std::string& line) {
  constexpr std::size_t kValue = 15;
  const std::size_t comment = line.rfind(" #");
  if (line.size() < kValue || line[0] != '(' || comment == std::string::npos || comment < kValue) {
    return std::nullopt;
  }
  std::string value = line.substr(kValue, line.find_last_not_of(' ', comment) + 1 - kValue);
  return DumpedElement{line.substr(0, 11), line.substr(12, 2), std::move(value),
                       line.substr(line.rfind(' ') + 1)};
}

std::vector<DumpedElement> dump(const std::string& file, const std::string& dictionaries) {
  const tools::Outcome run =
      runProgram({"env", "DCMDICTPATH=" + dictionaries, "dcmdump", "-q", "+L", "-Un", "-M", file});
  std::vector<DumpedElement> elements;
  std::istringstream stream(run.output);
  for (std::string line; std::getline(stream, line);) {
    if (const auto element = parseDumpLine(line)) {
      elements.push_back(*element);
    }
  }
  return elements;
}

// dcmdump prints text in brackets and unknown values as bytes, "31\2e\35".
std::string valueOf(const DumpedElement& element) {
  if (element.vr != "UN" && element.vr != "??") {
    return element.value.substr(1, element.value.size() - 2);
  }
  std::string text;
  for (std::size_t i = 0; i + 1 < element.value.size(); i += 3) {
    text += static_cast<char>(std::stoi(element.value.substr(i, 2), nullptr, 16));
  }
  return text;
}

json vendorEntries() {
  return json::parse(runZrdcm({"dict", "--vendors", "--json"}).output);
}

// Our entries in the format of DCMTK's dictionary files.
void writeDictionary(const std::filesystem::path& path, const json& entries) {
  std::ostringstream text;
  for (const json& entry : entries) {
    const std::string tag = entry["tag"];  // (gggg,xxee)
    text << tag.substr(0, 6) << '"' << entry["creator"].get<std::string>() << "\","
         << tag.substr(8, 2) << ")\t" << entry["vr"].get<std::string>() << '\t'
         << entry["name"].get<std::string>() << '\t' << entry["vm"].get<int>() << "\tPrivateTag\n";
  }
  tools::writeFile(path, text.str());
}

bool holdsBlockOf(const std::string& file, const json& entries) {
  const std::string bytes = tools::readFile(file);
  return std::any_of(entries.begin(), entries.end(), [&bytes](const json& entry) {
    return bytes.find(entry["creator"].get<std::string>()) != std::string::npos;
  });
}

class RealFiles : public support::CorpusFixture {
protected:
  std::filesystem::path folder() const { return corpus() / "files"; }
};

class VendorElements : public RealFiles {
protected:
  void SetUp() override {
    RealFiles::SetUp();
    if (!IsSkipped() && (runProgram({"sh", "-c", "command -v dcmdump"}).status != 0 ||
                         !std::filesystem::exists(kStandardDictionary))) {
      FAIL() << "dcmdump is not installed; make deps does it";
    }
  }

  // With our entries dcmdump knows name and VR; without any it has at least the stored bytes.
  static int compareFile(const std::string& file, const json& entries,
                         const std::string& ourDictionary) {
    const auto named = dump(file, std::string(kStandardDictionary) + ":" + ourDictionary);
    const auto plain = dump(file, kStandardDictionary);
    int compared = 0;
    for (const DumpedElement& element : named) {
      const bool isOurs = std::any_of(entries.begin(), entries.end(), [&](const json& entry) {
        return entry["name"] == element.name &&
               element.tag.substr(0, 6) == entry["tag"].get<std::string>().substr(0, 6);
      });
      if (isOurs) {
        compareElement(file, element, plain);
        ++compared;
      }
    }
    return compared;
  }

private:
  static void compareElement(const std::string& file, const DumpedElement& named,
                             const std::vector<DumpedElement>& plain) {
    SCOPED_TRACE(file + " " + named.tag + " " + named.name);
    const tools::Outcome run = runZrdcm({"text", file, named.name, "--json"});
    ASSERT_EQ(run.status, 0) << run.errors;
    const json ours = json::parse(run.output);
    EXPECT_EQ(ours["tag"], named.tag);
    EXPECT_EQ(ours["vr"], named.vr);
    EXPECT_EQ(ours["text"], valueOf(named));

    const auto stored = std::find_if(plain.begin(), plain.end(), [&](const DumpedElement& other) {
      return other.tag == named.tag;
    });
    ASSERT_NE(stored, plain.end());
    EXPECT_EQ(ours["text"], valueOf(*stored));
    std::cout << "  " << std::filesystem::path(file).filename().string() << ' ' << named.tag << ' '
              << named.name << " (" << named.vr << "): " << ours["text"] << '\n';
  }
};

TEST_F(VendorElements, HaveTheValuesThatDcmdumpShows) {
  const support::TempDir scratch;
  const std::string dictionary = scratch.file("vendors.dic").string();
  const json entries = vendorEntries();
  writeDictionary(dictionary, entries);

  int compared = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder())) {
    if (holdsBlockOf(entry.path(), entries)) {
      compared += compareFile(entry.path(), entries, dictionary);
    }
  }

  EXPECT_GE(compared, kLeastElements);
}

class SeriesOfRealFiles : public RealFiles {
protected:
  void SetUp() override {
    RealFiles::SetUp();
    if (!IsSkipped() && runProgram({"/usr/bin/python3", "-c", "import pydicom"}).status != 0) {
      FAIL() << "python3-pydicom is not installed; make deps does it";
    }
  }
};

TEST_F(SeriesOfRealFiles, AreInTheOrderOfTheInstanceNumbersThatPydicomReads) {
  const tools::Outcome pydicom =
      runProgram({"/usr/bin/python3", ZRDCM_TEST_SCRIPTS "/series_order.py", folder().string()});
  ASSERT_EQ(pydicom.status, 0) << pydicom.errors;
  const json series = json::parse(pydicom.output);
  ASSERT_GE(series.size(), kLeastSeries);

  for (const json& images : series) {
    const auto expected = images.get<std::vector<std::string>>();
    std::vector<std::string> arguments = {"sort", "--json"};
    arguments.insert(arguments.end(), expected.rbegin(), expected.rend());
    const tools::Outcome run = runZrdcm(arguments);
    ASSERT_EQ(run.status, 0) << run.errors;

    std::vector<std::string> order;
    for (const json& image : json::parse(run.output)) {
      order.push_back(image["file"]);
      EXPECT_EQ(image["decidedBy"], order.size() == 1 ? json(nullptr) : json("instance-number"));
    }
    EXPECT_EQ(order, expected);
  }
}

}  // namespace
