// SPDX-License-Identifier: BSD-3-Clause
#include "support/DatasetBuilder.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using support::DatasetBuilder;
using DatasetOwner = std::unique_ptr<DcmDataset>;

const DcmTagKey kVendorIndex(0x2005, 0x1412);
const DcmTagKey kVendorSubIndex(0x2005, 0x1413);
const DcmTagKey kPctRpeakDelay(0x0045, 0x1033);
const DcmTagKey kCardiacPhase(0x7005, 0x1005);
const DcmTagKey kVolumeUID(0x7005, 0x1016);

struct By {
  bool vendorIndices = false;
  bool temporalPosition = false;
  bool rpeakDelay = false;
  bool echoTime = false;
  bool volumeUID = false;
  bool cardiacPhase = false;
};

int compare(const DatasetOwner& first, const DatasetOwner& second, By by = {}) {
  return ExDCM::compare(first.get(), second.get(), by.vendorIndices, by.temporalPosition,
                        by.rpeakDelay, by.echoTime, by.volumeUID, by.cardiacPhase);
}

// An image of series 1.2; the number tells it apart when nothing before does.
DatasetBuilder image(int number) {
  return DatasetBuilder()
      .with(DCM_SeriesInstanceUID, "1.2")
      .with(DCM_InstanceNumber, std::to_string(number));
}

// ---- instance number ----

TEST(Compare, YieldsTheDifferenceOfInstanceNumbers) {
  EXPECT_EQ(compare(image(12).build(), image(3).build()), 9);
  EXPECT_EQ(compare(image(3).build(), image(12).build()), -9);
  EXPECT_EQ(compare(image(3).build(), image(3).build()), 0);
}

TEST(Compare, TakesAMissingInstanceNumberForZero) {
  const auto without = DatasetBuilder().with(DCM_SeriesInstanceUID, "1.2").build();

  EXPECT_EQ(compare(image(7).build(), without), 7);
  EXPECT_EQ(compare(without, image(7).build()), -7);
}

TEST(Compare, ReadsInstanceNumbersAsFarAsTheyAreNumbers) {
  const auto text = DatasetBuilder().with(DCM_InstanceNumber, EVR_IS, "5 apples").build();
  const auto noNumber = DatasetBuilder().with(DCM_InstanceNumber, EVR_IS, "many").build();

  EXPECT_EQ(compare(text, noNumber), 5);
}

TEST(Compare, WrapsDifferencesAround) {
  EXPECT_EQ(compare(image(INT_MIN).build(), image(1).build()), INT_MAX);
  EXPECT_EQ(compare(image(INT_MAX).build(), image(-1).build()), INT_MIN);
}

TEST(Compare, YieldsZeroForADatasetAndItself) {
  const auto dataset = image(3).with(DCM_ImageType, "ORIGINAL\\PRIMARY").build();

  EXPECT_EQ(compare(dataset, dataset), 0);
  EXPECT_EQ(ExDCM::compare(dataset.get(), dataset.get(), false, true, true, true, true, true), 0);
}

TEST(Compare, YieldsZeroForEmptyDatasets) {
  EXPECT_EQ(compare(DatasetBuilder().build(), DatasetBuilder().build()), 0);
}

TEST(Compare, ChangesNeitherDataset) {
  const auto first = image(1).with(DCM_SliceThickness, "1").with(DCM_EchoTime, "5").build();
  const auto second =
      image(2).with(DCM_ImageType, "ORIGINAL").with(kVolumeUID, EVR_UI, "1").build();
  const DcmDataset firstBefore(*first);
  const DcmDataset secondBefore(*second);

  (void)compare(first, second, {true, true, true, true, true, true});

  EXPECT_EQ(first->compare(firstBefore), 0);
  EXPECT_EQ(second->compare(secondBefore), 0);
}

// ---- image type ----

TEST(Compare, OrdersImageTypesWithinASeries) {
  const auto original = image(1).with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL").build();
  const auto derived = image(99).with(DCM_ImageType, "DERIVED\\SECONDARY").build();

  EXPECT_GT(compare(original, derived), 0);  // "O" comes after "D"
  EXPECT_LT(compare(derived, original), 0);
}

TEST(Compare, LooksAtAllValuesOfImageType) {
  const auto axial = image(2).with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL").build();
  const auto localizer = image(1).with(DCM_ImageType, "ORIGINAL\\PRIMARY\\LOCALIZER").build();

  EXPECT_LT(compare(axial, localizer), 0);
}

TEST(Compare, IgnoresImageTypesOfDifferentSeries) {
  const auto original = image(1).with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL").build();
  const auto derived = image(99)
                           .with(DCM_SeriesInstanceUID, "1.3")
                           .with(DCM_ImageType, "DERIVED\\SECONDARY")
                           .build();

  EXPECT_EQ(compare(original, derived), -98);
}

TEST(Compare, TakesTwoMissingSeriesForTheSame) {
  const auto original = DatasetBuilder().with(DCM_ImageType, "ORIGINAL").build();
  const auto derived = DatasetBuilder().with(DCM_ImageType, "DERIVED").build();

  EXPECT_GT(compare(original, derived), 0);
}

TEST(Compare, IgnoresAnImageTypeThatOnlyOneHas) {
  const auto with = image(5).with(DCM_ImageType, "ORIGINAL").build();
  const auto without = image(1).build();

  EXPECT_EQ(compare(with, without), 4);
  EXPECT_EQ(compare(without, with), -4);
}

TEST(Compare, TakesAnEmptyImageTypeForAValue) {
  const auto empty = image(9).withEmpty(DCM_ImageType).build();
  const auto original = image(1).with(DCM_ImageType, "ORIGINAL").build();

  EXPECT_LT(compare(empty, original), 0);
}

TEST(Compare, AsksImageTypeBeforeEverySwitch) {
  const auto first = image(1).with(DCM_ImageType, "A").with(DCM_EchoTime, "20").build();
  const auto second = image(1).with(DCM_ImageType, "B").with(DCM_EchoTime, "10").build();

  EXPECT_LT(compare(first, second, {.echoTime = true}), 0);
}

// ---- echo time ----

struct EchoTimes {
  const char* name;
  const char* first;  // null: no Echo Time
  const char* second;
  int expected;  // 100: left to the instance numbers
};

class CompareEchoTime : public testing::TestWithParam<EchoTimes> {};

TEST_P(CompareEchoTime, DecidesBeyondAHundredth) {
  DatasetBuilder first = image(150);
  DatasetBuilder second = image(50);
  if (GetParam().first != nullptr) {
    first.with(DCM_EchoTime, EVR_DS, GetParam().first);
  }
  if (GetParam().second != nullptr) {
    second.with(DCM_EchoTime, EVR_DS, GetParam().second);
  }

  EXPECT_EQ(compare(first.build(), second.build(), {.echoTime = true}), GetParam().expected);
  EXPECT_EQ(compare(first.build(), second.build()), 100);
}

INSTANTIATE_TEST_SUITE_P(Pairs, CompareEchoTime,
                         testing::Values(EchoTimes{"Same", "10", "10", 100},
                                         EchoTimes{"Close", "10", "10.005", 100},
                                         EchoTimes{"Smaller", "10", "20", -1},
                                         EchoTimes{"Larger", "20", "10", 1},
                                         EchoTimes{"JustBeyond", "10", "10.011", -1},
                                         EchoTimes{"BothMissing", nullptr, nullptr, 100},
                                         EchoTimes{"FirstMissing", nullptr, "0", -1},
                                         EchoTimes{"SecondMissing", "0", nullptr, 1},
                                         EchoTimes{"MissingIsMinusOne", nullptr, "-1", 100},
                                         EchoTimes{"EmptyIsZero", "", "0", 100},
                                         EchoTimes{"NoNumberIsZero", "long", "0", 100},
                                         EchoTimes{"NotANumberDecidesNothing", "nan", "5", 100}),
                         support::nameOf<EchoTimes>);

// ---- vendor indices ----

TEST(Compare, YieldsTheDifferenceOfVendorIndices) {
  const auto first = image(1).with(kVendorIndex, EVR_IS, "2").build();
  const auto second = image(9).with(kVendorIndex, EVR_IS, "7").build();

  EXPECT_EQ(compare(first, second, {.vendorIndices = true}), -5);
  EXPECT_EQ(compare(second, first, {.vendorIndices = true}), 5);
}

TEST(Compare, AsksTheSecondVendorIndexWhenTheFirstAgrees) {
  const auto first =
      image(1).with(kVendorIndex, EVR_IS, "2").with(kVendorSubIndex, EVR_IS, "30").build();
  const auto second =
      image(9).with(kVendorIndex, EVR_IS, "2").with(kVendorSubIndex, EVR_IS, "10").build();

  EXPECT_EQ(compare(first, second, {.vendorIndices = true}), 20);
}

TEST(Compare, VendorIndicesAbsentOnBothSidesGiveOne) {
  EXPECT_EQ(compare(image(1).build(), image(2).build(), {.vendorIndices = true}), 1);
  EXPECT_EQ(compare(image(2).build(), image(1).build(), {.vendorIndices = true}), 1);
}

TEST(Compare, CountsAMissingSecondVendorIndexAsZeroFirstAndMinusOneSecond) {
  const auto with = [](const char* value) {
    return image(50).with(kVendorSubIndex, EVR_IS, value).build();
  };
  const auto without = image(1).build();

  EXPECT_EQ(compare(without, with("4"), {.vendorIndices = true}), -4);
  EXPECT_EQ(compare(with("4"), without, {.vendorIndices = true}), 5);
  EXPECT_EQ(compare(without, with("0"), {.vendorIndices = true}), -49);  // left to the number
  EXPECT_EQ(compare(with("-1"), without, {.vendorIndices = true}), 49);  // left to the number
}

TEST(Compare, LeavesEqualVendorIndicesToTheNextCriterion) {
  const auto withBoth = [](int number) {
    return image(number).with(kVendorIndex, EVR_IS, "1").with(kVendorSubIndex, EVR_IS, "1").build();
  };

  EXPECT_EQ(compare(withBoth(4), withBoth(2), {.vendorIndices = true}), 2);
}

TEST(Compare, FindsPrivateElementsWhoeverCreatedTheBlock) {
  const auto creator = [](const char* value) {
    return image(1)
        .with(DcmTagKey(0x2005, 0x0014), EVR_LO, "SOMEBODY ELSE")
        .with(kVendorIndex, EVR_IS, value)
        .build();
  };

  EXPECT_EQ(compare(creator("5"), creator("2"), {.vendorIndices = true}), 3);
}

// ---- temporal position, R-peak delay ----

TEST(Compare, YieldsTheDifferenceOfTemporalPositions) {
  const auto first = image(1).with(DCM_TemporalPositionIdentifier, "8").build();
  const auto second = image(2).with(DCM_TemporalPositionIdentifier, "3").build();

  EXPECT_EQ(compare(first, second, {.temporalPosition = true}), 5);
  EXPECT_EQ(compare(first, image(2).build(), {.temporalPosition = true}), 8);
  EXPECT_EQ(compare(first, second), -1);
}

TEST(Compare, OrdersRpeakDelaysExactly) {
  const auto delay = [](const char* value) {
    return image(1).with(kPctRpeakDelay, EVR_DS, value).build();
  };

  EXPECT_EQ(compare(delay("70"), delay("70.0000001"), {.rpeakDelay = true}), -1);
  EXPECT_EQ(compare(delay("75"), delay("70"), {.rpeakDelay = true}), 1);
  EXPECT_EQ(compare(delay("70"), delay("70.0"), {.rpeakDelay = true}), 0);
  EXPECT_EQ(compare(delay("-1"), image(1).build(), {.rpeakDelay = true}), -1);  // missing: 0
  EXPECT_EQ(compare(delay("nan"), delay("70"), {.rpeakDelay = true}), 0);
  EXPECT_EQ(compare(delay("75"), delay("70")), 0);
}

// ---- slice thickness ----

struct Thicknesses {
  const char* name;
  const char* first;  // null: no Slice Thickness
  const char* second;
  int expected;  // 100: left to the instance numbers
};

class CompareSliceThickness : public testing::TestWithParam<Thicknesses> {};

TEST_P(CompareSliceThickness, DecidesWithoutASwitch) {
  DatasetBuilder first = image(150);
  DatasetBuilder second = image(50);
  if (GetParam().first != nullptr) {
    first.with(DCM_SliceThickness, EVR_DS, GetParam().first);
  }
  if (GetParam().second != nullptr) {
    second.with(DCM_SliceThickness, EVR_DS, GetParam().second);
  }

  EXPECT_EQ(compare(first.build(), second.build()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Pairs, CompareSliceThickness,
                         testing::Values(Thicknesses{"Close", "1.0", "1.0005", 100},
                                         Thicknesses{"Thinner", "1", "2", -1},
                                         Thicknesses{"Thicker", "2", "1", 1},
                                         Thicknesses{"Same", "2", "2", 100},
                                         Thicknesses{"OnlyFirst", "1", nullptr, 100},
                                         Thicknesses{"OnlySecond", nullptr, "1", 100},
                                         Thicknesses{"EmptyIsZero", "", "1", -1},
                                         Thicknesses{"NotANumberDecidesNothing", "nan", "1", 100}),
                         support::nameOf<Thicknesses>);

TEST(Compare, ThicknessToleranceIsThatOfAFloat) {
  const auto thickness = [](const char* value) {
    return image(1).with(DCM_SliceThickness, EVR_DS, value).build();
  };

  // Beyond 0.001, but within the float's 0.0010000000474974513.
  EXPECT_EQ(compare(thickness("0"), thickness("0.00100000002")), 0);
  EXPECT_EQ(compare(thickness("0.00100000002"), thickness("0")), 0);
  EXPECT_EQ(compare(thickness("0"), thickness("0.00100000005")), -1);
  EXPECT_EQ(compare(thickness("0.00100000005"), thickness("0")), 1);
}

// ---- cardiac phase, volume UID ----

TEST(Compare, OrdersCardiacPhasesExactly) {
  const auto phase = [](const char* value) {
    return image(1).with(kCardiacPhase, EVR_SH, value).build();
  };

  EXPECT_EQ(compare(phase("40.5"), phase("40.6"), {.cardiacPhase = true}), -1);
  EXPECT_EQ(compare(phase("75%"), phase("40%"), {.cardiacPhase = true}), 1);
  EXPECT_EQ(compare(phase("0"), image(1).build(), {.cardiacPhase = true}), 1);  // missing: -1
  EXPECT_EQ(compare(image(1).build(), phase("0"), {.cardiacPhase = true}), -1);
  EXPECT_EQ(compare(phase("-1"), image(1).build(), {.cardiacPhase = true}), 0);
  EXPECT_EQ(compare(phase("75"), phase("40")), 0);
}

TEST(Compare, OrdersVolumeUIDsAsText) {
  const auto volume = [](const char* value) {
    return image(1).with(kVolumeUID, EVR_UI, value).build();
  };

  EXPECT_LT(compare(volume("1.10"), volume("1.9"), {.volumeUID = true}), 0);
  EXPECT_GT(compare(volume("1.9"), volume("1.10"), {.volumeUID = true}), 0);
  EXPECT_GT(compare(volume("1.9"), image(1).build(), {.volumeUID = true}), 0);  // missing: empty
  EXPECT_EQ(compare(volume("1.9"), volume("1.10")), 0);
}

// ---- order of the criteria ----

// Every criterion says "second first", except the one at `decisive`, which says "first first" and
// all before which are equal.
DatasetOwner rankedImage(int decisive, bool isFirst) {
  const std::vector<std::pair<DcmTagKey, DcmEVR>> criteria = {
      {DCM_ImageType, EVR_CS},
      {DCM_EchoTime, EVR_DS},
      {kVendorIndex, EVR_IS},
      {kVendorSubIndex, EVR_IS},
      {DCM_TemporalPositionIdentifier, EVR_IS},
      {kPctRpeakDelay, EVR_DS},
      {DCM_SliceThickness, EVR_DS},
      {kCardiacPhase, EVR_SH},
      {kVolumeUID, EVR_UI},
      {DCM_InstanceNumber, EVR_IS}};
  DatasetBuilder builder = DatasetBuilder().with(DCM_SeriesInstanceUID, "1.2");
  for (int i = 0; i < static_cast<int>(criteria.size()); ++i) {
    const char* value = "5";
    if (i == decisive) {
      value = isFirst ? "1" : "2";
    } else if (i > decisive) {
      value = isFirst ? "2" : "1";
    }
    builder.with(criteria.at(static_cast<std::size_t>(i)).first,
                 criteria.at(static_cast<std::size_t>(i)).second, value);
  }
  return builder.build();
}

class CompareOrder : public testing::TestWithParam<int> {};

TEST_P(CompareOrder, TheFirstCriterionThatDiffersDecides) {
  const By all = {true, true, true, true, true, true};

  EXPECT_LT(compare(rankedImage(GetParam(), true), rankedImage(GetParam(), false), all), 0);
  EXPECT_GT(compare(rankedImage(GetParam(), false), rankedImage(GetParam(), true), all), 0);
}

INSTANTIATE_TEST_SUITE_P(Criteria, CompareOrder, testing::Range(0, 10));

struct SwitchRow {
  const char* name;
  By by;
  DcmTagKey key;
  DcmEVR vr;
};

class CompareSwitch : public testing::TestWithParam<SwitchRow> {};

TEST_P(CompareSwitch, TurnsOnItsOwnCriterionOnly) {
  const By by = GetParam().by;
  const By others = {!by.vendorIndices, !by.temporalPosition, !by.rpeakDelay,
                     !by.echoTime,      !by.volumeUID,        !by.cardiacPhase};
  // Equal second vendor indices keep that criterion from deciding by itself.
  const auto build = [](int number, const char* value) {
    return image(number)
        .with(kVendorSubIndex, EVR_IS, "1")
        .with(GetParam().key, GetParam().vr, value)
        .build();
  };
  const auto first = build(200, "3");
  const auto second = build(100, "4");

  EXPECT_LT(compare(first, second, by), 0);
  EXPECT_EQ(compare(first, second, others), 100);
}

INSTANTIATE_TEST_SUITE_P(
    Switches, CompareSwitch,
    testing::Values(SwitchRow{"VendorIndex", {.vendorIndices = true}, kVendorIndex, EVR_IS},
                    SwitchRow{"VendorSubIndex", {.vendorIndices = true}, kVendorSubIndex, EVR_IS},
                    SwitchRow{"TemporalPosition",
                              {.temporalPosition = true},
                              DCM_TemporalPositionIdentifier,
                              EVR_IS},
                    SwitchRow{"RpeakDelay", {.rpeakDelay = true}, kPctRpeakDelay, EVR_DS},
                    SwitchRow{"EchoTime", {.echoTime = true}, DCM_EchoTime, EVR_DS},
                    SwitchRow{"VolumeUID", {.volumeUID = true}, kVolumeUID, EVR_UI},
                    SwitchRow{"CardiacPhase", {.cardiacPhase = true}, kCardiacPhase, EVR_SH}),
    support::nameOf<SwitchRow>);

}  // namespace
