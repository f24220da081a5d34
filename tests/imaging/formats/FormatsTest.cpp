// SPDX-License-Identifier: BSD-3-Clause
// The table of output formats, and what each row writes.
#include "imaging/formats/FormatFixture.h"
#include "support/RowName.h"
#include "zrimaging/Error.h"
#include "zrimaging/Output.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>
#include <vector>
#include <zlib.h>
#include <zrimaging/Formats.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using zr::OutputFormat;
using zr::SampleArray;
using zr::SampleType;

std::vector<std::string> namesOf(const std::vector<const OutputFormat*>& formats) {
  std::vector<std::string> names;
  for (const OutputFormat* format : formats) {
    names.emplace_back(format->name);
  }
  return names;
}

/// Two frames of one row with three samples of two bytes.
class WrittenArray : public FormatFixture {
protected:
  SampleArray samples() const {
    return {reinterpret_cast<const unsigned char*>(values_.data()), SampleType::kU16, 2, 1, 3, 1};
  }

  std::array<std::uint16_t, 6> values_ = {0x0102, 3, 4, 5, 6, 0xFFFE};
};

constexpr char kSamplesInLittleEndian[] = "\x02\x01\x03\x00\x04\x00\x05\x00\x06\x00\xFE\xFF";
const std::string kSampleBytes(kSamplesInLittleEndian, 12);

TEST(Formats, AreListedInTheOrderOfTheirRows) {
  const std::vector<std::string> names = namesOf(zr::formats());

  EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 6),
            (std::vector<std::string>{"npy", "nrrd", "raw", "png", "tiff", "jpeg"}));
}

TEST(Formats, AreFoundByWhatTheyHold) {
  EXPECT_THAT(namesOf(zr::formatsWith(zr::kForEyes)), ElementsAre("png", "jpeg"));
  EXPECT_THAT(namesOf(zr::formatsWith(zr::kDescription)), ElementsAre("nrrd", "tiff"));
  EXPECT_THAT(namesOf(zr::formatsWith(zr::kDescription | zr::kForEyes)), IsEmpty());
}

TEST(Formats, AreFoundByEndingInCapitalsOrNot) {
  EXPECT_STREQ(zr::formatOf("folder.png/a.NRRD")->name, "nrrd");
  EXPECT_STREQ(zr::formatOf("a.Tif")->name, "tiff");
  EXPECT_STREQ(zr::formatOf("a.tiff")->name, "tiff");
  EXPECT_STREQ(zr::formatOf("a.JPG")->name, "jpeg");
  EXPECT_STREQ(zr::formatOf("a.jpeg")->name, "jpeg");
  EXPECT_EQ(zr::formatOf("a.bmp"), nullptr);
  EXPECT_EQ(zr::formatOf("npy"), nullptr);
}

TEST(Formats, AreFoundByName) {
  EXPECT_STREQ(zr::formatNamed("raw")->ending, ".raw");
  EXPECT_EQ(zr::formatNamed("tif"), nullptr);
}

TEST_F(WrittenArray, AsRawIsTheSamplesInLittleEndian) {
  EXPECT_EQ(bytesAs("raw", zr::arrayOf(samples())), kSampleBytes);
}

TEST_F(WrittenArray, AsNpyHasItsShapeInTheHeader) {
  const std::string text = "{'descr': '<u2', 'fortran_order': False, 'shape': (2, 1, 3), }";

  const std::string bytes = bytesAs("npy", zr::arrayOf(samples()));

  EXPECT_EQ(bytes, std::string("\x93NUMPY\x01\x00\x76\x00", 10) + text +
                       std::string(128 - 10 - text.size() - 1, ' ') + "\n" + kSampleBytes);
}

TEST_F(WrittenArray, AsNrrdHasItsDescriptionInTheHeader) {
  zr::ArrayDescription description;
  description.spacingMm = {0.5, 0.25, zr::ArrayDescription::kUnknown};
  description.content = "a\nb";
  description.attributes = {{"modality unit", "HU"}};

  EXPECT_EQ(bytesAs("nrrd", zr::arrayOf(samples(), description)),
            "NRRD0004\ncontent: a b\ntype: uint16\ndimension: 3\nsizes: 3 1 2\n"
            "spacings: 0.5 0.25 nan\nkinds: domain domain domain\nendian: little\nencoding: raw\n"
            "modality unit:=HU\n\n" +
                kSampleBytes);
}

TEST_F(WrittenArray, OfSixteenBitsIsRefusedByJpeg) {
  try {
    (void)bytesAs("jpeg", zr::arrayOf(samples().frame(0)));
    FAIL() << "written";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.what(), "cannot write " + target().string() +
                                ": files of the format jpeg do not hold samples of 16 bits: npy, "
                                "nrrd, raw, png and tiff do");
  }
}

// ---- gzip ----

std::string gunzip(const std::string& bytes) {
  constexpr int kGzipWrapper = 16;
  z_stream state{};
  EXPECT_EQ(inflateInit2(&state, MAX_WBITS + kGzipWrapper), Z_OK);
  std::string copy = bytes;
  std::string inflated(std::size_t{1} << 20U, '\0');
  state.next_in = reinterpret_cast<Bytef*>(copy.data());
  state.avail_in = static_cast<uInt>(copy.size());
  state.next_out = reinterpret_cast<Bytef*>(inflated.data());
  state.avail_out = static_cast<uInt>(inflated.size());
  EXPECT_EQ(inflate(&state, Z_FINISH), Z_STREAM_END);
  EXPECT_EQ(state.avail_in, 0U);
  inflated.resize(state.total_out);
  inflateEnd(&state);
  return inflated;
}

TEST_F(WrittenArray, AsNrrdIsGzipOnRequest) {
  zr::ArrayToWrite array = zr::arrayOf(samples());
  array.compressed = true;

  const std::string bytes = bytesAs("nrrd", array);

  const std::string header =
      "NRRD0004\ntype: uint16\ndimension: 3\nsizes: 3 1 2\nkinds: domain domain domain\n"
      "endian: little\nencoding: gzip\n\n";
  ASSERT_EQ(bytes.substr(0, header.size()), header);
  EXPECT_EQ(gunzip(bytes.substr(header.size())), kSampleBytes);
}

// More than a block that comes out of the compression at a time.
TEST_F(WrittenArray, ThatDoesNotShrinkIsGzipInSeveralBlocks) {
  const std::vector<unsigned char> scattered = scatteredBytes(600000);
  zr::ArrayToWrite array = zr::arrayOf({scattered.data(), SampleType::kU8, 3, 200, 1000, 1});
  array.compressed = true;

  const std::string bytes = bytesAs("nrrd", array);

  EXPECT_TRUE(gunzip(bytes.substr(bytes.find("\n\n") + 2)) ==
              std::string(scattered.begin(), scattered.end()));
}

TEST_F(WrittenArray, IsNotCompressedByAFormatThatCannot) {
  zr::ArrayToWrite array = zr::arrayOf(samples());
  array.compressed = true;
  try {
    (void)bytesAs("npy", array);
    FAIL() << "written";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.what(), "cannot write " + target().string() +
                                ": files of the format npy do not hold samples compressed on "
                                "request: nrrd and tiff do");
  }
}

TEST_F(WrittenArray, ComesFrameByFrame) {
  std::vector<std::size_t> asked;
  const SampleArray all = samples();
  const auto frameAt = [&](std::size_t index) {
    asked.push_back(index);
    return all.frame(index);
  };

  EXPECT_EQ(bytesAs("raw", {all, frameAt, {}}), kSampleBytes);
  EXPECT_THAT(asked, ElementsAre(0U, 1U));
}

TEST_F(WrittenArray, IsRefusedByAFormatThatDoesNotHoldIt) {
  try {
    (void)bytesAs("png", zr::arrayOf(samples()));
    FAIL() << "two frames in one picture";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::Unsupported);
    EXPECT_EQ(
        error.what(),
        "cannot write " + folder_.file("out").string() +
            ": files of the format png do not hold several frames: npy, nrrd, raw and tiff do");
  }
  EXPECT_FALSE(std::filesystem::exists(folder_.file("out")));
}

/// An array of one frame, one row and two samples of a type, and what the files call the type.
struct TypedSamples {
  const char* name;
  SampleType type;
  std::string bytes;  ///< of 1 and -2, or of 1 and 0xFF..FE, in little endian
  const char* npy;
  const char* nrrd;
};

const TypedSamples kTypedSamples[] = {
    {"Unsigned8", SampleType::kU8, {"\x01\xFE", 2}, "|u1", "uint8"},
    {"Signed8", SampleType::kS8, {"\x01\xFE", 2}, "|i1", "int8"},
    {"Unsigned16", SampleType::kU16, {"\x01\0\xFE\xFF", 4}, "<u2", "uint16"},
    {"Signed16", SampleType::kS16, {"\x01\0\xFE\xFF", 4}, "<i2", "int16"},
    {"Unsigned32", SampleType::kU32, {"\x01\0\0\0\xFE\xFF\xFF\xFF", 8}, "<u4", "uint32"},
    {"Signed32", SampleType::kS32, {"\x01\0\0\0\xFE\xFF\xFF\xFF", 8}, "<i4", "int32"},
    {"Float32", SampleType::kF32, {"\0\0\x80\x3F\0\0\0\xC0", 8}, "<f4", "float"},
    {"Float64", SampleType::kF64, {"\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\0\xC0", 16}, "<f8", "double"}};

class SamplesOfAType : public WrittenArray, public testing::WithParamInterface<TypedSamples> {
protected:
  SampleArray samples() const {
    return {reinterpret_cast<const unsigned char*>(GetParam().bytes.data()),
            GetParam().type,
            1,
            1,
            2,
            1};
  }
};

TEST_P(SamplesOfAType, AreRawAsTheyAre) {
  EXPECT_EQ(bytesAs("raw", zr::arrayOf(samples())), GetParam().bytes);
}

TEST_P(SamplesOfAType, AreNpyOfThatType) {
  const std::string bytes = bytesAs("npy", zr::arrayOf(samples()));

  EXPECT_THAT(bytes, HasSubstr(std::string("{'descr': '") + GetParam().npy + "', "));
  EXPECT_EQ(bytes.substr(128), GetParam().bytes);
}

TEST_P(SamplesOfAType, AreNrrdOfThatType) {
  const std::string bytes = bytesAs("nrrd", zr::arrayOf(samples()));

  EXPECT_THAT(bytes, HasSubstr(std::string("\ntype: ") + GetParam().nrrd + "\n"));
  EXPECT_EQ(bytes.substr(bytes.find("\n\n") + 2), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Types, SamplesOfAType, testing::ValuesIn(kTypedSamples),
                         support::nameOf<TypedSamples>);

struct RefusedSamples {
  const char* name;
  SampleType type;
  const char* reason;
};

class SamplesThatNoPictureHolds : public WrittenArray,
                                  public testing::WithParamInterface<RefusedSamples> {};

TEST_P(SamplesThatNoPictureHolds, AreRefusedWithTheFormatsThatDo) {
  const std::vector<unsigned char> bytes(8);
  try {
    (void)bytesAs("png", zr::arrayOf({bytes.data(), GetParam().type, 1, 1, 1, 1}));
    FAIL() << "written";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.what(), "cannot write " + folder_.file("out").string() +
                                ": files of the format png do not hold " + GetParam().reason);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Types, SamplesThatNoPictureHolds,
    testing::Values(RefusedSamples{"Unsigned32", SampleType::kU32,
                                   "samples of 32 bits: npy, nrrd, raw and tiff do"},
                    RefusedSamples{"Signed32", SampleType::kS32,
                                   "samples of 32 bits: npy, nrrd, raw and tiff do"},
                    RefusedSamples{"Float32", SampleType::kF32,
                                   "floating-point samples: npy, nrrd, raw and tiff do"},
                    RefusedSamples{"Float64", SampleType::kF64,
                                   "floating-point samples: npy, nrrd, raw and tiff do"}),
    support::nameOf<RefusedSamples>);

TEST_F(WrittenArray, AsPictureIsPng) {
  const std::filesystem::path target = folder_.file("out");

  zr::writePicture(target, zr::ProtectedInputs(), samples().frame(1));

  std::ifstream stream(target, std::ios::binary);
  std::string header(29, '\0');
  stream.read(header.data(), 29);
  // Signature, IHDR: 3 columns, 1 row, 16 bits, gray.
  EXPECT_EQ(header,
            std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\0\0\0\x03\0\0\0\x01\x10\0\0\0\0", 29));
}

// ---- a format of a program's own ----

void writeCount(const std::filesystem::path& target, const zr::ProtectedInputs& inputs,
                const zr::ArrayToWrite& array) {
  zr::OutputFile file(target, inputs);
  file.write(std::to_string(array.layout.frames));
  file.commit();
}

TEST_F(WrittenArray, AsAFormatOfOnesOwnNeedsOneRow) {
  static const OutputFormat count = {"count", ".count", zr::kSixteenBits | zr::kSeveralFrames,
                                     "the number of frames", writeCount};

  zr::addFormat(count);

  EXPECT_EQ(zr::formatOf("a.count"), &count);
  EXPECT_EQ(zr::formats().back(), &count);
  EXPECT_EQ(bytesAs("count", zr::arrayOf(samples())), "2");
  EXPECT_THROW(zr::addFormat(count), zr::Error);
}

}  // namespace
