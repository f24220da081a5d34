// SPDX-License-Identifier: BSD-3-Clause
// What reaches a terminal: nothing that it would act on, wherever the text comes from.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using tools::Outcome;
using tools::runZrdcm;

// A title for the window, a command of the second control set, a turn of direction, a line of its
// own, and a letter of ISO 8859-1, which is no UTF-8.
const std::string kTrickyName =
    "a\x1b]0;t\x07\xc2\x9b"
    "31m\xe2\x80\xae\nb\xe9\x7f";
const std::string kShownName = "a ]0;t  31m  b\\xE9 ";

/// What is wrong with a text that may hold lines of letters alone; empty when nothing is.
std::string unsafePartOf(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte < 0x20 && byte != '\n') || byte == 0x7F) {
      return "control character at " + std::to_string(i);
    }
  }
  for (const char* const sequence : {"\xc2\x9b", "\xe2\x80\xae", "\xe9"}) {
    if (text.find(sequence) != std::string::npos) {
      return "sequence " + tools::hex(sequence);
    }
  }
  return "";
}

struct TrickyRun {
  const char* name;
  std::vector<std::string> arguments;  // FILE and DIR stand for the file and a folder of its name
};

class NamesOfFiles : public testing::TestWithParam<TrickyRun> {
protected:
  NamesOfFiles() {
    support::saveFile(*support::monochromeImage(4, 4)
                           .with(DCM_SOPClassUID, "1.2")
                           .with(DCM_SOPInstanceUID, "1.2.3")
                           .with(DCM_SpacingBetweenSlices, "1")
                           .frames(2)
                           .frameIncrementPointer("(0018,1063)")
                           .bitsStored(12)
                           .overlayBits(0x6000, 12, {{1, 1}})
                           .build(),
                      folder_.file(kTrickyName + ".dcm"));
  }

  Outcome run(const std::vector<std::string>& pattern) const {
    std::vector<std::string> arguments;
    for (std::string argument : pattern) {
      for (const auto& [word, value] : {std::pair{"FILE", folder_.file(kTrickyName + ".dcm")},
                                        std::pair{"DIR", folder_.file(kTrickyName)}}) {
        const std::size_t at = argument.find(word);
        if (at != std::string::npos) {
          argument.replace(at, std::string(word).size(), value.string());
        }
      }
      arguments.push_back(argument);
    }
    return runZrdcm(arguments);
  }

private:
  support::TempDir folder_;
};

TEST_P(NamesOfFiles, AreShownWithoutWhatATerminalActsOn) {
  const Outcome outcome = run(GetParam().arguments);

  EXPECT_EQ(unsafePartOf(outcome.output), "") << outcome.output;
  EXPECT_EQ(unsafePartOf(outcome.errors), "") << outcome.errors;
  EXPECT_NE(outcome.output + outcome.errors, "");
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, NamesOfFiles,
    testing::Values(
        TrickyRun{"Info", {"info", "FILE"}}, TrickyRun{"InfoJson", {"info", "--json", "FILE"}},
        TrickyRun{"TextJson", {"text", "--json", "FILE", "SOPClassUID"}},
        TrickyRun{"TextFailure", {"text", "FILE", "PatientName"}},
        TrickyRun{"TextUsage", {"text", "FILE", "\x1b[31m\xc2\x9b"}},
        TrickyRun{"Sort", {"sort", "FILE"}}, TrickyRun{"SortJson", {"sort", "--json", "FILE"}},
        TrickyRun{"SortFailure", {"sort", "DIR"}},
        TrickyRun{"SortCopy", {"sort", "--copy", "DIR", "FILE"}},
        TrickyRun{"Split", {"split", "FILE", "-o", "DIR"}},
        TrickyRun{"SplitJson", {"split", "--json", "FILE", "-o", "DIR"}},
        TrickyRun{"Overlays", {"overlays", "FILE", "-o", "DIR"}},
        TrickyRun{"OverlaysJson", {"overlays", "--json", "FILE", "-o", "DIR"}},
        TrickyRun{"DecodeJson", {"decode", "--json", "FILE", "-o", "DIR.raw"}},
        TrickyRun{"DecodeFailure", {"decode", "DIR", "-o", "DIR.raw"}},
        TrickyRun{"DecodeUsage", {"decode", "FILE", "-o", "DIR"}},
        TrickyRun{"SheetJson", {"sheet", "--json", "FILE", "-o", "DIR.png"}},
        TrickyRun{"LutJson", {"lut", "--json", "FILE"}},
        TrickyRun{"ExportFailure",
                  {"export", "--tags", "DIR", "--pixels", "DIR", "--columns", "1", "--rows", "1",
                   "-o", "DIR"}},
        TrickyRun{"UnknownVerb", {"\x1b[31m"}}, TrickyRun{"UnknownOption", {"info", "--\x1b[31m"}},
        TrickyRun{"Log", {"-v", "info", "FILE"}}),
    support::nameOf<TrickyRun>);

TEST_F(NamesOfFiles, KeepTheirPlaceInLists) {
  EXPECT_THAT(run({"sort", "FILE"}).output, HasSubstr("/" + kShownName + ".dcm\n"));
}

// What no UTF-8 can hold is escaped, and the object says so; all else can be read back exactly.
TEST_F(NamesOfFiles, AreMarkedInJsonWhenTheyAreNoUtf8) {
  const json entry = json::parse(run({"sort", "--json", "FILE"}).output)[0];

  const std::string file = entry["file"];
  EXPECT_THAT(file, HasSubstr("a\x1b]0;t\x07\xc2\x9b"
                              "31m\xe2\x80\xae\nb\\xE9\x7f.dcm"));
  EXPECT_EQ(entry["escaped"], true);
}

TEST(Json, IsWrittenInLettersThatATerminalShows) {
  const support::TempDir folder;
  const std::string name = "\xc3\xa9\xc2\x9b\xe2\x81\xa6\x7f.dcm";

  const Outcome run = runZrdcm({"info", "--json", folder.file(name).string()});

  EXPECT_THAT(run.output, HasSubstr("/\xc3\xa9\\u009b\\u2066\\u007f.dcm\""));
  EXPECT_THAT(run.output, Not(HasSubstr("\"escaped\"")));
}

// DCMTK quotes a value representation that it does not know.
TEST(LogOfTheLibraries, IsShownWithoutWhatATerminalActsOn) {
  const support::TempDir folder;
  support::saveFile(*support::monochromeImage(2, 2).with(DCM_PatientID, "ID").build(),
                    folder.file("in.dcm"));
  std::string bytes = tools::readFile(folder.file("in.dcm"));
  const std::size_t patientId = bytes.find("\x10\x00\x20\x00LO", 0, 6);
  ASSERT_NE(patientId, std::string::npos);
  tools::writeFile(folder.file("in.dcm"), bytes.replace(patientId + 4, 2, "\xc2\x9b"));

  const Outcome run = runZrdcm({"-v", "info", folder.file("in.dcm").string()});

  EXPECT_THAT(run.errors, HasSubstr("W: DcmItem: "));
  EXPECT_EQ(unsafePartOf(run.errors), "") << run.errors;
}

}  // namespace
