// SPDX-License-Identifier: BSD-3-Clause
// Why an image does not decode, told alike by decode and info; and what info says of objects that
// have no pixels to decode. All causes: the test of the same name in tests/imaging/images.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RawFile.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using support::ImageBuilder;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

class Explanation : public testing::Test {
protected:
  std::string file() const { return folder_.file("in.dcm").string(); }

  /// What decode says of the file; info must say the same.
  std::string reason() const {
    const Outcome decoded = runZrdcm({"decode", file(), "-o", folder_.file("out.raw").string()});
    const Outcome listed = runZrdcm({"info", "--json", file()});
    EXPECT_EQ(decoded.status, 1);
    EXPECT_EQ(decoded.errorLines(), 1U);
    EXPECT_EQ(listed.status, 1);
    EXPECT_EQ(listed.errors, decoded.errors);
    const std::string start = "zrdcm: " + file() + ": ";
    EXPECT_EQ(decoded.errors.substr(0, start.size()), start);
    const std::string text =
        decoded.errors.substr(start.size(), decoded.errors.size() - start.size() - 1);
    EXPECT_EQ(json::parse(listed.output)[0]["error"], text);
    EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("in.dcm"));
    return text;
  }

  support::TempDir folder_;
};

TEST_F(Explanation, OfAnAttributeIsToldAlike) {
  support::saveFile(*support::ctSlice(2, 2).without(DCM_Columns).build(), file());

  EXPECT_EQ(reason(),
            "CTImageStorage has Pixel Data, but lacks what an image needs: Columns (0028,0011)");
}

TEST_F(Explanation, OfACompressedFrameIsToldAlike) {
  const auto dataset =
      support::compress(*support::ctSlice(16, 16).unsigned8().build(), EXS_JPEGLSLossless);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 24).good());
  support::saveFile(*dataset, file(), EXS_JPEGLSLossless);

  EXPECT_EQ(
      reason(),
      "CTImageStorage has a compressed frame (number 0) of 16 columns, where Columns says 24");
}

struct Syntax {
  const char* name;
  const char* uid;
  const char* text;  // null: not known
};

class SyntaxWithoutDecoder : public Explanation, public testing::WithParamInterface<Syntax> {};

TEST_P(SyntaxWithoutDecoder, IsNamedByItsOwnUid) {
  tools::writeFile(file(), support::fileOf(support::ctSlice(2, 2), GetParam().uid,
                                           support::encapsulated({"abcd"})));

  const std::string expected =
      GetParam().text == nullptr
          ? "CTImageStorage is in transfer syntax " + std::string(GetParam().uid) +
                ", which is not known here"
          : "CTImageStorage is compressed as " + std::string(GetParam().text) + " (" +
                GetParam().uid +
                "), for which there is no decoder; convert it to an uncompressed transfer syntax "
                "first";
  EXPECT_EQ(reason(), expected);
  const json syntax = json::parse(runZrdcm({"info", "--json", file()}).output)[0]["transferSyntax"];
  EXPECT_EQ(syntax["uid"], GetParam().uid);
  EXPECT_EQ(syntax["name"], GetParam().text == nullptr ? json(nullptr) : json(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, SyntaxWithoutDecoder,
    testing::Values(Syntax{"JpipHtJpeg2000", "1.2.840.10008.1.2.4.204", "JPIP HTJ2K Referenced"},
                    Syntax{"Mpeg2", "1.2.840.10008.1.2.4.100", "MPEG2 Main Profile @ Main Level"},
                    Syntax{"Unknown", "1.2.3.4.5", nullptr}),
    support::nameOf<Syntax>);

// A range takes another road, on which packed bits would come out as samples.
// --- frames beyond sixteen bits
// --------------------------------------------------------------------

class ManyFrames : public testing::Test {
protected:
  void SetUp() override {
    support::saveFile(
        *support::monochromeImage(1, 1).frames(65540).frameIncrementPointer("(0018,1063)").build(),
        file());
  }
  std::string file() const { return folder_.file("in.dcm").string(); }
  support::TempDir folder_;
};

TEST_F(ManyFrames, AreAllDescribedByInfo) {
  const json report = json::parse(runZrdcm({"info", "--json", file()}).output)[0];

  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["image"]["frames"], 65540);
  EXPECT_FALSE(report.contains("remark"));
  EXPECT_EQ(report["splitting"]["reason"],
            "Number of Frames is above 65535, and no more are decoded");
}

// The first frame tells of a colour clip whether it decodes; of so many the last one has to as
// well.
TEST_F(ManyFrames, OfColourAreNotTakenOnTrust) {
  support::saveFile(*support::rgbImage(1, 1).frames(65540).build(), file());
  const json whole = json::parse(runZrdcm({"info", "--json", file()}).output)[0];
  support::saveFile(
      *support::rgbImage(1, 1).frames(3).with(DCM_NumberOfFrames, "2000000000").build(), file());
  const json claim = json::parse(runZrdcm({"info", "--json", file()}).output)[0];

  EXPECT_EQ(whole["image"]["frames"], 65540);
  EXPECT_EQ(claim["ok"], false);
  EXPECT_EQ(claim["error"], "frame 1999999999: Uncompressed data has size 0");
  EXPECT_EQ(runZrdcm({"sheet", file(), "-o", folder_.file("sheet.png").string()}).errors,
            "zrdcm: " + file() + ": frame 1999999999: Uncompressed data has size 0\n");
}

TEST_F(ManyFrames, ThatAreMissingAreCountedInFull) {
  const auto clip = support::compress(*support::rgbImage(8, 8).frames(3).build(), EXS_JPEGProcess1);
  ASSERT_TRUE(clip->putAndInsertString(DCM_NumberOfFrames, "2000000000").good());
  support::saveFile(*clip, file(), EXS_JPEGProcess1);

  const json claim = json::parse(runZrdcm({"info", "--json", file()}).output)[0];

  EXPECT_THAT(claim["error"].get<std::string>(),
              EndsWith("has compressed data of 3 frames, but Number of Frames (0028,0008) is "
                       "2000000000"));
}

TEST_F(ManyFrames, AreNotSplit) {
  const Outcome outcome = runZrdcm({"split", file(), "-o", folder_.file("volumes").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + file() +
                ": cannot be split: Number of Frames is above 65535, and no more are decoded\n");
}

// --- objects without pixels
// ------------------------------------------------------------------------

struct Object {
  const char* name;
  const char* uid;
  const char* content;
};

class ObjectWithoutPixels : public testing::TestWithParam<Object> {
protected:
  void SetUp() override {
    support::DatasetBuilder builder;
    support::saveFile(*builder.with(DCM_SOPClassUID, GetParam().uid).build(), file());
  }
  std::string file() const { return folder_.file("in.dcm").string(); }
  support::TempDir folder_;
};

TEST_P(ObjectWithoutPixels, IsDescribed) {
  const Outcome listed = runZrdcm({"info", file()});
  const Outcome asJson = runZrdcm({"info", "--json", file()});

  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.errors, "");
  EXPECT_THAT(listed.output, HasSubstr("content             " + std::string(GetParam().content) +
                                       ", without pixels\n"));
  EXPECT_EQ(asJson.status, 0);
  const json report = json::parse(asJson.output)[0];
  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["error"], nullptr);
  EXPECT_EQ(report["content"], GetParam().content);
  EXPECT_EQ(report["image"], nullptr);
}

TEST_P(ObjectWithoutPixels, IsNotDecodedAndSaysWhatItIs) {
  const Outcome outcome = runZrdcm({"decode", file(), "-o", folder_.file("out.raw").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.errors, HasSubstr(" is " + std::string(GetParam().content) +
                                        ", and has no pixels; zrdcm info describes it\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Classes, ObjectWithoutPixels,
    testing::Values(Object{"Plan", "1.2.840.10008.5.1.4.1.1.481.5", "a radiotherapy plan"},
                    Object{"Report", "1.2.840.10008.5.1.4.1.1.88.33", "a structured report"},
                    Object{"PrivateClass", "1.2.3.4", "an object without pixels"}),
    support::nameOf<Object>);

}  // namespace
