// SPDX-License-Identifier: BSD-3-Clause
// TIFF as its readers meet it: what is written is read back by libtiff.
#include "imaging/formats/FormatFixture.h"
#include "support/RowName.h"
#include "zrimaging/Error.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <tiffio.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zr::SampleArray;
using zr::SampleType;

/// A page as libtiff reads it.
struct Page {
  std::uint32_t columns = 0;
  std::uint32_t rows = 0;
  std::uint16_t bits = 0;
  std::uint16_t sampleFormat = 0;
  std::uint16_t channels = 0;
  std::uint16_t photometric = 0;
  std::uint16_t compression = 0;
  std::uint16_t resolutionUnit = 0;
  float pixelsAcross = 0;  ///< 0 where the page does not say it
  float pixelsDown = 0;
  std::string description;
  std::vector<unsigned char> samples;
};

struct Closer {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

template <class Value>
Value field(TIFF* tiff, std::uint32_t tag) {
  Value value{};
  (void)TIFFGetField(tiff, tag, &value);  // a page without it keeps the zero
  return value;
}

Page readPage(TIFF* tiff) {
  Page page;
  page.columns = field<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
  page.rows = field<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
  page.bits = field<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
  page.sampleFormat = field<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
  page.channels = field<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
  page.photometric = field<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC);
  page.compression = field<std::uint16_t>(tiff, TIFFTAG_COMPRESSION);
  page.resolutionUnit = field<std::uint16_t>(tiff, TIFFTAG_RESOLUTIONUNIT);
  page.pixelsAcross = field<float>(tiff, TIFFTAG_XRESOLUTION);
  page.pixelsDown = field<float>(tiff, TIFFTAG_YRESOLUTION);
  const char* const description = field<char*>(tiff, TIFFTAG_IMAGEDESCRIPTION);
  page.description = description == nullptr ? "" : description;
  const auto stripBytes = static_cast<std::size_t>(TIFFStripSize(tiff));
  for (std::uint32_t strip = 0; strip < TIFFNumberOfStrips(tiff); ++strip) {
    std::vector<unsigned char> bytes(stripBytes);
    const tmsize_t count = TIFFReadEncodedStrip(tiff, strip, bytes.data(), -1);
    EXPECT_GE(count, 0) << "strip " << strip;
    page.samples.insert(page.samples.end(), bytes.begin(),
                        bytes.begin() + std::max<tmsize_t>(count, 0));
  }
  return page;
}

std::vector<Page> readTiff(const std::filesystem::path& path) {
  const std::unique_ptr<TIFF, Closer> tiff(TIFFOpen(path.c_str(), "r"));
  std::vector<Page> pages;
  if (!tiff) {
    ADD_FAILURE() << "libtiff does not read it";
    return pages;
  }
  do {
    pages.push_back(readPage(tiff.get()));
  } while (TIFFReadDirectory(tiff.get()) == 1);
  return pages;
}

class Tiff : public FormatFixture {
protected:
  /// Writes the samples, compressed or not, and expects every page to have its own.
  void expectKept(const SampleArray& samples, bool compress) {
    zr::ArrayToWrite array = zr::arrayOf(samples);
    array.compressed = compress;
    const std::vector<Page> pages = readTiff(write("tiff", array));
    ASSERT_EQ(pages.size(), samples.frames);
    for (std::size_t index = 0; index < pages.size(); ++index) {
      const Page& page = pages[index];
      EXPECT_EQ(page.columns, samples.columns);
      EXPECT_EQ(page.rows, samples.rows);
      const unsigned char* const frame = samples.frame(index).bytes;
      EXPECT_TRUE(page.samples == std::vector<unsigned char>(frame, frame + samples.frameBytes()));
    }
  }

  const std::array<unsigned char, 2> twoSamples_ = {1, 2};
  const SampleArray small_ = {twoSamples_.data(), SampleType::kU8, 1, 1, 2, 1};
};

struct TiffType {
  const char* name;
  SampleType type;
  std::uint16_t bits;
  std::uint16_t sampleFormat;
};

class TiffOfType : public Tiff, public testing::WithParamInterface<TiffType> {
protected:
  // 8 bytes a sample at most: two frames of 3 rows and 5 columns.
  const std::vector<unsigned char> bytes_ = scatteredBytes(std::size_t{8} * 2 * 3 * 5);
  const SampleArray samples_ = {bytes_.data(), GetParam().type, 2, 3, 5, 1};
};

TEST_P(TiffOfType, HasAPageOfThatTypeForEachFrame) {
  expectKept(samples_, false);

  const Page page = readTiff(target()).front();
  EXPECT_EQ(page.bits, GetParam().bits);
  EXPECT_EQ(page.sampleFormat, GetParam().sampleFormat);
  EXPECT_EQ(page.photometric, PHOTOMETRIC_MINISBLACK);
  EXPECT_EQ(page.compression, COMPRESSION_NONE);
}

TEST_P(TiffOfType, KeepsEveryBitWhenItIsCompressed) {
  expectKept(samples_, true);

  EXPECT_EQ(readTiff(target()).front().compression, COMPRESSION_ADOBE_DEFLATE);
}

INSTANTIATE_TEST_SUITE_P(
    Types, TiffOfType,
    testing::Values(TiffType{"Unsigned8", SampleType::kU8, 8, SAMPLEFORMAT_UINT},
                    TiffType{"Signed8", SampleType::kS8, 8, SAMPLEFORMAT_INT},
                    TiffType{"Unsigned16", SampleType::kU16, 16, SAMPLEFORMAT_UINT},
                    TiffType{"Signed16", SampleType::kS16, 16, SAMPLEFORMAT_INT},
                    TiffType{"Unsigned32", SampleType::kU32, 32, SAMPLEFORMAT_UINT},
                    TiffType{"Signed32", SampleType::kS32, 32, SAMPLEFORMAT_INT},
                    TiffType{"Float32", SampleType::kF32, 32, SAMPLEFORMAT_IEEEFP},
                    TiffType{"Float64", SampleType::kF64, 64, SAMPLEFORMAT_IEEEFP}),
    support::nameOf<TiffType>);

struct TiffSize {
  const char* name;
  std::size_t rows;
  std::size_t columns;
  std::size_t channels;
};

class TiffOfSize : public Tiff, public testing::WithParamInterface<TiffSize> {};

TEST_P(TiffOfSize, KeepsEverySample) {
  const TiffSize& size = GetParam();
  const std::vector<unsigned char> bytes =
      scatteredBytes(2 * size.rows * size.columns * size.channels);
  const SampleArray samples = {bytes.data(), SampleType::kU16, 1,
                               size.rows,    size.columns,     size.channels};

  expectKept(samples, false);
  expectKept(samples, true);
}

INSTANTIATE_TEST_SUITE_P(Sizes, TiffOfSize,
                         testing::Values(TiffSize{"OnePixel", 1, 1, 1},
                                         TiffSize{"OneColourPixel", 1, 1, 3},
                                         // Strips have 131 rows: the last one has 39.
                                         TiffSize{"SeveralStrips", 301, 1000, 1},
                                         TiffSize{"RowsLongerThanAStrip", 3, 65536, 3},
                                         TiffSize{"MoreColumnsThanSixteenBitsCount", 1, 65536, 1}),
                         support::nameOf<TiffSize>);

TEST_F(Tiff, OfColourIsRgb) {
  const std::array<unsigned char, 6> bytes = {1, 2, 3, 4, 5, 6};

  const std::vector<Page> pages =
      readTiff(write("tiff", zr::arrayOf({bytes.data(), SampleType::kU8, 1, 1, 2, 3})));

  EXPECT_EQ(pages.front().photometric, PHOTOMETRIC_RGB);
  EXPECT_EQ(pages.front().channels, 3);
  EXPECT_THAT(pages.front().samples, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST_F(Tiff, HasPixelsPerCentimetre) {
  zr::ArrayDescription description;
  description.spacingMm = {0.5, 0.25, zr::ArrayDescription::kUnknown};

  const Page page = readTiff(write("tiff", zr::arrayOf(small_, description))).front();

  EXPECT_EQ(page.resolutionUnit, RESUNIT_CENTIMETER);
  EXPECT_EQ(page.pixelsAcross, 20);
  EXPECT_EQ(page.pixelsDown, 40);
}

TEST_F(Tiff, InventsNoResolution) {
  const Page page = readTiff(write("tiff", zr::arrayOf(small_))).front();

  EXPECT_EQ(page.pixelsAcross, 0);
  EXPECT_EQ(page.pixelsDown, 0);
}

TEST_F(Tiff, DescribesTheArrayInItsFirstPage) {
  const std::array<unsigned char, 2> bytes = {1, 2};
  zr::ArrayDescription description;
  description.spacingMm = {0.5, 0.25, zr::ArrayDescription::kUnknown};
  description.content = "a\nb";
  description.attributes = {{"modality unit", "HU"}};

  const std::vector<Page> pages = readTiff(
      write("tiff", zr::arrayOf({bytes.data(), SampleType::kU8, 2, 1, 1, 1}, description)));

  EXPECT_EQ(pages[0].description, "content: a b\nspacings: 0.5 0.25 unknown\nmodality unit: HU\n");
  EXPECT_THAT(pages[1].description, IsEmpty());
}

TEST_F(Tiff, BelowFourGibibytesIsClassic) {
  const std::string bytes = bytesAs("tiff", zr::arrayOf(small_));

  EXPECT_THAT(bytes.substr(0, 4), testing::AnyOf(std::string("II*\0", 4), std::string("MM\0*", 4)));
}

TEST_F(Tiff, HoldsThousandsOfPages) {
  const std::vector<unsigned char> bytes = scatteredBytes(3000);

  expectKept({bytes.data(), SampleType::kU8, 3000, 1, 1, 1}, false);
}

TEST_F(Tiff, ComesOutOfWhatCannotSeek) {
  try {
    zr::writeArray(*zr::formatNamed("tiff"), "/dev/full", zr::ProtectedInputs(),
                   zr::arrayOf(small_));
    FAIL() << "a full disk took it";
  } catch (const zr::Error& error) {
    EXPECT_STREQ(error.what(), "cannot write /dev/full: No space left on device");
  }
}

/// Files of this process grow no further while this is there.
class FileSizeLimit {
public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    (void)getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit lower = {bytes, before_.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &lower), 0);
  }
  ~FileSizeLimit() {
    (void)setrlimit(RLIMIT_FSIZE, &before_);
    (void)std::signal(SIGXFSZ, handler_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  FileSizeLimit(FileSizeLimit&&) = delete;
  FileSizeLimit& operator=(FileSizeLimit&&) = delete;

private:
  rlimit before_{};
  void (*handler_)(int);
};

TEST_F(Tiff, ThatDoesNotFitLeavesNothing) {
  const std::vector<unsigned char> bytes = scatteredBytes(100000);
  const FileSizeLimit limit(50000);
  try {
    (void)write("tiff", zr::arrayOf({bytes.data(), SampleType::kU8, 1, 100, 1000, 1}));
    FAIL() << "written beyond the limit";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::CannotWrite);
    EXPECT_EQ(error.what(), "cannot write " + target().string() + ": File too large");
  }
  EXPECT_THAT(support::namesIn(folder_.path()), IsEmpty());
}

// The directory of the last page comes last of all.
TEST_F(Tiff, WhoseDirectoryDoesNotFitLeavesNothing) {
  const std::vector<unsigned char> bytes = scatteredBytes(100000);
  const FileSizeLimit limit(100020);

  EXPECT_THROW((void)write("tiff", zr::arrayOf({bytes.data(), SampleType::kU8, 1, 100, 1000, 1})),
               zr::Error);

  EXPECT_THAT(support::namesIn(folder_.path()), IsEmpty());
}

struct ImpossibleTiff {
  const char* name;
  std::size_t rows;
  std::size_t columns;
  const char* reason;
};

class TiffThatCannotBe : public Tiff, public testing::WithParamInterface<ImpossibleTiff> {};

TEST_P(TiffThatCannotBe, IsRefusedWithAReason) {
  SampleArray layout = small_;
  layout.rows = GetParam().rows;
  layout.columns = GetParam().columns;
  try {
    (void)write("tiff", zr::arrayOf(layout));
    FAIL() << "written";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.what(), "cannot make " + target().string() + ": " + GetParam().reason);
  }
  EXPECT_THAT(support::namesIn(folder_.path()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, TiffThatCannotBe,
    testing::Values(ImpossibleTiff{"NoRows", 0, 2, "TIFF: Bad value 0 for \"RowsPerStrip\" tag"},
                    ImpossibleTiff{"NoColumns", 1, 0, "Computed scanline size is zero"},
                    ImpossibleTiff{"TooManyColumns", 1, std::size_t{1} << 32U,
                                   "TIFF holds at most 4294967295 rows and columns"},
                    ImpossibleTiff{"TooManyRows", std::size_t{1} << 32U, 1,
                                   "TIFF holds at most 4294967295 rows and columns"}),
    support::nameOf<ImpossibleTiff>);

TEST_F(Tiff, WhoseFramesEndEarlyLeavesNothing) {
  const auto frameAt = [this](std::size_t index) {
    if (index == 1) {
      throw zr::Error(zr::Reason::Undecodable, "damaged");
    }
    return small_;
  };
  SampleArray layout = small_;
  layout.frames = 2;

  EXPECT_THROW((void)write("tiff", {layout, frameAt, {}}), zr::Error);

  EXPECT_THAT(support::namesIn(folder_.path()), IsEmpty());
}

}  // namespace
