// SPDX-License-Identifier: BSD-3-Clause
// The command line itself: help, version, and what counts as wrong usage.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <zrimaging/Codecs.h>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using tools::Outcome;
using tools::runZrdcm;

struct WrongUsage {
  const char* name;
  std::vector<std::string> arguments;
  const char* message;
};

class WrongUsageOfZrdcm : public testing::TestWithParam<WrongUsage> {};

TEST_P(WrongUsageOfZrdcm, EndsWithStatusTwoAndSaysWhy) {
  const Outcome outcome = runZrdcm(GetParam().arguments);

  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.errors, StartsWith(std::string("zrdcm: ") + GetParam().message));
  EXPECT_THAT(outcome.output, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, WrongUsageOfZrdcm,
    testing::Values(
        WrongUsage{"NoVerb", {}, "a verb is missing"},
        WrongUsage{"UnknownVerb", {"paint"}, "paint is no verb"},
        WrongUsage{"UnknownOption", {"info", "--paint", "a.dcm"}, "The following argument"},
        WrongUsage{"InfoWithoutFile", {"info"}, "files is required"},
        WrongUsage{
            "InfoInTwoForms", {"info", "--json", "--jsonl", "a.dcm"}, "--json excludes --jsonl"},
        WrongUsage{"SamplesWithoutFolder", {"samples"}, "dir is required"},
        WrongUsage{"DecodeWithoutOutput", {"decode", "a.dcm"}, "--output is required"},
        WrongUsage{"UnknownEnding",
                   {"decode", "a.dcm", "-o", "a.bmp"},
                   "--output must end in .npy, .nrrd, .raw, .png, .tiff or .jpg: a.bmp"},
        WrongUsage{"FramesBackwards",
                   {"decode", "a.dcm", "-o", "a.npy", "--frames", "3-1"},
                   "--frames wants A or A-B, or a list of these, 0-based, A not above B: 3-1"},
        WrongUsage{"FrameTwice",
                   {"decode", "a.dcm", "-o", "a.npy", "--frames", "7,2-9"},
                   "--frames names frame 7 twice"},
        WrongUsage{"FramesNegative",
                   {"decode", "a.dcm", "-o", "a.npy", "--frames=-1"},
                   "--frames wants A or A-B"},
        WrongUsage{"FramesNoNumber",
                   {"decode", "a.dcm", "-o", "a.npy", "--frames", "1-x"},
                   "--frames wants A or A-B"},
        WrongUsage{"FramesBeyondAllNumbers",
                   {"decode", "a.dcm", "-o", "a.npy", "--frames", "99999999999999999999"},
                   "--frames wants A or A-B"},
        WrongUsage{"WindowWithoutWidth",
                   {"decode", "a.dcm", "-o", "a.png", "--window", "40,"},
                   "--window wants CENTRE,WIDTH with a width above 0: 40,"},
        WrongUsage{"WindowOfNoWidth",
                   {"decode", "a.dcm", "-o", "a.png", "--window", "40,0"},
                   "--window wants CENTRE,WIDTH"},
        WrongUsage{"WindowOfNan",
                   {"decode", "a.dcm", "-o", "a.png", "--window", "nan,1"},
                   "--window wants CENTRE,WIDTH"},
        WrongUsage{"WindowForNoPicture",
                   {"decode", "a.dcm", "-o", "a.npy", "--window", "1,2"},
                   "--window and --overlays shape pictures: they go with .png or .jpg only"},
        WrongUsage{"OverlaysForNoPicture",
                   {"decode", "a.dcm", "-o", "a.raw", "--overlays"},
                   "--window and --overlays shape pictures: they go with .png or .jpg only"},
        WrongUsage{"WindowOnStoredSamples",
                   {"decode", "a.dcm", "-o", "a.png", "--stored", "--window", "1,2"},
                   "--stored excludes --window"},
        WrongUsage{"SheetWithoutOutput", {"sheet", "a.dcm"}, "--output is required"},
        WrongUsage{"SheetIntoAnotherKindOfPicture",
                   {"sheet", "a.dcm", "-o", "a.bmp"},
                   "--output: a.bmp does not end in .png or .jpg"},
        WrongUsage{"PlotIntoAnotherKindOfPicture",
                   {"lut", "a.dcm", "-o", "a"},
                   "--output: a does not end in .png or .jpg"},
        WrongUsage{"SheetOfNoColumns",
                   {"sheet", "a.dcm", "-o", "a.png", "--columns", "0"},
                   "--columns: Value 0 not in range"},
        WrongUsage{"SheetWindowOfNoWidth",
                   {"sheet", "a.dcm", "-o", "a.png", "--window", "40,0"},
                   "--window wants CENTRE,WIDTH"},
        WrongUsage{"SplitWithoutOutput", {"split", "a.dcm"}, "--output is required"},
        WrongUsage{"SplitIntoUnknownFormat",
                   {"split", "a.dcm", "-o", "a", "--format", "bmp"},
                   "--format: bmp not in {nrrd,npy,tiff}"},
        WrongUsage{"ExportOfUnknownType",
                   {"export", "--pixels", "a", "--rows", "1", "--columns", "1", "-o", "b", "--type",
                    "f32"},
                   "--type: f32 not in {u8,u16,s16}"},
        WrongUsage{"OverlaysWithoutOutput", {"overlays", "a.dcm"}, "--output is required"}),
    support::nameOf<WrongUsage>);

TEST(ZrdcmHelp, ListsTheVerbs) {
  const Outcome outcome = runZrdcm({"--help"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("info"));
  EXPECT_THAT(outcome.output, HasSubstr("decode"));
  EXPECT_THAT(outcome.output, HasSubstr("samples"));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

class HelpOfVerb : public testing::TestWithParam<const char*> {};

TEST_P(HelpOfVerb, ShowsAnExample) {
  const Outcome outcome = runZrdcm({GetParam(), "--help"});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.output, HasSubstr("Example"));
  EXPECT_THAT(outcome.output, HasSubstr(std::string("zrdcm ") + GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Verbs, HelpOfVerb,
                         testing::Values("info", "decode", "split", "sheet", "overlays", "lut",
                                         "sort", "text", "dict", "export", "samples"));

TEST(ZrdcmHelp, ListsTheTypesOfAnOptionOnce) {
  EXPECT_THAT(runZrdcm({"export", "--help"}).output, HasSubstr("--type u8|u16|s16  "));
  EXPECT_THAT(runZrdcm({"split", "--help"}).output, HasSubstr("--format nrrd|npy|tiff  "));
}

TEST(ZrdcmVersion, IsThatOfTheProjectOfDcmtkAndOfOtherDecoders) {
  const Outcome outcome = runZrdcm({"--version"});

  EXPECT_EQ(outcome.status, 0);
  const std::string decoders = zr::decoderLibraries();
  EXPECT_EQ(outcome.output, "zrdcm " ZRDCM_VERSION " (DCMTK " PACKAGE_VERSION +
                                (decoders.empty() ? "" : "; " + decoders) + ")\n");
}

TEST(ZrdcmWithoutDictionary, SaysSoInOneLineAndGoesOn) {
  const support::TempDir folder;
  support::saveFile(*support::monochromeImage(2, 2).build(), folder.file("image.dcm"));

  const Outcome outcome = tools::runProgram({"env", "DCMDICTPATH=/nonexistent", ZRDCM_PROGRAM,
                                             "info", folder.file("image.dcm").string()});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(
      outcome.errors,
      "zrdcm: DCMTK has no data dictionary, attributes of implicit VR are unknown; DCMDICTPATH "
      "names its files\n");
}

TEST(ZrdcmOutput, ThatStdoutDoesNotTakeIsAFailure) {
  const support::TempDir folder;
  support::saveFile(*support::monochromeImage(2, 2).build(), folder.file("image.dcm"));

  const Outcome outcome =
      tools::runProgram({"sh", "-c", "exec \"$0\" info --json \"$1\" > /dev/full", ZRDCM_PROGRAM,
                         folder.file("image.dcm").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write the results to standard output\n");
}

}  // namespace
