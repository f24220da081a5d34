// SPDX-License-Identifier: BSD-3-Clause
// What items are, asked before they are decoded.
#include "support/Compression.h"
#include "support/DatasetBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using support::DatasetBuilder;
using support::nameOf;

DatasetBuilder multiFrame() {
  return DatasetBuilder()
      .with(DCM_NumberOfFrames, "2")
      .with(DCM_FrameIncrementPointer, "(0018,1063)");
}

DatasetBuilder enhanced() {
  return DatasetBuilder()
      .with(DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.2.1")
      .with(DCM_NumberOfFrames, "2")
      .withItem(DCM_PerFrameFunctionalGroupsSequence, DatasetBuilder());
}

struct FrameCount {
  const char* name;
  const char* numberOfFrames;
  bool multiFrame;
};

class IsMultiFrame : public testing::TestWithParam<FrameCount> {};

TEST_P(IsMultiFrame, CountsFramesAsText) {
  const auto dataset = multiFrame().with(DCM_NumberOfFrames, GetParam().numberOfFrames).build();

  EXPECT_EQ(Zrg::isMultiFrame(*dataset), GetParam().multiFrame);
}

INSTANTIATE_TEST_SUITE_P(
    FrameCounts, IsMultiFrame,
    testing::Values(FrameCount{"One", "1", false}, FrameCount{"Two", "2", true},
                    FrameCount{"LeadingBlank", " 3", true}, FrameCount{"Many", "4096", true},
                    FrameCount{"NoNumber", "many", false}, FrameCount{"Empty", "", false},
                    FrameCount{"Zero", "0", false}, FrameCount{"Negative", "-5", false},
                    FrameCount{"NumberBeforeText", "2x", true}),
    nameOf<FrameCount>);

TEST(IsMultiFrame, RefusesFramesWithoutAPointer) {
  const auto dataset = multiFrame().without(DCM_FrameIncrementPointer).build();

  EXPECT_FALSE(Zrg::isMultiFrame(*dataset));
}

TEST(IsMultiFrame, RefusesAPointerWithoutFrames) {
  const auto dataset = multiFrame().without(DCM_NumberOfFrames).build();

  EXPECT_FALSE(Zrg::isMultiFrame(*dataset));
}

TEST(IsMultiFrame, AcceptsAPointerInANestedItem) {
  const auto dataset = DatasetBuilder()
                           .with(DCM_NumberOfFrames, "2")
                           .withItem(DCM_SourceImageSequence, multiFrame())
                           .build();

  EXPECT_TRUE(Zrg::isMultiFrame(*dataset));
}

TEST(IsMultiFrame, RefusesANumberOfFramesInANestedItem) {
  const auto dataset = DatasetBuilder()
                           .with(DCM_FrameIncrementPointer, "(0018,1063)")
                           .withItem(DCM_SourceImageSequence, multiFrame())
                           .build();

  EXPECT_FALSE(Zrg::isMultiFrame(*dataset));
}

TEST(IsMultiFrame, AcceptsAnEmptyPointer) {
  const auto dataset = multiFrame().withEmpty(DCM_FrameIncrementPointer).build();

  EXPECT_TRUE(Zrg::isMultiFrame(*dataset));
}

TEST(IsMultiFrame, TakesPlainItems) {
  EXPECT_TRUE(Zrg::isMultiFrame(*multiFrame().buildItem()));
}

TEST(IsMultiFrameVolume, RefusesFramesWithoutSpacing) {
  EXPECT_FALSE(Zrg::isMultiFrameVolume(*multiFrame().build()));
}

TEST(IsMultiFrameVolume, AcceptsSpacing) {
  const auto dataset = multiFrame().with(DCM_SpacingBetweenSlices, "2.5").build();

  EXPECT_TRUE(Zrg::isMultiFrameVolume(*dataset));
}

TEST(IsMultiFrameVolume, AcceptsSpacingInANestedItem) {
  const auto measures = DatasetBuilder().with(DCM_SpacingBetweenSlices, "2.5");
  const auto groups = DatasetBuilder().withItem(DCM_PixelMeasuresSequence, measures);
  const auto dataset = multiFrame().withItem(DCM_SharedFunctionalGroupsSequence, groups).build();

  EXPECT_TRUE(Zrg::isMultiFrameVolume(*dataset));
}

TEST(IsMultiFrameVolume, AcceptsGridOffsets) {
  const auto dataset = multiFrame().with(DCM_GridFrameOffsetVector, "0\\5").build();

  EXPECT_TRUE(Zrg::isMultiFrameVolume(*dataset));
}

TEST(IsMultiFrameVolume, RefusesGridOffsetsInANestedItem) {
  const auto dataset = multiFrame()
                           .withItem(DCM_SourceImageSequence,
                                     DatasetBuilder().with(DCM_GridFrameOffsetVector, "0\\5"))
                           .build();

  EXPECT_FALSE(Zrg::isMultiFrameVolume(*dataset));
}

TEST(IsMultiFrameVolume, RefusesASingleFrameWithSpacing) {
  const auto dataset =
      multiFrame().with(DCM_NumberOfFrames, "1").with(DCM_SpacingBetweenSlices, "2.5").build();

  EXPECT_FALSE(Zrg::isMultiFrameVolume(*dataset));
}

TEST(IsEnhancedDicom, AcceptsAnEnhancedClassWithFramesAndGroups) {
  EXPECT_TRUE(Zrg::isEnhancedDicom(*enhanced().build()));
}

TEST(IsEnhancedDicom, AcceptsASingleFrame) {
  const auto dataset = enhanced().with(DCM_NumberOfFrames, "1").build();

  EXPECT_TRUE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, DoesNotLookAtTheNumberOfFrames) {
  const auto dataset = enhanced().withEmpty(DCM_NumberOfFrames).build();

  EXPECT_TRUE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, RefusesAMissingNumberOfFrames) {
  const auto dataset = enhanced().without(DCM_NumberOfFrames).build();

  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, RefusesMissingFunctionalGroups) {
  const auto dataset = enhanced().without(DCM_PerFrameFunctionalGroupsSequence).build();

  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, RefusesFunctionalGroupsInANestedItem) {
  const auto dataset = enhanced()
                           .without(DCM_PerFrameFunctionalGroupsSequence)
                           .withItem(DCM_SourceImageSequence, enhanced())
                           .build();

  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, RefusesANumberOfFramesInANestedItem) {
  const auto dataset =
      enhanced().without(DCM_NumberOfFrames).withItem(DCM_SourceImageSequence, enhanced()).build();

  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, RefusesAMissingSopClass) {
  const auto dataset = enhanced().without(DCM_SOPClassUID).build();

  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, RefusesPlainCt) {
  const auto dataset = enhanced().with(DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.2").build();

  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

// Files fill a UID of odd length up with a NUL, which is no part of the value.
TEST(IsEnhancedDicom, DoesNotMindThePaddingOfAFile) {
  const auto dataset = support::readBack(*enhanced().build(), EXS_LittleEndianExplicit);

  EXPECT_TRUE(Zrg::isEnhancedDicom(*dataset));
}

TEST(IsEnhancedDicom, TakesPlainItems) {
  EXPECT_TRUE(Zrg::isEnhancedDicom(*enhanced().buildItem()));
}

struct SopClass {
  const char* name;
  const char* uid;
};

class EnhancedSopClass : public testing::TestWithParam<SopClass> {};

TEST_P(EnhancedSopClass, CountsAsEnhanced) {
  EXPECT_TRUE(Zrg::isEnhancedDicomSOPClassUID(GetParam().uid));
}

INSTANTIATE_TEST_SUITE_P(
    All, EnhancedSopClass,
    testing::Values(SopClass{"EnhancedCt", "1.2.840.10008.5.1.4.1.1.2.1"},
                    SopClass{"LegacyCt", "1.2.840.10008.5.1.4.1.1.2.2"},
                    SopClass{"EnhancedMr", "1.2.840.10008.5.1.4.1.1.4.1"},
                    SopClass{"LegacyMr", "1.2.840.10008.5.1.4.1.1.4.4"},
                    SopClass{"EnhancedMrColor", "1.2.840.10008.5.1.4.1.1.4.3"},
                    SopClass{"EnhancedUsVolume", "1.2.840.10008.5.1.4.1.1.6.2"},
                    SopClass{"EnhancedXa", "1.2.840.10008.5.1.4.1.1.12.1.1"},
                    SopClass{"EnhancedXrf", "1.2.840.10008.5.1.4.1.1.12.2.1"},
                    SopClass{"EnhancedPet", "1.2.840.10008.5.1.4.1.1.130"},
                    SopClass{"LegacyPet", "1.2.840.10008.5.1.4.1.1.128.1"},
                    SopClass{"BreastTomosynthesis", "1.2.840.10008.5.1.4.1.1.13.1.3"},
                    SopClass{"SecondaryCaptureByte", "1.2.840.10008.5.1.4.1.1.7.2"},
                    SopClass{"SecondaryCaptureWord", "1.2.840.10008.5.1.4.1.1.7.3"},
                    SopClass{"WholeSlideMicroscopy", "1.2.840.10008.5.1.4.1.1.77.1.6"},
                    SopClass{"MrSpectroscopy", "1.2.840.10008.5.1.4.1.1.4.2"},
                    SopClass{"XRay3dAngiographic", "1.2.840.10008.5.1.4.1.1.13.1.1"},
                    SopClass{"XRay3dCraniofacial", "1.2.840.10008.5.1.4.1.1.13.1.2"}),
    nameOf<SopClass>);

class OtherSopClass : public testing::TestWithParam<SopClass> {};

TEST_P(OtherSopClass, DoesNotCountAsEnhanced) {
  EXPECT_FALSE(Zrg::isEnhancedDicomSOPClassUID(GetParam().uid));
}

INSTANTIATE_TEST_SUITE_P(
    Some, OtherSopClass,
    testing::Values(SopClass{"PlainCt", "1.2.840.10008.5.1.4.1.1.2"},
                    SopClass{"TrailingBlank", "1.2.840.10008.5.1.4.1.1.2.1 "},
                    SopClass{"LeadingBlank", " 1.2.840.10008.5.1.4.1.1.2.1"},
                    SopClass{"LongerBranch", "1.2.840.10008.5.1.4.1.1.2.1.1"},
                    SopClass{"SecondaryCaptureBit", "1.2.840.10008.5.1.4.1.1.7.1"},
                    SopClass{"SecondaryCaptureColor", "1.2.840.10008.5.1.4.1.1.7.4"},
                    SopClass{"Segmentation", "1.2.840.10008.5.1.4.1.1.66.4"}, SopClass{"Empty", ""},
                    SopClass{"Name", "EnhancedCTImageStorage"}),
    nameOf<SopClass>);

TEST(OtherSopClass, IncludesANullPointer) {
  EXPECT_FALSE(Zrg::isEnhancedDicomSOPClassUID(nullptr));
}

}  // namespace
