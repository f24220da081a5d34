// SPDX-License-Identifier: BSD-3-Clause
// JPEG as its readers meet it: what is written is read back by libjpeg.
#include "imaging/formats/FormatFixture.h"
#include "imaging/formats/ReadJpeg.h"
#include "support/RowName.h"
#include "zrimaging/Error.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace {

using testing::Each;
using testing::IsEmpty;
using zr::SampleArray;
using zr::SampleType;

class JpegFormat : public FormatFixture {
protected:
  Jpeg written(const SampleArray& frame, const zr::ArrayDescription& description = {}) const {
    return readJpeg(bytesAs("jpeg", zr::arrayOf(frame, description)));
  }

  /// Why an array is refused.
  std::string refusal(const SampleArray& array) const {
    try {
      (void)write("jpeg", zr::arrayOf(array));
    } catch (const zr::Error& error) {
      return error.what();
    }
    return "written";
  }

  const std::array<unsigned char, 1> pixel_ = {77};
  const SampleArray onePixel_ = {pixel_.data(), SampleType::kU8, 1, 1, 1, 1};
};

struct JpegSize {
  const char* name;
  std::size_t rows;
  std::size_t columns;
};

class JpegOfSize : public JpegFormat, public testing::WithParamInterface<JpegSize> {};

TEST_P(JpegOfSize, KeepsAnEvenGrey) {
  const std::vector<unsigned char> bytes(GetParam().rows * GetParam().columns, 200);

  const Jpeg jpeg =
      written({bytes.data(), SampleType::kU8, 1, GetParam().rows, GetParam().columns, 1});

  EXPECT_EQ(jpeg.rows, GetParam().rows);
  EXPECT_EQ(jpeg.columns, GetParam().columns);
  EXPECT_EQ(jpeg.channels, 1);
  EXPECT_EQ(jpeg.samples.size(), bytes.size());
  EXPECT_THAT(jpeg.samples, Each(200));
}

INSTANTIATE_TEST_SUITE_P(Sizes, JpegOfSize,
                         testing::Values(JpegSize{"OnePixel", 1, 1}, JpegSize{"OddSides", 9, 17},
                                         JpegSize{"LongestRow", 1, 65500}),
                         support::nameOf<JpegSize>);

// Four columns of red beside four of blue: chroma of half the resolution would mix them.
TEST_F(JpegFormat, KeepsColourAtFullResolution) {
  std::vector<unsigned char> bytes;
  for (int pixel = 0; pixel < 64; ++pixel) {
    const bool red = pixel % 8 < 3;
    bytes.insert(bytes.end(), {static_cast<unsigned char>(red ? 255 : 0), 0,
                               static_cast<unsigned char>(red ? 0 : 255)});
  }

  const Jpeg jpeg = written({bytes.data(), SampleType::kU8, 1, 8, 8, 3});

  EXPECT_EQ(jpeg.channels, 3);
  EXPECT_THAT(jpeg.samplingFactors, Each(1));
  int largest = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    largest = std::max(largest, std::abs(int{jpeg.samples[i]} - int{bytes[i]}));
  }
  EXPECT_LE(largest, 16);
}

// Annex K.1 begins with 16; quality 90 takes a fifth of it.
TEST_F(JpegFormat, HasQualityNinety) {
  EXPECT_EQ(written(onePixel_).firstQuantizer, 3);
}

TEST_F(JpegFormat, HasTheQualityThatIsAskedFor) {
  zr::ArrayToWrite array = zr::arrayOf(onePixel_);
  array.quality = 50;

  EXPECT_EQ(readJpeg(bytesAs("jpeg", array)).firstQuantizer, 16);
}

TEST_F(JpegFormat, HasPixelsPerCentimetre) {
  zr::ArrayDescription description;
  description.spacingMm = {0.5, 0.33, zr::ArrayDescription::kUnknown};

  const Jpeg jpeg = written(onePixel_, description);

  EXPECT_EQ(jpeg.densityUnit, 2);
  EXPECT_EQ(jpeg.densityAcross, 20);
  EXPECT_EQ(jpeg.densityDown, 30);  // 30.3
}

TEST_F(JpegFormat, InventsNoDensity) {
  EXPECT_EQ(written(onePixel_).densityUnit, 0);
}

TEST_F(JpegFormat, HasNoDensityForPixelsOfSeveralCentimetres) {
  zr::ArrayDescription description;
  description.spacingMm = {21, 21, 1};

  EXPECT_EQ(written(onePixel_, description).densityUnit, 0);
}

TEST_F(JpegFormat, IsRefusedForMoreColumnsThanItHolds) {
  const std::vector<unsigned char> bytes(65536);

  EXPECT_EQ(refusal({bytes.data(), SampleType::kU8, 1, 1, 65536, 1}),
            "cannot make " + target().string() +
                ": JPEG holds at most 65500 rows and columns; files of the formats png and tiff "
                "hold more");
  EXPECT_THAT(support::namesIn(folder_.path()), IsEmpty());
}

// libjpeg itself refuses a picture without pixels, by its error exit.
TEST_F(JpegFormat, TellsWhatTheLibraryRefuses) {
  EXPECT_EQ(refusal({pixel_.data(), SampleType::kU8, 1, 1, 0, 1}),
            "cannot make " + target().string() + ": Empty JPEG image (DNL not supported)");
  EXPECT_THAT(support::namesIn(folder_.path()), IsEmpty());
}

TEST_F(JpegFormat, IsWhatAPictureIsWrittenInByItsEnding) {
  zr::writePicture(folder_.file("a.JPEG"), zr::ProtectedInputs(), onePixel_);

  EXPECT_EQ(readJpeg(support::readFile(folder_.file("a.JPEG"))).samples.front(), 77);
}

}  // namespace
