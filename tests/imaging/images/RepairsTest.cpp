// SPDX-License-Identifier: BSD-3-Clause
// Attributes that are repaired where there is no doubt what is meant.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>

namespace {

using support::ImageBuilder;

class Repairs : public testing::Test {
protected:
  zr::Image open(const ImageBuilder& image) const {
    support::saveFile(*image.build(), folder_.file("in.dcm"));
    return zr::Image(zr::File(folder_.file("in.dcm")));
  }

  static std::vector<int> samplesOf(const zr::Image& image) {
    const zr::DecodedFrames frames = image.decode({}, {});
    std::vector<int> values;
    for (std::size_t i = 0; i < frames.samples().byteCount(); ++i) {
      values.push_back(frames.samples().sample(i));
    }
    return values;
  }

  static std::vector<std::string> remarksOn(const zr::Image& image) {
    std::vector<std::string> texts;
    for (const zr::Remark& remark : image.repairs()) {
      texts.push_back(remark.text);
    }
    return texts;
  }

private:
  support::TempDir folder_;
};

ImageBuilder grey() {
  return support::monochromeImage(3, 1).unsigned8().samples({7, 8, 9});
}

ImageBuilder colour() {
  return support::rgbImage(1, 1).samples({7, 8, 9});
}

struct Repaired {
  const char* name;
  ImageBuilder (*image)();
  const char* remark;
};

class RepairedAttribute : public Repairs, public testing::WithParamInterface<Repaired> {};

TEST_P(RepairedAttribute, LeavesTheSamplesAndARemark) {
  const zr::Image image = open(GetParam().image());

  EXPECT_THAT(samplesOf(image), testing::ElementsAre(7, 8, 9));
  EXPECT_THAT(remarksOn(image), testing::ElementsAre(GetParam().remark));
}

INSTANTIATE_TEST_SUITE_P(
    Images, RepairedAttribute,
    testing::Values(
        Repaired{"NoSamplesPerPixelOfGrey", [] { return grey().without(DCM_SamplesPerPixel); },
                 "lacks Samples per Pixel (0028,0002): taken for 1, as MONOCHROME2 has them"},
        Repaired{"NoSamplesPerPixelOfColour", [] { return colour().without(DCM_SamplesPerPixel); },
                 "lacks Samples per Pixel (0028,0002): taken for 3, as RGB has them"},
        Repaired{"NoPlanarConfiguration", [] { return colour().without(DCM_PlanarConfiguration); },
                 "lacks Planar Configuration (0028,0006): samples of a pixel are taken to be side "
                 "by side"},
        Repaired{"Misspelt", [] { return grey().photometric("Monochrome 2"); },
                 "spells Photometric Interpretation (0028,0004) as Monochrome 2: read as "
                 "MONOCHROME2"},
        Repaired{"ColourCalledGrey", [] { return colour().photometric("MONOCHROME2"); },
                 "says MONOCHROME2 (Photometric Interpretation (0028,0004)), but has 3 samples a "
                 "pixel: read as RGB"},
        Repaired{
            "GreyCalledColour", [] { return grey().photometric("RGB"); },
            "says RGB (Photometric Interpretation (0028,0004)), but has 1 sample a pixel: read "
            "as MONOCHROME2"}),
    support::nameOf<Repaired>);

TEST_F(Repairs, AreNotMadeWhereThePixelDataHasAnotherLength) {
  const zr::Image image = open(
      support::monochromeImage(3, 1).unsigned8().without(DCM_SamplesPerPixel).withPixels8({7, 8}));

  EXPECT_THAT(remarksOn(image), testing::IsEmpty());
  EXPECT_THROW((void)samplesOf(image), zr::Error);
}

TEST_F(Repairs, AreNotMadeOnImagesThatAreInOrder) {
  EXPECT_THAT(remarksOn(open(grey())), testing::IsEmpty());
  EXPECT_THAT(remarksOn(open(colour().planar(0))), testing::IsEmpty());
}

}  // namespace
