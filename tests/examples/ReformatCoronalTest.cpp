// SPDX-License-Identifier: BSD-3-Clause
// reformat_coronal: where its images lie, what they hold, and what it does not take.
#include "support/DatasetBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using support::DatasetBuilder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using tools::Outcome;

/// Hounsfield units 100 z + 10 y + x of 3 x 2 pixels in 3 slices, z counted from the feet. Columns
/// are 0.5 mm apart, rows 1.5 mm, slices 1 mm; the lowest slice begins at (-10, -20, 30).
DatasetBuilder ctVolume() {
  return DatasetBuilder()
      .with(DCM_SOPClassUID, UID_MultiframeGrayscaleWordSecondaryCaptureImageStorage)
      .with(DCM_SOPInstanceUID, "1.2.3.4")
      .with(DCM_StudyInstanceUID, "1.2.3")
      .with(DCM_SeriesInstanceUID, "1.2.5")
      .with(DCM_FrameOfReferenceUID, "1.2.9")
      .with(DCM_Modality, "CT")
      .with(DCM_PatientName, "Doe^John")
      .with(DCM_PatientID, "P1")
      .with(DCM_PatientPosition, "HFS")
      .with(DCM_BodyPartExamined, "HEAD")
      .with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0")
      .with(DCM_PixelSpacing, "1.5\\0.5")
      .with(DCM_FrameIncrementPointer, "(0018,0088)")
      .with(DCM_NumberOfFrames, "3")
      .withUint16(DCM_SamplesPerPixel, 1)
      .with(DCM_PhotometricInterpretation, "MONOCHROME2")
      .withUint16(DCM_Rows, 2)
      .withUint16(DCM_Columns, 3)
      .withUint16(DCM_BitsAllocated, 16)
      .withUint16(DCM_BitsStored, 16)
      .withUint16(DCM_HighBit, 15)
      .withUint16(DCM_PixelRepresentation, 0)
      .with(DCM_RescaleSlope, "1")
      .with(DCM_RescaleIntercept, "-1000")
      .with(DCM_WindowCenter, "40")
      .with(DCM_WindowWidth, "400");
}

std::vector<Uint16> slice(Uint16 z) {
  std::vector<Uint16> samples;
  for (const int offset : {0, 1, 2, 10, 11, 12}) {
    samples.push_back(static_cast<Uint16>(1000 + 100 * z + offset));
  }
  return samples;
}

std::vector<Uint16> slices(const std::vector<Uint16>& order) {
  std::vector<Uint16> samples;
  for (const Uint16 z : order) {
    const std::vector<Uint16> one = slice(z);
    samples.insert(samples.end(), one.begin(), one.end());
  }
  return samples;
}

DatasetBuilder ctFromTheFeetUp() {
  return ctVolume()
      .with(DCM_SpacingBetweenSlices, "1")
      .with(DCM_ImagePositionPatient, "-10\\-20\\30")
      .withPixels16(slices({0, 1, 2}));
}

DatasetBuilder ctFromTheHeadDown() {
  return ctVolume()
      .with(DCM_SpacingBetweenSlices, "-1")
      .with(DCM_ImagePositionPatient, "-10\\-20\\32")
      .withPixels16(slices({2, 1, 0}));
}

DatasetBuilder signedCt() {
  std::vector<Uint16> samples = slices({0, 1, 2});
  for (Uint16& sample : samples) {
    sample = static_cast<Uint16>(sample - 1000);
  }
  return ctFromTheFeetUp()
      .withUint16(DCM_PixelRepresentation, 1)
      .with(DCM_RescaleIntercept, "0")
      .withPixels16(samples);
}

/// One image of the series that was written.
class Image {
public:
  explicit Image(const std::string& path) {
    if (file_.loadFile(path.c_str()).bad() || file_.loadAllDataIntoMemory().bad()) {
      throw std::runtime_error(path + " cannot be read");
    }
  }

  std::string text(const DcmTagKey& key) {
    OFString value;
    return dataset().findAndGetOFStringArray(key, value).good() ? value : "(missing)";
  }

  /// Samples through the rescale line.
  std::vector<double> hounsfield() {
    const Uint16* samples = nullptr;
    unsigned long count = 0;
    if (dataset().findAndGetUint16Array(DCM_PixelData, samples, &count).bad()) {
      throw std::runtime_error("no samples");
    }
    const double slope = std::stod(text(DCM_RescaleSlope));
    const double intercept = std::stod(text(DCM_RescaleIntercept));
    std::vector<double> values;
    for (unsigned long i = 0; i < count; ++i) {
      values.push_back(slope * samples[i] + intercept);
    }
    return values;
  }

  DcmDataset& dataset() { return *file_.getDataset(); }

private:
  DcmFileFormat file_;
};

class ReformatCoronal : public testing::Test {
protected:
  Outcome reformat(const DatasetBuilder& ct) {
    const auto dataset = ct.build();
    DcmFileFormat file(dataset.get());
    if (file.saveFile(path("ct.dcm").c_str(), EXS_LittleEndianExplicit).bad()) {
      throw std::runtime_error("ct.dcm cannot be written");
    }
    return tools::runProgram({REFORMAT_CORONAL, path("ct.dcm"), path("coronal")});
  }

  std::string path(const std::string& name) const { return folder_.file(name).string(); }
  Image image(const std::string& name) const { return Image(path("coronal/" + name)); }

  support::TempDir folder_;
};

struct Direction {
  const char* name;
  DatasetBuilder (*ct)();
};

/// Every volume here is the same one, stored differently.
class ReformatCoronalOf : public ReformatCoronal, public testing::WithParamInterface<Direction> {};

TEST_P(ReformatCoronalOf, WritesAnImagePerRow) {
  const Outcome run = reformat(GetParam().ct());

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output,
            "3 axial slices -> 2 coronal images of 3 x 5 pixels in " + path("coronal") + "\n");
  EXPECT_THAT(tools::namesIn(path("coronal")), ElementsAre("coronal-0001.dcm", "coronal-0002.dcm"));
}

TEST_P(ReformatCoronalOf, ShowsTheHeadFirstAndFillsBetweenSlices) {
  ASSERT_EQ(reformat(GetParam().ct()).status, 0);

  EXPECT_THAT(image("coronal-0001.dcm").hounsfield(),
              ElementsAre(200, 201, 202, 150, 151, 152, 100, 101, 102, 50, 51, 52, 0, 1, 2));
  EXPECT_THAT(image("coronal-0002.dcm").hounsfield(),
              ElementsAre(210, 211, 212, 160, 161, 162, 110, 111, 112, 60, 61, 62, 10, 11, 12));
}

TEST_P(ReformatCoronalOf, PlacesTheImagesInThePatient) {
  ASSERT_EQ(reformat(GetParam().ct()).status, 0);

  Image first = image("coronal-0001.dcm");
  Image second = image("coronal-0002.dcm");
  EXPECT_EQ(first.text(DCM_ImagePositionPatient), "-10\\-20\\32");
  EXPECT_EQ(second.text(DCM_ImagePositionPatient), "-10\\-18.5\\32");
  EXPECT_EQ(first.text(DCM_ImageOrientationPatient), "1\\0\\0\\0\\0\\-1");
  EXPECT_EQ(first.text(DCM_PixelSpacing), "0.5\\0.5");
  EXPECT_EQ(first.text(DCM_SliceThickness), "1.5");
  EXPECT_EQ(first.text(DCM_Rows), "5");
  EXPECT_EQ(first.text(DCM_Columns), "3");
}

INSTANTIATE_TEST_SUITE_P(Volumes, ReformatCoronalOf,
                         testing::Values(Direction{"FromTheFeetUp", ctFromTheFeetUp},
                                         Direction{"FromTheHeadDown", ctFromTheHeadDown},
                                         Direction{"Signed", signedCt}),
                         support::nameOf<Direction>);

TEST_F(ReformatCoronal, TakesTheRescaleShiftOfSignedSamplesBack) {
  ASSERT_EQ(reformat(signedCt()).status, 0);

  Image first = image("coronal-0001.dcm");
  EXPECT_EQ(first.text(DCM_PixelRepresentation), "0");
  EXPECT_EQ(first.text(DCM_RescaleIntercept), "-32768");
  EXPECT_EQ(first.text(DCM_WindowCenter), "40");
  EXPECT_EQ(first.text(DCM_WindowWidth), "400");
}

// Values run from 0 to 212.
TEST_F(ReformatCoronal, ShowsTheRangeOfTheValuesWhereThereIsNoWindow) {
  ASSERT_EQ(reformat(ctFromTheFeetUp().without(DCM_WindowCenter).without(DCM_WindowWidth)).status,
            0);

  Image first = image("coronal-0001.dcm");
  EXPECT_EQ(first.text(DCM_WindowCenter), "106");
  EXPECT_EQ(first.text(DCM_WindowWidth), "212");
}

TEST_F(ReformatCoronal, FollowsATiltedVolume) {
  // Rows run to the back and down by the angle of the triangle 3, 4, 5.
  ASSERT_EQ(
      reformat(ctFromTheFeetUp().with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\0.8\\-0.6")).status,
      0);

  // The slices lie along (0, 0.6, 0.8): two of them up, 1.5 mm along the column.
  Image second = image("coronal-0002.dcm");
  EXPECT_EQ(second.text(DCM_ImageOrientationPatient), "1\\0\\0\\0\\-0.6\\-0.8");
  EXPECT_EQ(second.text(DCM_ImagePositionPatient), "-10\\-17.6\\30.7");
}

TEST_F(ReformatCoronal, KeepsThePatientAndMakesFreshUids) {
  ASSERT_EQ(reformat(ctFromTheFeetUp()).status, 0);

  Image first = image("coronal-0001.dcm");
  Image second = image("coronal-0002.dcm");
  EXPECT_EQ(first.text(DCM_PatientName), "Doe^John");
  EXPECT_EQ(first.text(DCM_StudyInstanceUID), "1.2.3");
  EXPECT_EQ(first.text(DCM_FrameOfReferenceUID), "1.2.9");
  EXPECT_EQ(first.text(DCM_SOPClassUID), UID_CTImageStorage);
  EXPECT_EQ(first.text(DCM_InstanceNumber), "1");
  EXPECT_EQ(second.text(DCM_InstanceNumber), "2");
  EXPECT_THAT(first.text(DCM_SeriesInstanceUID), StartsWith("2.25."));
  EXPECT_EQ(first.text(DCM_SeriesInstanceUID), second.text(DCM_SeriesInstanceUID));
  EXPECT_THAT(first.text(DCM_SOPInstanceUID), StartsWith("2.25."));
  EXPECT_NE(first.text(DCM_SOPInstanceUID), second.text(DCM_SOPInstanceUID));
  EXPECT_NE(first.text(DCM_SOPInstanceUID), first.text(DCM_SeriesInstanceUID));
}

TEST_F(ReformatCoronal, NamesTheImageItWasMadeOf) {
  ASSERT_EQ(reformat(ctFromTheFeetUp()).status, 0);

  Image first = image("coronal-0001.dcm");
  OFString uid;
  ASSERT_TRUE(
      first.dataset().findAndGetOFString(DCM_ReferencedSOPInstanceUID, uid, 0, OFTrue).good());
  EXPECT_EQ(uid, "1.2.3.4");
}

TEST_F(ReformatCoronal, WritesCtImagesThatDciodvfyTakes) {
  if (tools::runProgram({"sh", "-c", "command -v dciodvfy"}).status != 0) {
    FAIL() << "dciodvfy is not installed; make deps does it";
  }
  ASSERT_EQ(reformat(ctFromTheFeetUp()).status, 0);

  const Outcome check = tools::runProgram({"dciodvfy", path("coronal/coronal-0001.dcm")});

  EXPECT_EQ(check.status, 0);
  EXPECT_THAT(check.errors, HasSubstr("CTImage"));
  EXPECT_THAT(check.errors, Not(HasSubstr("Error")));
}

struct Refused {
  const char* name;
  DatasetBuilder ct;
  const char* message;
};

class ReformatCoronalRefuses : public ReformatCoronal,
                               public testing::WithParamInterface<Refused> {};

TEST_P(ReformatCoronalRefuses, AndSaysWhy) {
  const Outcome run = reformat(GetParam().ct);

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "reformat_coronal: " + path("ct.dcm") + ": " + GetParam().message + "\n");
  EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("ct.dcm"));
}

INSTANTIATE_TEST_SUITE_P(
    Files, ReformatCoronalRefuses,
    testing::Values(Refused{"AnotherModality", ctFromTheFeetUp().with(DCM_Modality, "MR"),
                            "not a CT"},
                    Refused{"NoPlace", ctFromTheFeetUp().without(DCM_ImagePositionPatient),
                            "ImagePositionPatient is missing"},
                    Refused{"NoOrientation", ctFromTheFeetUp().without(DCM_ImageOrientationPatient),
                            "ImageOrientationPatient is missing"},
                    Refused{"NoSpacing", ctFromTheFeetUp().without(DCM_SpacingBetweenSlices),
                            "the frames do not make up a volume"},
                    Refused{"NoPixelSpacing", ctFromTheFeetUp().without(DCM_PixelSpacing),
                            "the pixels have no spacing"},
                    Refused{"EightBitSamples",
                            ctFromTheFeetUp()
                                .withUint16(DCM_BitsAllocated, 8)
                                .withUint16(DCM_BitsStored, 8)
                                .withUint16(DCM_HighBit, 7)
                                .withPixels8(std::vector<Uint8>(18, 1)),
                            "wants gray samples of 16 bits"}),
    support::nameOf<Refused>);

TEST_F(ReformatCoronal, SaysWhichFileCannotBeRead) {
  const Outcome run = tools::runProgram({REFORMAT_CORONAL, "nowhere.dcm", path("coronal")});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, StartsWith("reformat_coronal: nowhere.dcm: "));
  EXPECT_EQ(run.errorLines(), 1U);
}

TEST_F(ReformatCoronal, SaysWhenTheFolderIsAFile) {
  tools::writeFile(folder_.file("coronal"), "text");

  const Outcome run = reformat(ctFromTheFeetUp());

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, HasSubstr("cannot write to " + path("coronal") + "\n"));
}

TEST_F(ReformatCoronal, TellsItsUsage) {
  EXPECT_EQ(tools::runProgram({REFORMAT_CORONAL}).status, 2);
}

}  // namespace
