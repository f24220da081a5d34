// SPDX-License-Identifier: BSD-3-Clause
// ICC profiles in the files of colour pictures, read back by the libraries of the formats.
#include "imaging/formats/FormatFixture.h"
#include "imaging/formats/ReadJpeg.h"
#include "support/RowName.h"

#include <gmock/gmock.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <tiffio.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using zr::SampleType;
using Profile = std::vector<unsigned char>;

void setNumber(Profile& profile, std::size_t at, std::uint32_t number) {
  for (std::size_t i = 0; i < 4; ++i) {
    profile[at + i] = static_cast<unsigned char>(number >> (24 - 8 * i));
  }
}

void setText(Profile& profile, std::size_t at, const std::string& text) {
  std::copy(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(at));
}

/// A profile of a display for RGB (ICC.1, 7.2) that has no tags; behind them is something that no
/// reader looks at, and that does not shrink to less than readers take for a profile.
Profile profileOf(std::size_t bytes) {
  Profile profile = scatteredBytes(bytes);
  std::fill_n(profile.begin(), 132, static_cast<unsigned char>(0));
  setNumber(profile, 0, static_cast<std::uint32_t>(bytes));
  setNumber(profile, 8, 0x02100000);  // version 2.1
  setText(profile, 12, "mntrRGB XYZ ");
  setText(profile, 36, "acsp");
  setNumber(profile, 68, 0xF6D6);  // the illuminant D50
  setNumber(profile, 72, 0x10000);
  setNumber(profile, 76, 0xD32D);
  return profile;
}

std::string textOf(const Profile& profile) {
  return {profile.begin(), profile.end()};
}

// ---- readers ----

std::string profileInJpeg(const std::filesystem::path& path) {
  return readJpeg(support::readFile(path)).iccProfile;
}

std::string profileInPng(const std::filesystem::path& path) {
  png_structp png = png_create_read_struct(
      PNG_LIBPNG_VER_STRING, nullptr, [](png_structp, png_const_charp) { std::abort(); }, nullptr);
  png_infop info = png_create_info_struct(png);
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  png_init_io(png, file);
  png_read_info(png, info);
  png_charp name = nullptr;
  int compression = 0;
  png_bytep bytes = nullptr;
  png_uint_32 count = 0;
  const bool found = png_get_iCCP(png, info, &name, &compression, &bytes, &count) == PNG_INFO_iCCP;
  std::string profile = found ? std::string(reinterpret_cast<char*>(bytes), count) : "";
  (void)std::fclose(file);
  png_destroy_read_struct(&png, &info, nullptr);
  return profile;
}

std::string profileInTiff(const std::filesystem::path& path) {
  TIFF* const tiff = TIFFOpen(path.c_str(), "r");
  if (tiff == nullptr) {
    throw std::runtime_error("libtiff does not read it");
  }
  std::uint32_t count = 0;
  void* bytes = nullptr;
  std::string profile;
  if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &count, &bytes) == 1) {
    profile.assign(static_cast<char*>(bytes), count);
  }
  TIFFClose(tiff);
  return profile;
}

struct ProfileReader {
  const char* name;
  const char* format;
  std::string (*read)(const std::filesystem::path& path);
};

class IccProfileIn : public FormatFixture, public testing::WithParamInterface<ProfileReader> {
protected:
  std::string written(const Profile& profile, std::size_t channels = 3) {
    const std::array<unsigned char, 3> pixel = {1, 2, 3};
    zr::ArrayToWrite array = zr::arrayOf({pixel.data(), SampleType::kU8, 1, 1, 1, channels});
    array.description.iccProfile = profile;
    array.remark = [this](const std::string& text) { remarks_.push_back(text); };
    return GetParam().read(write(GetParam().format, array));
  }

  std::vector<std::string> remarks_;
};

TEST_P(IccProfileIn, IsThatOfTheImage) {
  EXPECT_EQ(written(profileOf(300)), textOf(profileOf(300)));
  EXPECT_THAT(remarks_, IsEmpty());
}

// A segment of JPEG takes 65,519 bytes of it.
TEST_P(IccProfileIn, IsWholeHoweverLarge) {
  EXPECT_EQ(written(profileOf(200000)), textOf(profileOf(200000)));
}

// Values of DICOM have an even length (PS3.5 section 7.1.1).
TEST_P(IccProfileIn, IsWithoutTheByteOfPadding) {
  Profile padded = profileOf(300);
  padded.push_back(0);

  EXPECT_EQ(written(padded), textOf(profileOf(300)));
}

TEST_P(IccProfileIn, IsNoneOfGrey) {
  EXPECT_THAT(written(profileOf(300), 1), IsEmpty());
  EXPECT_THAT(remarks_, IsEmpty());
}

TEST_P(IccProfileIn, IsLeftOutWithARemarkWhenItIsBroken) {
  Profile broken = profileOf(300);
  setText(broken, 36, "ACSP");

  EXPECT_THAT(written(broken), IsEmpty());
  EXPECT_THAT(remarks_, ElementsAre("the ICC profile is left out: its signature is missing"));
}

INSTANTIATE_TEST_SUITE_P(Formats, IccProfileIn,
                         testing::Values(ProfileReader{"Jpeg", "jpeg", profileInJpeg},
                                         ProfileReader{"Png", "png", profileInPng},
                                         ProfileReader{"Tiff", "tiff", profileInTiff}),
                         support::nameOf<ProfileReader>);

// ---- broken ones ----

struct BrokenProfile {
  const char* name;
  std::function<void(Profile& profile)> breakIt;
  const char* fault;
};

class IccProfileThat : public FormatFixture, public testing::WithParamInterface<BrokenProfile> {};

TEST_P(IccProfileThat, IsLeftOut) {
  Profile profile = profileOf(144);
  setNumber(profile, 128, 1);
  setNumber(profile, 136, 144);  // a tag of no bytes, at the end
  GetParam().breakIt(profile);
  const std::array<unsigned char, 3> pixel = {1, 2, 3};
  zr::ArrayToWrite array = zr::arrayOf({pixel.data(), SampleType::kU8, 1, 1, 1, 3});
  array.description.iccProfile = profile;
  std::vector<std::string> remarks;
  array.remark = [&remarks](const std::string& text) { remarks.push_back(text); };

  EXPECT_THAT(profileInJpeg(write("jpeg", array)), IsEmpty());
  EXPECT_THAT(remarks,
              ElementsAre(std::string("the ICC profile is left out: ") + GetParam().fault));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, IccProfileThat,
    testing::Values(
        BrokenProfile{"HasNoHeader", [](Profile& profile) { profile.resize(131); },
                      "it is too short"},
        BrokenProfile{"StatesMore", [](Profile& profile) { setNumber(profile, 0, 145); },
                      "it does not have the size that it states"},
        BrokenProfile{"StatesLess", [](Profile& profile) { setNumber(profile, 0, 142); },
                      "it does not have the size that it states"},
        BrokenProfile{"StatesNothing", [](Profile& profile) { setNumber(profile, 0, 0); },
                      "it does not have the size that it states"},
        BrokenProfile{"IsForPrintingInks", [](Profile& profile) { setText(profile, 16, "CMYK"); },
                      "it is not for RGB"},
        BrokenProfile{"HasATableBeyondItsEnd", [](Profile& profile) { setNumber(profile, 128, 2); },
                      "its tags are not within it"},
        BrokenProfile{"HasMoreTagsThanThirtyTwoBitsCount",
                      [](Profile& profile) { setNumber(profile, 128, 0x15555556); },
                      "its tags are not within it"},
        BrokenProfile{"HasATagThatBeginsBehindIt",
                      [](Profile& profile) { setNumber(profile, 136, 145); },
                      "its tags are not within it"},
        BrokenProfile{"HasATagThatEndsBehindIt",
                      [](Profile& profile) { setNumber(profile, 140, 1); },
                      "its tags are not within it"},
        BrokenProfile{"IsLargerThanAnyFormatTakes",
                      [](Profile& profile) {
                        profile.resize(std::size_t{17} << 20U);
                        setNumber(profile, 0, std::uint32_t{17} << 20U);
                      },
                      "it is too large"}),
    support::nameOf<BrokenProfile>);

// libpng looks at more than lengths: a profile of a colour transformation is none of pictures.
TEST_F(FormatFixture, LeavesOutAnIccProfileThatLibpngRefuses) {
  const std::array<unsigned char, 3> pixel = {1, 2, 3};
  zr::ArrayToWrite array = zr::arrayOf({pixel.data(), SampleType::kU8, 1, 1, 1, 3});
  array.description.iccProfile = profileOf(300);
  setText(array.description.iccProfile, 12, "abst");
  std::string remark;
  array.remark = [&remark](const std::string& text) { remark = text; };

  EXPECT_THAT(profileInPng(write("png", array)), IsEmpty());
  EXPECT_THAT(remark, testing::StartsWith("the ICC profile is left out: "));
  EXPECT_THAT(remark, testing::HasSubstr("invalid embedded Abstract ICC profile"));
}

}  // namespace
