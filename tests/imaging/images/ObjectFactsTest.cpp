// SPDX-License-Identifier: BSD-3-Clause
// What an object is by its attributes, subject by subject.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/File.h>
#include <zrimaging/ObjectFacts.h>

namespace {

using support::DatasetBuilder;
using support::ImageBuilder;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class FactsOfAnObject : public testing::Test {
protected:
  template <class Builder>
  zr::ObjectFacts factsOf(const Builder& builder) const {
    support::saveFile(*builder.build(), folder_.file("in.dcm"));
    return zr::describeObject(zr::File(folder_.file("in.dcm")));
  }

  static ImageBuilder image() { return support::monochromeImage(2, 2); }

  support::TempDir folder_;
};

TEST_F(FactsOfAnObject, SayWhomItIsOfWhateverTheCharacterSet) {
  const zr::ObjectFacts facts = factsOf(image()
                                            .with(DCM_SpecificCharacterSet, "ISO_IR 100")
                                            .with(DCM_PatientName, "M\xFCller^Eva")
                                            .with(DCM_PatientID, "17")
                                            .with(DCM_PatientBirthDate, "19700131")
                                            .with(DCM_PatientSex, "F"));

  EXPECT_EQ(facts.patient.name.utf8, "M\xC3\xBCller^Eva");
  EXPECT_EQ(facts.patient.id.utf8, "17");
  EXPECT_EQ(facts.patient.birthDate, "19700131");
  EXPECT_EQ(facts.patient.sex, "F");
}

TEST_F(FactsOfAnObject, SayWhichStudySeriesAndInstanceItIs) {
  const zr::ObjectFacts facts = factsOf(image()
                                            .with(DCM_StudyInstanceUID, "1.2.1")
                                            .with(DCM_StudyDate, "20260131")
                                            .with(DCM_StudyDescription, "Abdomen")
                                            .with(DCM_AccessionNumber, "A7")
                                            .with(DCM_SeriesInstanceUID, "1.2.2")
                                            .with(DCM_SeriesNumber, "3")
                                            .with(DCM_SeriesDescription, "Axial")
                                            .with(DCM_BodyPartExamined, "ABDOMEN")
                                            .with(DCM_Laterality, "L")
                                            .with(DCM_SOPInstanceUID, "1.2.3")
                                            .with(DCM_InstanceNumber, "42"));

  EXPECT_EQ(facts.study.uid, "1.2.1");
  EXPECT_EQ(facts.study.date, "20260131");
  EXPECT_EQ(facts.study.description.utf8, "Abdomen");
  EXPECT_EQ(facts.study.accessionNumber.utf8, "A7");
  EXPECT_EQ(facts.series.uid, "1.2.2");
  EXPECT_EQ(facts.series.number, 3);
  EXPECT_EQ(facts.series.description.utf8, "Axial");
  EXPECT_EQ(facts.series.bodyPart.utf8, "ABDOMEN");
  EXPECT_EQ(facts.series.laterality, "L");
  EXPECT_EQ(facts.instance.uid, "1.2.3");
  EXPECT_EQ(facts.instance.number, 42);
}

TEST_F(FactsOfAnObject, FindBodyPartAndLateralityInTheFunctionalGroups) {
  DatasetBuilder region;
  region.with(DCM_CodeMeaning, "Breast");
  DatasetBuilder anatomy;
  anatomy.withItem(DCM_AnatomicRegionSequence, region).with(DCM_FrameLaterality, "R");
  DatasetBuilder shared;
  shared.withItem(DCM_FrameAnatomySequence, anatomy);

  const zr::ObjectFacts facts =
      factsOf(image().withItem(DCM_SharedFunctionalGroupsSequence, shared));

  EXPECT_EQ(facts.series.bodyPart.utf8, "Breast");
  EXPECT_EQ(facts.series.laterality, "R");
}

TEST_F(FactsOfAnObject, SayWhatMadeIt) {
  const zr::ObjectFacts facts = factsOf(image()
                                            .with(DCM_Manufacturer, "Maker")
                                            .with(DCM_ManufacturerModelName, "Model")
                                            .with(DCM_DeviceSerialNumber, "S1")
                                            .with(DCM_StationName, "CT1")
                                            .with(DCM_SoftwareVersions, "1.0\\2.0"));

  EXPECT_EQ(facts.device.manufacturer.utf8, "Maker");
  EXPECT_EQ(facts.device.model.utf8, "Model");
  EXPECT_EQ(facts.device.serialNumber.utf8, "S1");
  EXPECT_EQ(facts.device.station.utf8, "CT1");
  ASSERT_EQ(facts.device.softwareVersions.size(), 2U);
  EXPECT_EQ(facts.device.softwareVersions[1].utf8, "2.0");
}

TEST_F(FactsOfAnObject, AreEmptyWhereNothingIsSaid) {
  const zr::ObjectFacts facts = factsOf(image());

  EXPECT_EQ(facts.patient.name.utf8, "");
  EXPECT_FALSE(facts.series.number);
  EXPECT_FALSE(facts.instance.number);
  EXPECT_THAT(facts.device.softwareVersions, IsEmpty());
  EXPECT_FALSE(facts.frames.count);
  EXPECT_THAT(facts.frames.dimensions, IsEmpty());
  EXPECT_THAT(facts.geometry.spacings, IsEmpty());
  EXPECT_FALSE(facts.geometry.magnification);
  EXPECT_EQ(facts.geometry.directions, "");
  EXPECT_THAT(facts.ultrasoundRegions, IsEmpty());
  EXPECT_THAT(facts.overlayPlanes, IsEmpty());
  EXPECT_THAT(facts.privateCreators, IsEmpty());
  EXPECT_THAT(facts.voiTables, IsEmpty());
  EXPECT_EQ(facts.content.kind, "");
}

TEST_F(FactsOfAnObject, NameTheClassInWordsAndWhetherTheSyntaxDecodes) {
  const zr::ObjectFacts facts =
      factsOf(support::ctSlice(2, 2).with(DCM_SOPClassUID, UID_CTImageStorage));

  EXPECT_EQ(facts.sopClassTitle, "CT Image Storage");
  EXPECT_TRUE(facts.transferSyntaxDecodes);
}

TEST_F(FactsOfAnObject, CountTheIndicesOfItsDimensions) {
  DatasetBuilder organization;
  organization.with(DCM_DimensionIndexPointer, "(0020,9057)")
      .with(DCM_DimensionDescriptionLabel, "Slice");
  DatasetBuilder other;
  other.with(DCM_DimensionIndexPointer, "(0018,9087)");
  ImageBuilder builder = image();
  builder.frames(3)
      .with(DCM_DimensionOrganizationType, "3D")
      .withItem(DCM_DimensionIndexSequence, organization)
      .withItem(DCM_DimensionIndexSequence, other);
  for (const char* const indices : {"1\\1", "2\\1", "3\\1"}) {
    DatasetBuilder content;
    content.with(DCM_DimensionIndexValues, indices);
    DatasetBuilder frame;
    frame.withItem(DCM_FrameContentSequence, content);
    builder.withItem(DCM_PerFrameFunctionalGroupsSequence, frame);
  }

  const zr::FrameFacts frames = factsOf(builder).frames;

  EXPECT_EQ(frames.count, 3U);
  EXPECT_EQ(frames.organization, "3D");
  ASSERT_EQ(frames.dimensions.size(), 2U);
  EXPECT_EQ(frames.dimensions[0].tag, "(0020,9057)");
  EXPECT_EQ(frames.dimensions[0].name, "In-Stack Position Number");
  EXPECT_EQ(frames.dimensions[0].label.utf8, "Slice");
  EXPECT_EQ(frames.dimensions[0].values, 3U);
  EXPECT_EQ(frames.dimensions[1].name, "Diffusion b-value");
  EXPECT_EQ(frames.dimensions[1].values, 1U);
}

TEST_F(FactsOfAnObject, CountTheNumbersInTheVectorsOfFrames) {
  const zr::FrameFacts frames = factsOf(image()
                                            .frames(4)
                                            .frameIncrementPointer("(0054,0010)\\(0018,1063)")
                                            .withUint16s(DCM_EnergyWindowVector, {1, 1, 2, 2}))
                                    .frames;

  ASSERT_EQ(frames.dimensions.size(), 2U);
  EXPECT_EQ(frames.dimensions[0].name, "Energy Window Vector");
  EXPECT_EQ(frames.dimensions[0].values, 2U);
  EXPECT_EQ(frames.dimensions[1].name, "Frame Time");
  EXPECT_FALSE(frames.dimensions[1].values);
}

TEST_F(FactsOfAnObject, TellHowLargeTheImageOfItsTilesIs) {
  const zr::FrameFacts frames =
      factsOf(
          image().with(DCM_TotalPixelMatrixColumns, "70000").with(DCM_TotalPixelMatrixRows, "300"))
          .frames;

  EXPECT_EQ(frames.totalPixelMatrix, (std::array<std::size_t, 2>{70000, 300}));
}

struct Calibration {
  const char* name;
  const char* modality;
  const char* imagerSpacing;  ///< empty without one
  const char* type;
  const char* meaning;
};

class MeaningOfPixelSpacing : public testing::TestWithParam<Calibration> {};

TEST_P(MeaningOfPixelSpacing, IsSaid) {
  const support::TempDir folder;
  ImageBuilder builder = support::monochromeImage(2, 2);
  builder.with(DCM_Modality, GetParam().modality).spacing("0.2", "0.1");
  if (*GetParam().imagerSpacing != '\0') {
    builder.with(DCM_ImagerPixelSpacing, GetParam().imagerSpacing);
  }
  builder.with(DCM_PixelSpacingCalibrationType, GetParam().type);
  support::saveFile(*builder.build(), folder.file("in.dcm"));

  const zr::GeometryFacts geometry = zr::describeObject(zr::File(folder.file("in.dcm"))).geometry;

  ASSERT_FALSE(geometry.spacings.empty());
  EXPECT_EQ(geometry.spacings[0].name, "Pixel Spacing");
  EXPECT_EQ(geometry.spacings[0].betweenColumns, 0.1);
  EXPECT_EQ(geometry.spacings[0].betweenRows, 0.2);
  EXPECT_THAT(geometry.spacings[0].meaning, StartsWith(GetParam().meaning));
}

INSTANTIATE_TEST_SUITE_P(
    Calibrations, MeaningOfPixelSpacing,
    testing::Values(Calibration{"Slice", "CT", "", "", "in the patient"},
                    Calibration{"Geometry", "DX", "0.3\\0.3", "GEOMETRY",
                                "in the patient, corrected for an assumed or known magnification"},
                    Calibration{"Fiducial", "XA", "0.3\\0.3", "FIDUCIAL",
                                "in the patient, calibrated by an object of known size"},
                    Calibration{"SameAsImager", "CR", "0.2\\0.1", "", "at the detector; "},
                    Calibration{"OtherThanImager", "DX", "0.3\\0.3", "",
                                "in the patient, calibrated in a way that is not said"},
                    Calibration{"Unknown", "DX", "", "",
                                "in a projection image without a word on calibration"}),
    support::nameOf<Calibration>);

TEST_F(FactsOfAnObject, HaveSpacingsOfAllKinds) {
  const zr::GeometryFacts geometry =
      factsOf(image()
                  .with(DCM_ImagerPixelSpacing, "0.3\\0.2")
                  .with(DCM_NominalScannedPixelSpacing, "0.5\\0.4")
                  .with(DCM_PixelAspectRatio, "4\\3")
                  .with(DCM_EstimatedRadiographicMagnificationFactor, "1.5")
                  .with(DCM_PixelSpacingCalibrationDescription, "ball"))
          .geometry;

  ASSERT_EQ(geometry.spacings.size(), 2U);
  EXPECT_EQ(geometry.spacings[0].name, "Imager Pixel Spacing");
  EXPECT_EQ(geometry.spacings[0].betweenColumns, 0.2);
  EXPECT_THAT(geometry.spacings[0].meaning, HasSubstr("not corrected"));
  EXPECT_EQ(geometry.spacings[1].name, "Nominal Scanned Pixel Spacing");
  EXPECT_EQ(geometry.spacings[1].betweenRows, 0.5);
  EXPECT_EQ(geometry.pixelAspectRatio, (std::array<double, 2>{4, 3}));
  EXPECT_EQ(geometry.magnification, 1.5);
  EXPECT_EQ(geometry.calibrationDescription.utf8, "ball");
}

TEST_F(FactsOfAnObject, SayWhereRowsAndColumnsRunTo) {
  const zr::GeometryFacts geometry =
      factsOf(image()
                  .with(DCM_ImageOrientationPatient, "0\\1\\0\\0\\0\\-1")
                  .with(DCM_PatientOrientation, "P\\F")
                  .with(DCM_PatientPosition, "HFS"))
          .geometry;

  EXPECT_EQ(geometry.directions, "P-F-R");
  EXPECT_EQ(geometry.patientOrientation, "P\\F");
  EXPECT_EQ(geometry.patientPosition, "HFS");
}

TEST_F(FactsOfAnObject, HaveNoLettersForAnimals) {
  EXPECT_EQ(factsOf(image()
                        .with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0")
                        .with(DCM_AnatomicalOrientationType, "QUADRUPED"))
                .geometry.directions,
            "");
}

TEST(DirectionLetters, AreThoseOfTheNearestAxes) {
  EXPECT_EQ(zr::directionLetters({1, 0, 0, 0, 1, 0}), "L-P-H");
  EXPECT_EQ(zr::directionLetters({-0.9, 0.1, 0, 0, 0, -1}), "R-F-A");
}

DatasetBuilder region() {
  return DatasetBuilder()
      .with(DCM_RegionSpatialFormat, "1")
      .with(DCM_RegionDataType, "2")
      .with(DCM_RegionLocationMinX0, "10")
      .with(DCM_RegionLocationMinY0, "20")
      .with(DCM_RegionLocationMaxX1, "110")
      .with(DCM_RegionLocationMaxY1, "220")
      .with(DCM_ReferencePixelX0, "50")
      .with(DCM_ReferencePixelY0, "-1")
      .with(DCM_PhysicalUnitsXDirection, "3")
      .with(DCM_PhysicalUnitsYDirection, "3")
      .with(DCM_ReferencePixelPhysicalValueX, "0.5")
      .with(DCM_PhysicalDeltaX, "0.025")
      .with(DCM_PhysicalDeltaY, "-0.05");
}

TEST_F(FactsOfAnObject, HaveUltrasoundRegionsToMeasureIn) {
  const std::vector<zr::UltrasoundRegion> regions =
      factsOf(image().withItem(DCM_SequenceOfUltrasoundRegions, region())).ultrasoundRegions;

  ASSERT_EQ(regions.size(), 1U);
  EXPECT_EQ(regions[0].bounds, (std::array<long, 4>{10, 20, 110, 220}));
  EXPECT_EQ(regions[0].spatialFormat, "2D");
  EXPECT_EQ(regions[0].dataType, "colour flow");
  EXPECT_EQ(regions[0].units, (std::array<std::string, 2>{"cm", "cm"}));
  EXPECT_EQ(regions[0].delta[1], -0.05);
  EXPECT_EQ(regions[0].referencePixel[0], 50);
  EXPECT_EQ(regions[0].referencePixel[1], -1);
  EXPECT_EQ(regions[0].referenceValue[0], 0.5);
  EXPECT_FALSE(regions[0].referenceValue[1]);
  EXPECT_EQ(regions[0].spacingMm, (std::array<double, 2>{0.25, 0.5}));
}

TEST_F(FactsOfAnObject, HaveNoLengthsWhereARegionShowsTimes) {
  DatasetBuilder mMode = region();
  mMode.with(DCM_RegionSpatialFormat, "2").with(DCM_PhysicalUnitsXDirection, "4");

  const zr::UltrasoundRegion found =
      factsOf(image().withItem(DCM_SequenceOfUltrasoundRegions, mMode)).ultrasoundRegions.at(0);

  EXPECT_EQ(found.spatialFormat, "M-mode");
  EXPECT_EQ(found.units[0], "seconds");
  EXPECT_FALSE(found.spacingMm);
}

TEST_F(FactsOfAnObject, HaveNoWordsForCodesThatNobodyKnows) {
  DatasetBuilder odd = region();
  odd.with(DCM_RegionSpatialFormat, "6")
      .with(DCM_RegionDataType, "19")
      .with(DCM_PhysicalUnitsXDirection, "13")
      .without(DCM_RegionLocationMaxX1);

  const zr::UltrasoundRegion found =
      factsOf(image().withItem(DCM_SequenceOfUltrasoundRegions, odd)).ultrasoundRegions.at(0);

  EXPECT_EQ(found.spatialFormat, "");
  EXPECT_EQ(found.dataType, "");
  EXPECT_EQ(found.units[0], "");
  EXPECT_FALSE(found.bounds);
}

TEST_F(FactsOfAnObject, HaveOverlayPlanesOfBothKinds) {
  const zr::ObjectFacts facts = factsOf(image()
                                            .bitsStored(12)
                                            .overlayPlane(0x6002, 13)
                                            .with(DcmTagKey(0x6004, 0x0010), EVR_US, "2")
                                            .with(DcmTagKey(0x6004, 0x0011), EVR_US, "3")
                                            .with(DcmTagKey(0x6004, 0x0015), EVR_IS, "4")
                                            .with(DcmTagKey(0x6004, 0x0022), EVR_LO, "drawn")
                                            .with(DcmTagKey(0x6004, 0x0040), EVR_CS, "G")
                                            .withSint16s(DcmTagKey(0x6004, 0x0050), {1, -4})
                                            .with(DcmTagKey(0x6004, 0x1500), EVR_LO, "lesion")
                                            .withBytes(DcmTagKey(0x6004, 0x3000), {1, 0}));

  ASSERT_EQ(facts.overlayPlanes.size(), 2U);
  EXPECT_EQ(facts.overlayPlanes[0].group, 0x6002U);
  EXPECT_TRUE(facts.overlayPlanes[0].embedded);
  const zr::OverlayPlaneFacts& own = facts.overlayPlanes[1];
  EXPECT_EQ(own.group, 0x6004U);
  EXPECT_FALSE(own.embedded);
  EXPECT_EQ(own.rows, 2U);
  EXPECT_EQ(own.columns, 3U);
  EXPECT_EQ(own.frames, 4U);
  EXPECT_EQ(own.origin, (std::array<int, 2>{-5, 0}));
  EXPECT_EQ(own.type, "G");
  EXPECT_EQ(own.label.utf8, "lesion");
  EXPECT_EQ(own.description.utf8, "drawn");
}

TEST_F(FactsOfAnObject, HaveVoiTablesWithTheirExplanations) {
  DatasetBuilder table;
  table.withUint16s(DCM_LUTDescriptor, {0, 0, 12}).with(DCM_LUTExplanation, "BONE");
  DatasetBuilder below;
  below.withSint16s(DCM_LUTDescriptor, {16, -8, 8});

  const std::vector<zr::TableFacts> tables =
      factsOf(image().withItem(DCM_VOILUTSequence, table).withItem(DCM_VOILUTSequence, below))
          .voiTables;

  ASSERT_EQ(tables.size(), 2U);
  EXPECT_EQ(tables[0].entries, 65536U);
  EXPECT_EQ(tables[0].bits, 12U);
  EXPECT_EQ(tables[0].explanation.utf8, "BONE");
  EXPECT_EQ(tables[1].entries, 16U);
  EXPECT_EQ(tables[1].firstMapped, -8);
}

TEST_F(FactsOfAnObject, TellOfAPaletteInSegments) {
  const zr::ObjectFacts facts =
      factsOf(support::paletteImage(2, 2)
                  .withUint16s(DCM_RedPaletteColorLookupTableDescriptor, {256, 0, 16})
                  .withWords(DCM_SegmentedRedPaletteColorLookupTableData, {0, 1, 2}));

  ASSERT_TRUE(facts.segmentedPalette);
  EXPECT_EQ(facts.segmentedPalette->entries, 256U);
  EXPECT_EQ(facts.segmentedPalette->values, 3U);
}

TEST_F(FactsOfAnObject, TellWhoseElementsTheDictionaryHas) {
  const zr::ObjectFacts facts =
      factsOf(image()
                  .with(DcmTagKey(0x7005, 0x0010), EVR_LO, "TOSHIBA_MEC_CT3")
                  .with(DcmTagKey(0x7007, 0x0010), EVR_LO, "NOBODY 1.0")
                  .with(DcmTagKey(0x7007, 0x0011), EVR_LO, "NOBODY 1.0")
                  .with(DcmTagKey(0x7007, 0x1001), EVR_LO, "value"));

  ASSERT_EQ(facts.privateCreators.size(), 2U);
  EXPECT_EQ(facts.privateCreators[0].name.utf8, "TOSHIBA_MEC_CT3");
  EXPECT_TRUE(facts.privateCreators[0].known);
  EXPECT_EQ(facts.privateCreators[1].name.utf8, "NOBODY 1.0");
  EXPECT_FALSE(facts.privateCreators[1].known);
}

struct Untitled {
  const char* name;
  const char* uid;
  DcmTagKey key;
  const char* title;
};

class TitleOfAnObject : public testing::TestWithParam<Untitled> {};

TEST_P(TitleOfAnObject, WithoutPixelsIsTold) {
  const support::TempDir folder;
  DatasetBuilder builder;
  builder.with(DCM_SOPClassUID, GetParam().uid).with(GetParam().key, GetParam().title);
  support::saveFile(*builder.build(), folder.file("in.dcm"));

  EXPECT_EQ(zr::describeObject(zr::File(folder.file("in.dcm"))).content.title.utf8,
            GetParam().title);
}

INSTANTIATE_TEST_SUITE_P(
    Titles, TitleOfAnObject,
    testing::Values(Untitled{"Document", UID_EncapsulatedPDFStorage, DCM_DocumentTitle, "Letter"},
                    Untitled{"Plan", UID_RTPlanStorage, DCM_RTPlanLabel, "Boost"},
                    Untitled{"Structures", UID_RTStructureSetStorage, DCM_StructureSetLabel, "CTV"},
                    Untitled{"Presentation", UID_GrayscaleSoftcopyPresentationStateStorage,
                             DCM_ContentLabel, "ARROWS"}),
    support::nameOf<Untitled>);

TEST_F(FactsOfAnObject, TellWhatAReportIsAbout) {
  DatasetBuilder about;
  about.with(DCM_CodeMeaning, "Chest CT report");
  DatasetBuilder report;
  report.with(DCM_SOPClassUID, UID_BasicTextSRStorage)
      .withItem(DCM_ConceptNameCodeSequence, about)
      .withItem(DCM_ContentSequence, DatasetBuilder())
      .withItem(DCM_ContentSequence, DatasetBuilder());

  const zr::ContentFacts content = factsOf(report).content;

  EXPECT_EQ(content.kind, "a structured report");
  EXPECT_EQ(content.title.utf8, "Chest CT report");
  ASSERT_EQ(content.parts.size(), 1U);
  EXPECT_EQ(content.parts[0].what, "content items at the top");
  EXPECT_EQ(content.parts[0].count, 2U);
}

TEST_F(FactsOfAnObject, TellWhatKindOfDocumentItHolds) {
  DatasetBuilder document;
  document.with(DCM_SOPClassUID, UID_EncapsulatedPDFStorage)
      .with(DCM_MIMETypeOfEncapsulatedDocument, "application/pdf");

  EXPECT_EQ(factsOf(document).content.mimeType, "application/pdf");
}

struct Class {
  const char* name;
  const char* uid;
  const char* title;
};

class TitleOfAClass : public testing::TestWithParam<Class> {};

TEST_P(TitleOfAClass, IsTheNameInTheStandard) {
  EXPECT_EQ(zr::uidTitle(GetParam().uid), GetParam().title);
}

INSTANTIATE_TEST_SUITE_P(
    Classes, TitleOfAClass,
    testing::Values(
        Class{"Ct", UID_CTImageStorage, "CT Image Storage"},
        Class{"EnhancedMr", UID_EnhancedMRImageStorage, "Enhanced MR Image Storage"},
        Class{"UltrasoundClip", UID_UltrasoundMultiframeImageStorage,
              "Ultrasound Multi-frame Image Storage"},
        Class{"DigitalXRay", UID_DigitalXRayImageStorageForPresentation,
              "Digital X-Ray Image Storage - For Presentation"},
        Class{"XRay3d", UID_XRay3DAngiographicImageStorage, "X-Ray 3D Angiographic Image Storage"},
        Class{"IntraOral", UID_DigitalIntraOralXRayImageStorageForProcessing,
              "Digital Intra-Oral X-Ray Image Storage - For Processing"},
        Class{"Capture", UID_MultiframeTrueColorSecondaryCaptureImageStorage,
              "Multi-frame True Color Secondary Capture Image Storage"},
        Class{"Electrocardiogram", UID_TwelveLeadECGWaveformStorage,
              "12-lead ECG Waveform Storage"},
        Class{"Report3d", UID_Comprehensive3DSRStorage, "Comprehensive 3D SR Storage"},
        Class{"Mammography", UID_MammographyCADSRStorage, "Mammography CAD SR Storage"},
        Class{"Plan", UID_RTPlanStorage, "RT Plan Storage"},
        Class{"Photographs", UID_OphthalmicPhotography16BitImageStorage,
              "Ophthalmic Photography 16 Bit Image Storage"},
        Class{"CArm", "1.2.840.10008.5.1.4.1.1.481.13", "C-Arm Photon-Electron Radiation Storage"},
        Class{"Angiography", "1.2.840.10008.5.1.4.1.1.11.5",
              "XA/XRF Grayscale Softcopy Presentation State Storage"},
        Class{"Young", "1.2.840.10008.5.1.4.1.1.66.7", "Label Map Segmentation Storage"},
        Class{"Retired", "1.2.840.10008.5.1.4.1.1.11", "Standalone VOI LUT Storage (Retired)"},
        Class{"Trial", "1.2.840.10008.5.1.4.1.1.88.1", "SR Text Storage (Trial)"},
        Class{"OfAnotherField", "1.2.840.10008.5.1.4.1.1.501.1", "DICOS CT Image Storage"},
        Class{"Unknown", "1.2.3.4", ""}, Class{"Missing", "", ""}),
    support::nameOf<Class>);

}  // namespace
