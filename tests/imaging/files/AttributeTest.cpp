// SPDX-License-Identifier: BSD-3-Clause
// Elements by path, and their values as text.
#include "support/DatasetBuilder.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <zrimaging/Attribute.h>

namespace {

using support::DatasetBuilder;
using zr::AttributePath;

/// A step as text to compare with: "5200,9230[3]", "7005,0016 CREATOR[0]".
std::string textOfStep(const AttributePath::Step& step) {
  char tag[16];
  (void)std::snprintf(tag, sizeof tag, "%04x,%04x", step.group, step.element);  // always fits
  return tag + (step.creator.empty() ? "" : " " + step.creator) + "[" + std::to_string(step.item) +
         "]";
}

struct PathRow {
  const char* name;
  const char* text;
  const char* steps;
};

void PrintTo(const PathRow& row, std::ostream* stream) {
  *stream << row.name;
}

class Path : public testing::TestWithParam<PathRow> {};

TEST_P(Path, IsReadStepByStep) {
  const AttributePath path = AttributePath::parse(GetParam().text);

  std::string steps;
  for (const AttributePath::Step& step : path.steps()) {
    steps += (steps.empty() ? "" : " > ") + textOfStep(step);
  }
  EXPECT_EQ(steps, GetParam().steps);
}

INSTANTIATE_TEST_SUITE_P(
    Spellings, Path,
    testing::Values(
        PathRow{"Number", "0010,0020", "0010,0020[0]"},
        PathRow{"NumberInParentheses", "(0010,0020)", "0010,0020[0]"},
        PathRow{"Keyword", "PatientID", "0010,0020[0]"},
        PathRow{"Items", "5200,9230[3]/0020,9113/0020,0032",
                "5200,9230[3] > 0020,9113[0] > 0020,0032[0]"},
        PathRow{"KeywordsWithItems",
                "PerFrameFunctionalGroupsSequence[12]/PlanePositionSequence/ImagePositionPatient",
                "5200,9230[12] > 0020,9113[0] > 0020,0032[0]"},
        PathRow{"PrivateSequence", "2005,0e,Maker A[1]/0010,0020",
                "2005,000e Maker A[1] > 0010,0020[0]"},
        PathRow{"SlashInACreator", "2005,0e,A/B", "2005,000e A/B[0]"},
        PathRow{"SlashInACreatorOnTheWay", "2005,0e,A/B[2]/PatientID",
                "2005,000e A/B[2] > 0010,0020[0]"},
        PathRow{"BracketInACreator", "2005,0e,A[1]", "2005,000e A[1][0]"}),
    support::nameOf<PathRow>);

struct NoPath {
  const char* name;
  std::string text;
};

void PrintTo(const NoPath& row, std::ostream* stream) {
  *stream << row.name;
}

class TextThatIsNoPath : public testing::TestWithParam<NoPath> {};

TEST_P(TextThatIsNoPath, IsRefused) {
  try {
    (void)AttributePath::parse(GetParam().text);
    FAIL() << "taken";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::Unsupported);
    EXPECT_EQ(error.what(),
              "'" + GetParam().text + "' is neither the number nor the keyword of an element");
  }
}

INSTANTIATE_TEST_SUITE_P(Spellings, TextThatIsNoPath,
                         testing::Values(NoPath{"Empty", ""}, NoPath{"Slash", "/"},
                                         NoPath{"NothingBehindASlash", "5200,9230[3]/"},
                                         NoPath{"NothingBeforeASlash", "/0010,0020"},
                                         NoPath{"ItemOfTheLast", "5200,9230[3]"},
                                         NoPath{"ItemWithoutNumber", "5200,9230[]/0010,0020"},
                                         NoPath{"ItemBelowZero", "5200,9230[-1]/0010,0020"},
                                         NoPath{"ItemBeyondCounting",
                                                "5200,9230[99999999999999999999]/0010,0020"},
                                         NoPath{"UnknownKeyword", "ShoeSizeSequence/PatientID"},
                                         NoPath{"SlashesAlone", std::string(40000, '/')}),
                         support::nameOf<NoPath>);

std::unique_ptr<DcmDataset> nested() {
  const DatasetBuilder first = DatasetBuilder().with(DCM_ImagePositionPatient, "0\\0\\1");
  const DatasetBuilder second = DatasetBuilder().with(DCM_ImagePositionPatient, "0\\0\\2");
  return DatasetBuilder()
      .with(DCM_PatientID, "ID 7")
      .withItem(DCM_PerFrameFunctionalGroupsSequence,
                DatasetBuilder().withItem(DCM_PlanePositionSequence, first))
      .withItem(DCM_PerFrameFunctionalGroupsSequence,
                DatasetBuilder().withItem(DCM_PlanePositionSequence, second))
      .build();
}

TEST(PathOfADataset, LeadsToTheElementOfItsItem) {
  const auto dataset = nested();

  const auto path = AttributePath::parse("5200,9230[1]/0020,9113/0020,0032");

  EXPECT_EQ(zr::readText(*dataset, path).text, "0\\0\\2");
  DcmElement* const element = zr::findElement(*dataset, path);
  ASSERT_NE(element, nullptr);
  EXPECT_EQ(element->getTag(), DCM_ImagePositionPatient);
}

TEST(PathOfADataset, LeadsNowhereWhereSomethingIsMissing) {
  const auto dataset = nested();

  for (const char* const path :
       {"5200,9230[2]/0020,9113/0020,0032", "5200,9230[1]/0020,9113[1]/0020,0032",
        "5200,9230[1]/0020,9116/0020,0032", "0010,0020/0020,0032", "StudyDate"}) {
    EXPECT_EQ(zr::findElement(*dataset, AttributePath::parse(path)), nullptr) << path;
  }
}

TEST(PathOfADataset, SaysWhatIsMissing) {
  const auto dataset = nested();

  try {
    (void)zr::readText(*dataset, AttributePath::parse("5200,9230[2]/0020,9113/0020,0032"));
    FAIL() << "found";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::MissingAttribute);
    EXPECT_STREQ(error.what(), "has no element 5200,9230[2]/0020,9113/0020,0032");
  }
}

TEST(TextOfAnElement, TellsWhatTheElementIs) {
  const auto dataset = nested();

  const zr::AttributeText text = zr::readText(*dataset, AttributePath::parse("PatientID"));

  EXPECT_EQ(text.tag, "(0010,0020)");
  EXPECT_EQ(text.name, "PatientID");
  EXPECT_EQ(text.vr, "LO");
  EXPECT_EQ(text.creator, std::nullopt);
  EXPECT_EQ(text.text, "ID 7");
  EXPECT_FALSE(text.escaped);
}

TEST(TextOfAnElement, ReadsWordsAsTheTypeAsked) {
  const auto dataset =
      DatasetBuilder().withWords(DCM_RETIRED_TrianglePointIndexList, {0xffff, 2}).build();
  const auto path = AttributePath::parse("0066,0023");

  EXPECT_EQ(zr::readText(*dataset, path).text, "65535\\2");
  EXPECT_EQ(zr::readText(*dataset, path, zr::WordType::kS16).text, "-1\\2");
  EXPECT_EQ(zr::readText(*dataset, path, zr::WordType::kS32).text, "196607");
}

TEST(TextOfAnElement, IsInTheCharacterSetOfItsItem) {
  const DatasetBuilder item = DatasetBuilder()
                                  .with(DCM_SpecificCharacterSet, "ISO_IR 144")
                                  .with(DCM_PatientName, "\xbb\xee\xda");
  const auto dataset = DatasetBuilder()
                           .with(DCM_SpecificCharacterSet, "ISO_IR 100")
                           .with(DCM_PatientName, "J\xe9r\xf4me")
                           .withItem(DCM_ReferencedPatientSequence, item)
                           .build();

  EXPECT_EQ(zr::textOf(*dataset, DCM_PatientName), "J\u00e9r\u00f4me");
  EXPECT_EQ(
      zr::readText(*dataset, AttributePath::parse("ReferencedPatientSequence/PatientName")).text,
      "\u041b\u044e\u043a");
}

}  // namespace
