// SPDX-License-Identifier: BSD-3-Clause
// Files of series, grouped, put in order and copied, as a program that links the library meets
// them.
#include "support/Compression.h"
#include "support/Files.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/File.h>
#include <zrimaging/Series.h>

namespace {

using testing::ElementsAre;

class SeriesOfFiles : public testing::Test {
protected:
  /// A file of a series; an empty UID is no UID.
  void add(const std::string& name, const std::string& series, const std::string& instanceNumber,
           const std::string& echoTime = "10") {
    support::ImageBuilder image = support::ctSlice(2, 2)
                                      .with(DCM_InstanceNumber, instanceNumber)
                                      .with(DCM_EchoTime, echoTime);
    if (!series.empty()) {
      image.with(DCM_SeriesInstanceUID, series);
    }
    support::saveFile(*image.build(), folder_.file(name));
    images_.emplace_back(folder_.file(name));
  }

  static std::vector<std::string> namesOf(const std::vector<zr::SeriesImage>& images) {
    std::vector<std::string> names;
    for (const zr::SeriesImage& image : images) {
      names.push_back(image.path().filename().string());
    }
    return names;
  }

  support::TempDir folder_;
  std::vector<zr::SeriesImage> images_;
};

TEST_F(SeriesOfFiles, AreGroupedInTheOrderGiven) {
  add("b1", "1.2", "1");
  add("none1", "", "1");
  add("a1", "1.1", "1");
  add("b2", "1.2", "2");
  add("none2", "", "2");

  const std::vector<std::vector<zr::SeriesImage>> series = zr::groupBySeries(std::move(images_));

  ASSERT_EQ(series.size(), 3U);
  EXPECT_THAT(namesOf(series[0]), ElementsAre("b1", "b2"));
  EXPECT_EQ(series[0][0].seriesUid(), "1.2");
  EXPECT_THAT(namesOf(series[1]), ElementsAre("none1", "none2"));
  EXPECT_THAT(namesOf(series[2]), ElementsAre("a1"));
}

TEST_F(SeriesOfFiles, ArePutInOrderByWhatIsSwitchedOn) {
  add("third", "1.2", "3", "10");
  add("first", "1.2", "1", "30");
  add("second", "1.2", "2", "20");

  zr::sortSeries(images_, {});
  EXPECT_THAT(namesOf(images_), ElementsAre("first", "second", "third"));
  EXPECT_EQ(zr::decidingCriterion(images_[0], images_[1], {}), "instance-number");

  const zr::OrderSwitches switches = zr::parseOrderSwitches("echo-time");
  zr::sortSeries(images_, switches);
  EXPECT_THAT(namesOf(images_), ElementsAre("third", "second", "first"));
  EXPECT_EQ(zr::decidingCriterion(images_[0], images_[1], switches), "echo-time");
  EXPECT_EQ(zr::decidingCriterion(images_[1], images_[0], switches), std::nullopt);
}

TEST_F(SeriesOfFiles, AreCopiedWithTheirPositionAsNumber) {
  add("in", "1.2", "7");
  const auto target = zr::copyPath(folder_.path(), 12, 100);
  EXPECT_EQ(target, folder_.file("0012.dcm"));

  zr::copyRenumbered(folder_.file("in"), 12, target, zr::ProtectedInputs());

  const zr::File copy(target);
  EXPECT_EQ(copy.text(zr::AttributePath::parse("InstanceNumber")).text, "12");
  EXPECT_EQ(copy.text(zr::AttributePath::parse("OriginalInstanceNumber")).text, "7");
}

TEST(Copies, HaveAsManyDigitsAsTheirCountTakes) {
  EXPECT_EQ(zr::copyPath("copies", 7, 12345), "copies/00007.dcm");
}

TEST(OrderSwitch, IsNamedOnItsOwnOrInAList) {
  const zr::OrderSwitches switches = zr::parseOrderSwitches("volume-uid,cardiac-phase");

  EXPECT_TRUE(switches.volumeUid);
  EXPECT_TRUE(switches.cardiacPhase);
  EXPECT_FALSE(switches.echoTime);
  EXPECT_FALSE(zr::parseOrderSwitches("").volumeUid);
}

}  // namespace
