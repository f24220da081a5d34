// SPDX-License-Identifier: BSD-3-Clause
// One angiography software writes modality LUTs that must not be used. The exception is narrow: an
// image that misses one of its marks keeps its table.
#include "FakeItem.h"
#include "LutTables.h"
#include "support/DatasetBuilder.h"
#include "support/LogCapture.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using ExDicomUtilities::LUT;
using luttest::FakeItem;
using luttest::valuesOf;
using support::DatasetBuilder;
using support::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kWarning = "Modality LUT inconsistent.";
constexpr const char* kVersion = "Allura Xper, 7.6.3.2";
constexpr const char* kManufacturer = "Philips Medical Systems";
constexpr const char* kModel = "AlluraXper";
constexpr const char* kAngiography = "1.2.840.10008.5.1.4.1.1.12.1";

// The five marks; null leaves one out.
struct Marks {
  const char* name;
  const char* version = kVersion;
  const char* manufacturer = kManufacturer;
  const char* model = kModel;
  const char* sopClass = kAngiography;
  int bitsAllocated = 8;  // -1: not there
};

DatasetBuilder imageWith(const Marks& marks) {
  DatasetBuilder builder;
  builder.withItem(DCM_ModalityLUTSequence, DatasetBuilder()
                                                .withUint16s(DCM_LUTDescriptor, {2, 0, 16})
                                                .withWords(DCM_LUTData, {1000, 2000}));
  const auto put = [&builder](const DcmTagKey& tag, const char* text) {
    if (text != nullptr) {
      builder.with(tag, text);
    }
  };
  put(DCM_SoftwareVersions, marks.version);
  put(DCM_Manufacturer, marks.manufacturer);
  put(DCM_ManufacturerModelName, marks.model);
  put(DCM_SOPClassUID, marks.sopClass);
  if (marks.bitsAllocated >= 0) {
    builder.withUint16(DCM_BitsAllocated, static_cast<Uint16>(marks.bitsAllocated));
  }
  return builder;
}

class FaultyAngiograph : public testing::TestWithParam<Marks> {};

TEST_P(FaultyAngiograph, LosesItsTableWithOneWarning) {
  const auto dataset = imageWith(GetParam()).build();
  const LogCapture log;

  LUT lut;
  LUT::dcmDatasetRead(lut, *dataset, false);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
  EXPECT_THAT(log.texts(), ElementsAre(kWarning));
}
INSTANTIATE_TEST_SUITE_P(
    Marks, FaultyAngiograph,
    testing::Values(Marks{"AllMarks"}, Marks{"VersionAmongOthers", "5.0\\Allura Xper, 7.6.3.2\\9"},
                    Marks{"VersionInsideText", "PCR: Allura Xper, 7.6.3.2 build 5"},
                    Marks{"LongerVersion", "Allura Xper, 7.6.3.21"},
                    Marks{"SecondManufacturer", kVersion, "Philips Medical Systems\\Other"}),
    support::nameOf<Marks>);

class NearMiss : public testing::TestWithParam<Marks> {};

TEST_P(NearMiss, KeepsItsTable) {
  const auto dataset = imageWith(GetParam()).build();
  const LogCapture log;

  LUT lut;
  LUT::dcmDatasetRead(lut, *dataset, false);

  EXPECT_THAT(valuesOf(lut), ElementsAre(1000, 2000));
  EXPECT_THAT(log.texts(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(
    Marks, NearMiss,
    testing::Values(
        Marks{"NoVersion", nullptr}, Marks{"EmptyVersion", ""},
        Marks{"ShortVersion", "Allura Xper, 7.6.3."}, Marks{"OtherVersion", "Allura Xper, 7.6.3.1"},
        Marks{"VersionInOtherCase", "ALLURA XPER, 7.6.3.2"},
        Marks{"VersionSplitOverValues", "Allura Xper\\, 7.6.3.2"},
        Marks{"LongOtherVersion", "Allura Xper 7.6.3.2 and more of it"},
        Marks{"NoManufacturer", kVersion, nullptr}, Marks{"OtherManufacturer", kVersion, "Philips"},
        Marks{"LongerManufacturer", kVersion, "Philips Medical Systems, NL"},
        Marks{"ManufacturerInOtherCase", kVersion, "PHILIPS MEDICAL SYSTEMS"},
        Marks{"ManufacturerSecond", kVersion, "Other\\Philips Medical Systems"},
        Marks{"NoModel", kVersion, kManufacturer, nullptr},
        Marks{"OtherModel", kVersion, kManufacturer, "Allura Xper"},
        Marks{"LongerModel", kVersion, kManufacturer, "AlluraXperFD20"},
        Marks{"NoSopClass", kVersion, kManufacturer, kModel, nullptr},
        Marks{"FluoroscopySopClass", kVersion, kManufacturer, kModel,
              "1.2.840.10008.5.1.4.1.1.12.2"},
        Marks{"EnhancedSopClass", kVersion, kManufacturer, kModel,
              "1.2.840.10008.5.1.4.1.1.12.1.1"},
        Marks{"NoBitsAllocated", kVersion, kManufacturer, kModel, kAngiography, -1},
        Marks{"SixteenBitsAllocated", kVersion, kManufacturer, kModel, kAngiography, 16},
        Marks{"NoBitAllocated", kVersion, kManufacturer, kModel, kAngiography, 0}),
    support::nameOf<Marks>);

TEST(VendorException, NeedsBitsAllocatedAsANumberInUs) {
  Marks marks{"BitsAsText"};
  marks.bitsAllocated = -1;
  const auto dataset = imageWith(marks).with(DCM_BitsAllocated, EVR_IS, "8").build();

  LUT lut;
  LUT::dcmDatasetRead(lut, *dataset, false);

  EXPECT_THAT(valuesOf(lut), ElementsAre(1000, 2000));
}

TEST(VendorException, LooksAtTheImageAndNotAtTheSequence) {
  const auto dataset =
      DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence, imageWith(Marks{"Inside"})
                                                 .withUint16s(DCM_LUTDescriptor, {2, 0, 16})
                                                 .withWords(DCM_LUTData, {1000, 2000}))
          .build();

  LUT lut;
  LUT::dcmDatasetRead(lut, *dataset, false);

  EXPECT_THAT(valuesOf(lut), ElementsAre(1000, 2000));
}

TEST(VendorException, WarnsEvenWhereThereIsNoTable) {
  const auto dataset = imageWith(Marks{"AllMarks"}).without(DCM_ModalityLUTSequence).build();
  const LogCapture log;

  LUT lut;
  LUT::dcmDatasetRead(lut, *dataset, false);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_THAT(log.texts(), ElementsAre(kWarning));
}

TEST(VendorException, DoesNotConcernPalettes) {
  DatasetBuilder builder = imageWith(Marks{"AllMarks"});
  for (const Uint16 channel : {Uint16{1}, Uint16{2}, Uint16{3}}) {
    builder.withUint16s(DcmTagKey(0x0028, static_cast<Uint16>(0x1100 + channel)), {1, 0, 16})
        .withWords(DcmTagKey(0x0028, static_cast<Uint16>(0x1200 + channel)), {channel});
  }
  const LogCapture log;

  LUT lut;
  LUT::dcmDatasetRead(lut, *builder.build(), true);

  EXPECT_THAT(valuesOf(lut), ElementsAre(1, 2, 3));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(VendorException, AsksForTheMarksInOrderAndBeforeTheSequence) {
  FakeItem image;
  image.text(DCM_SoftwareVersions, kVersion).text(DCM_Manufacturer, kManufacturer);
  image.text(DCM_ManufacturerModelName, kModel).text(DCM_SOPClassUID, kAngiography);
  image.number(DCM_BitsAllocated, 16);

  LUT lut;
  LUT::dcmDatasetRead(lut, static_cast<Wex::Item&>(image), false);

  EXPECT_THAT(image.asked(),
              ElementsAre(DCM_SoftwareVersions, DCM_Manufacturer, DCM_ManufacturerModelName,
                          DCM_SOPClassUID, DCM_BitsAllocated, DCM_ModalityLUTSequence));
}

}  // namespace
