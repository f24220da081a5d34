// SPDX-License-Identifier: BSD-3-Clause
// What an object is that has no pixels.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "zrimaging/images/ObjectKind.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>

namespace {

using testing::EndsWith;

struct Object {
  const char* name;
  const char* uid;
  const char* content;
};

class ObjectWithoutPixels : public testing::TestWithParam<Object> {};

TEST_P(ObjectWithoutPixels, IsDescribed) {
  support::DatasetBuilder builder;
  const auto dataset = builder.with(DCM_SOPClassUID, GetParam().uid).build();

  EXPECT_EQ(zr::describeWithoutPixels(*dataset), GetParam().content);
}

TEST_P(ObjectWithoutPixels, IsNotDecodedAndSaysWhatItIs) {
  const support::TempDir folder;
  support::DatasetBuilder builder;
  support::saveFile(*builder.with(DCM_SOPClassUID, GetParam().uid).build(), folder.file("in.dcm"));

  try {
    (void)zr::Image(zr::File(folder.file("in.dcm"))).decode({}, {});
    FAIL() << "decodes";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::NoPixelData);
    EXPECT_THAT(error.what(), EndsWith("is " + std::string(GetParam().content) +
                                       ", and has no pixels; zrdcm info describes it"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Classes, ObjectWithoutPixels,
    testing::Values(
        Object{"Directory", "1.2.840.10008.1.3.10", "a directory of files (DICOMDIR)"},
        Object{"Spectra", "1.2.840.10008.5.1.4.1.1.4.2", "spectra of magnetic resonance"},
        Object{"Waveforms", "1.2.840.10008.5.1.4.1.1.9.1.1", "waveforms"},
        Object{"PresentationState", "1.2.840.10008.5.1.4.1.1.11.1",
               "a presentation state, how to show other objects"},
        Object{"RawData", "1.2.840.10008.5.1.4.1.1.66", "raw data"},
        Object{"Registration", "1.2.840.10008.5.1.4.1.1.66.1", "a spatial registration"},
        Object{"Fiducials", "1.2.840.10008.5.1.4.1.1.66.2", "spatial fiducials"},
        Object{"Deformation", "1.2.840.10008.5.1.4.1.1.66.3", "a deformable spatial registration"},
        Object{"Surfaces", "1.2.840.10008.5.1.4.1.1.66.5", "surfaces of segments"},
        Object{"Tracts", "1.2.840.10008.5.1.4.1.1.66.6", "tracts (tractography)"},
        Object{"RealWorldValues", "1.2.840.10008.5.1.4.1.1.67", "a mapping to real world values"},
        Object{"ScannedSurface", "1.2.840.10008.5.1.4.1.1.68.1", "a scanned surface"},
        Object{"EyeMeasurements", "1.2.840.10008.5.1.4.1.1.78.1", "measurements of an eye"},
        Object{"MacularGrid", "1.2.840.10008.5.1.4.1.1.79.1", "a macular grid report"},
        Object{"VisualField", "1.2.840.10008.5.1.4.1.1.80.1", "a visual field test"},
        Object{"Report", "1.2.840.10008.5.1.4.1.1.88.33", "a structured report"},
        Object{"KeyObjects", "1.2.840.10008.5.1.4.1.1.88.59", "a selection of key objects"},
        Object{"Document", "1.2.840.10008.5.1.4.1.1.104.1", "an encapsulated document"},
        Object{"WaveformDisplay", "1.2.840.10008.5.1.4.1.1.9.100.1",
               "a presentation state, how to show waveforms"},
        Object{"Stereometry", "1.2.840.10008.5.1.4.1.1.77.1.5.3",
               "a stereometric relationship of photographs"},
        Object{"Assessment", "1.2.840.10008.5.1.4.1.1.90.1", "results of a content assessment"},
        Object{"Annotations", "1.2.840.10008.5.1.4.1.1.91.1", "annotations of microscopy images"},
        Object{"Display", "1.2.840.10008.5.1.4.1.1.131", "a structured display of other objects"},
        Object{"Inventory", "1.2.840.10008.5.1.4.1.1.201.1", "an inventory of an archive"},
        Object{"Protocol", "1.2.840.10008.5.1.4.1.1.200.1", "a protocol of an acquisition"}),
    support::nameOf<Object>);

INSTANTIATE_TEST_SUITE_P(
    Therapy, ObjectWithoutPixels,
    testing::Values(
        Object{"Structures", "1.2.840.10008.5.1.4.1.1.481.3",
               "a structure set, contours for radiotherapy"},
        Object{"BeamsRecord", "1.2.840.10008.5.1.4.1.1.481.4",
               "a record of radiotherapy treatment"},
        Object{"Plan", "1.2.840.10008.5.1.4.1.1.481.5", "a radiotherapy plan"},
        Object{"BrachyRecord", "1.2.840.10008.5.1.4.1.1.481.6",
               "a record of radiotherapy treatment"},
        Object{"SummaryRecord", "1.2.840.10008.5.1.4.1.1.481.7",
               "a record of radiotherapy treatment"},
        Object{"IonPlan", "1.2.840.10008.5.1.4.1.1.481.8", "a radiotherapy plan for ions"},
        Object{"IonRecord", "1.2.840.10008.5.1.4.1.1.481.9", "a record of radiotherapy treatment"},
        Object{"Intent", "1.2.840.10008.5.1.4.1.1.481.10", "a physician's intent for radiotherapy"},
        Object{"Segments", "1.2.840.10008.5.1.4.1.1.481.11",
               "an annotation of segments for radiotherapy"},
        Object{"RadiationSet", "1.2.840.10008.5.1.4.1.1.481.12",
               "a set of radiations for radiotherapy"},
        Object{"Radiation", "1.2.840.10008.5.1.4.1.1.481.14", "a radiation for radiotherapy"},
        Object{"RadiationRecord", "1.2.840.10008.5.1.4.1.1.481.18",
               "a record of radiotherapy treatment"},
        Object{"Preparation", "1.2.840.10008.5.1.4.1.1.481.22", "an instruction for radiotherapy"},
        Object{"Instruction", "1.2.840.10008.5.1.4.34.7", "an instruction for radiotherapy"},
        Object{"HangingProtocol", "1.2.840.10008.5.1.4.38.1", "a hanging protocol"},
        Object{"Palette", "1.2.840.10008.5.1.4.39.1", "a colour palette"},
        Object{"Implant", "1.2.840.10008.5.1.4.43.1", "a template of an implant"},
        Object{"ImplantAssembly", "1.2.840.10008.5.1.4.44.1", "an assembly of implants"},
        Object{"ImplantGroup", "1.2.840.10008.5.1.4.45.1", "a group of implant templates"},
        Object{"PrivateClass", "1.2.3.4", "an object without pixels"},
        Object{"DoseWithoutGrid", "1.2.840.10008.5.1.4.1.1.481.2", "an object without pixels"}),
    support::nameOf<Object>);

TEST(ObjectKind, OfAnImageWithPixelsIsNotTold) {
  EXPECT_EQ(zr::describeWithoutPixels(*support::ctSlice(2, 2).build()), "");
}

TEST(ObjectKind, OfAnImageThatLacksItsPixelsIsNotTold) {
  const auto dataset = support::ctSlice(2, 2).build();
  ASSERT_TRUE(dataset->findAndDeleteElement(DCM_PixelData).good());

  EXPECT_EQ(zr::describeWithoutPixels(*dataset), "");
}

}  // namespace
