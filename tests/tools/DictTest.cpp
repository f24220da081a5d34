// SPDX-License-Identifier: BSD-3-Clause
// zrdcm dict: the private elements that are known.
#include "core/dictionary/DictionaryRows.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using testing::Contains;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

std::vector<std::string> linesOf(const Outcome& outcome) {
  std::vector<std::string> lines;
  std::istringstream stream(outcome.output);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

TEST(ZrdcmDict, ListsAllPrivateElements) {
  const auto run = runZrdcm({"dict"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(linesOf(run), testing::SizeIs(dict::countOfRows()));
  EXPECT_THAT(linesOf(run),
              Contains("(0071,1074)  LO  1  CropBox" + std::string(38, ' ') + "Zorlan"));
  EXPECT_THAT(linesOf(run), Contains("(0006,7100)  LO  1  ZORLAN_DicomFilePath"));
  EXPECT_THAT(linesOf(run), Contains("(0019,xxbb)  DS  1  GradientDirectionX" +
                                     std::string(27, ' ') + "GEMS_ACQU_01"));
}

TEST(ZrdcmDict, ListsOneKindOnly) {
  EXPECT_EQ(linesOf(runZrdcm({"dict", "--own"})).size(), dict::ownRows().size());
  EXPECT_EQ(linesOf(runZrdcm({"dict", "--vendors"})).size(), dict::vendorRows().size());
  EXPECT_EQ(linesOf(runZrdcm({"dict", "--internal"})).size(), dict::internalRows().size());
}

TEST(ZrdcmDict, PrintsJson) {
  const auto run = runZrdcm({"dict", "--vendors", "--json"});

  ASSERT_EQ(run.status, 0);
  const json list = json::parse(run.output);
  ASSERT_EQ(list.size(), dict::vendorRows().size());
  EXPECT_THAT(list, Contains(json{{"tag", "(0021,xx20)"},
                                  {"group", 0x0021},
                                  {"element", 0x0020},
                                  {"vr", "DS"},
                                  {"vm", 3},
                                  {"name", "NipplePosition"},
                                  {"creator", "General Electric Company 01"},
                                  {"kind", "vendor"}}));
}

TEST(ZrdcmDict, TellsOwnElementsFromThoseOfVendors) {
  const json list = json::parse(runZrdcm({"dict", "--own", "--json"}).output);

  ASSERT_EQ(list.size(), dict::ownRows().size());
  for (const json& entry : list) {
    EXPECT_EQ(entry["creator"], "Zorlan") << entry;
    EXPECT_EQ(entry["kind"], "own");
  }
}

TEST(ZrdcmDict, HasNoCreatorForInternalElements) {
  const json list = json::parse(runZrdcm({"dict", "--internal", "--json"}).output);

  ASSERT_EQ(list.size(), dict::internalRows().size());
  for (const json& entry : list) {
    EXPECT_TRUE(entry["creator"].is_null()) << entry;
    EXPECT_EQ(entry["kind"], "internal");
  }
}

TEST(ZrdcmDict, RefusesTwoKinds) {
  const auto run = runZrdcm({"dict", "--own", "--vendors"});

  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("--own"));
}

}  // namespace
