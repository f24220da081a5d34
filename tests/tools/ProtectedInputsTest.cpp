// SPDX-License-Identifier: BSD-3-Clause
// What is read is never written over, whatever name leads to it.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using tools::Outcome;
using tools::runZrdcm;

/// A folder with the inputs of every verb, in which programs may be run.
class InputFolder {
public:
  InputFolder() {
    support::saveFile(*support::ctSlice(2, 2)
                           .bitsStored(8)
                           .overlayBits(0x6000, 12, {{1, 0}}, 0)
                           .overlayBits(0x6002, 13, {{0, 1}}, 0)
                           .with(DCM_InstanceNumber, "1")
                           .build(),
                      path("image"));
    support::saveFile(*support::monochromeImage(2, 2)
                           .frames(3)
                           .frameIncrementPointer("(0018,1063)")
                           .with(DCM_FrameTime, "40")
                           .with(DCM_SpacingBetweenSlices, "2")
                           .build(),
                      path("frames"));
    support::saveFile(*support::paletteImage(2, 2).build(), path("palette"));
    tools::writeFile(path("tags"), R"({"PatientName": "Doe^John"})");
    tools::writeFile(path("samples"), std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8));
  }

  fs::path path(const std::string& name) const { return folder_.file(name); }
  const fs::path& root() const { return folder_.path(); }

  /// Every @ stands for this folder.
  Outcome run(std::vector<std::string> arguments) const {
    for (std::string& argument : arguments) {
      const std::size_t at = argument.find('@');
      if (at != std::string::npos) {
        argument.replace(at, 1, root().string());
      }
    }
    return runZrdcm(arguments);
  }

private:
  support::TempDir folder_;
};

struct Replacing {
  const char* name;
  const char* input;   ///< which input is in danger
  const char* output;  ///< its name as the verb writes it
  std::vector<std::string> arguments;
};

std::vector<std::string> exporting(const std::string& output) {
  return {"export", "--from", "@/image",   "--tags", "@/tags", "--pixels",   "@/samples",
          "--rows", "2",      "--columns", "2",      "-o",     "@/" + output};
}

class Input : public testing::TestWithParam<Replacing> {};

TEST_P(Input, IsNeverReplaced) {
  const InputFolder folder;
  // The verb reads the input by one name and would write to another of the same file.
  fs::create_directories(folder.path(GetParam().output).parent_path());
  fs::create_hard_link(folder.path(GetParam().input), folder.path(GetParam().output));
  const std::string before = tools::readFile(folder.path(GetParam().input));
  const fs::path beside = folder.path(GetParam().output).parent_path();
  const std::vector<std::string> names = tools::namesIn(beside);

  const Outcome outcome = folder.run(GetParam().arguments);

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: cannot write " + folder.path(GetParam().output).string() +
                                ": that would replace the input " +
                                folder.path(GetParam().input).string() + "\n");
  EXPECT_EQ(tools::readFile(folder.path(GetParam().input)), before);
  EXPECT_EQ(tools::readFile(folder.path(GetParam().output)), before);
  EXPECT_EQ(tools::namesIn(beside), names);  // what would have come before is not written either
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, Input,
    testing::Values(
        Replacing{"DecodeNpy", "image", "o.npy", {"decode", "@/image", "-o", "@/o.npy"}},
        Replacing{"DecodeRaw", "image", "o.raw", {"decode", "@/image", "-o", "@/o.raw"}},
        Replacing{"DecodeNrrd", "image", "o.nrrd", {"decode", "@/image", "-o", "@/o.nrrd"}},
        Replacing{"DecodePng", "image", "o.png", {"decode", "@/image", "-o", "@/o.png"}},
        Replacing{
            "LastOfManyPictures", "frames", "o-002.png", {"decode", "@/frames", "-o", "@/o.png"}},
        Replacing{"SheetOfOne", "image", "o.png", {"sheet", "@/image", "-o", "@/o.png"}},
        Replacing{
            "SheetOfMany", "palette", "o.png", {"sheet", "@/image", "@/palette", "-o", "@/o.png"}},
        Replacing{"Lut", "palette", "o.png", {"lut", "@/palette", "-o", "@/o.png"}},
        Replacing{
            "Overlays", "image", "d/overlay-6002-00000.png", {"overlays", "@/image", "-o", "@/d"}},
        Replacing{"SplitVolume", "frames", "d/volume-000.nrrd", {"split", "@/frames", "-o", "@/d"}},
        Replacing{"SplitSheet", "frames", "d/volume-000.png", {"split", "@/frames", "-o", "@/d"}},
        Replacing{"SplitManifest", "frames", "d/manifest.json", {"split", "@/frames", "-o", "@/d"}},
        Replacing{
            "SortRead", "image", "d/0002.dcm", {"sort", "--copy", "@/d", "@/palette", "@/image"}},
        Replacing{"ExportFrom", "image", "o.dcm", exporting("o.dcm")},
        Replacing{"ExportTags", "tags", "o.dcm", exporting("o.dcm")},
        Replacing{"ExportPixels", "samples", "o.dcm", exporting("o.dcm")}),
    support::nameOf<Replacing>);

TEST(UnreadableInput, OfASortIsNotReplacedEither) {
  const InputFolder folder;
  fs::create_directory(folder.path("series"));
  fs::copy_file(folder.path("image"), folder.path("series/z"));
  tools::writeFile(folder.path("series/0001.dcm"), "half of a transfer that broke off");

  const Outcome outcome =
      folder.run({"sort", "--copy", "@/series", "@/series/0001.dcm", "@/series/z"});

  EXPECT_EQ(outcome.status, 1);
  const std::string damaged = folder.path("series/0001.dcm").string();
  EXPECT_EQ(outcome.errors, "zrdcm: " + damaged + ": is not a DICOM file\nzrdcm: cannot write " +
                                damaged + ": that would replace the input " + damaged + "\n");
  EXPECT_EQ(tools::readFile(damaged), "half of a transfer that broke off");
  EXPECT_THAT(tools::namesIn(folder.path("series")), ElementsAre("0001.dcm", "z"));
}

TEST(LinkedInput, IsKnownThroughFoldersAndLinks) {
  const InputFolder folder;
  fs::create_directory(folder.path("real"));
  fs::rename(folder.path("image"), folder.path("real/0001.dcm"));
  fs::create_directory_symlink("real", folder.path("linked"));
  fs::create_symlink("linked/0001.dcm", folder.path("image.npy"));
  const std::string before = tools::readFile(folder.path("real/0001.dcm"));

  EXPECT_EQ(folder.run({"sort", "--copy", "@/linked", "@/real/0001.dcm"}).status, 1);
  EXPECT_EQ(folder.run({"decode", "@/real/0001.dcm", "-o", "@/image.npy"}).status, 1);
  EXPECT_EQ(folder.run({"decode", "@/image.npy", "-o", "@/real/../image.npy"}).status, 1);

  EXPECT_EQ(tools::readFile(folder.path("real/0001.dcm")), before);
  EXPECT_TRUE(fs::is_symlink(folder.path("image.npy")));
}

TEST(ProtectedInput, MayBeBesideTheOutput) {
  const InputFolder folder;

  EXPECT_EQ(folder.run({"decode", "@/image", "-o", "@/image.npy"}).status, 0);
  EXPECT_EQ(folder.run({"sort", "--copy", "@", "@/image"}).status, 0);
  EXPECT_EQ(folder.run(exporting("out.dcm")).status, 0);
}

}  // namespace
