// SPDX-License-Identifier: BSD-3-Clause
// Why an image does not decode: the cause that is in the file. That every verb tells it: the test
// of the same name in tests/tools.
#include "support/Compression.h"
#include "support/CorpusFixture.h"
#include "support/Files.h"
#include "support/ImageBuilder.h"
#include "support/RawFile.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "zrimaging/images/Explanation.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>
#include <zrimaging/Codecs.h>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Image.h>

namespace {

using support::encapsulated;
using support::fileOf;
using support::ImageBuilder;
using support::littleEndian;
using testing::HasSubstr;

class Explanation : public testing::Test {
protected:
  std::string file() const { return folder_.file("in.dcm").string(); }

  /// What decoding says of the file.
  std::string reason() const { return reasonOf(file()); }

  static std::string reasonOf(const std::filesystem::path& file) {
    try {
      (void)zr::Image(zr::File(file)).decode({}, {});
    } catch (const zr::Error& error) {
      return error.what();
    }
    return "";
  }

  support::TempDir folder_;
};

// --- attributes
// -----------------------------------------------------------------------------------

struct Obstacle {
  const char* name;
  std::function<ImageBuilder()> image;
  const char* reason;
  bool withoutPixelData = false;
};

void PrintTo(const Obstacle& obstacle, std::ostream* stream) {
  *stream << obstacle.name;
}

class ExplainedAttributes : public Explanation, public testing::WithParamInterface<Obstacle> {};

TEST_P(ExplainedAttributes, NameTheCause) {
  const auto dataset = GetParam().image().build();
  if (GetParam().withoutPixelData) {
    ASSERT_TRUE(dataset->findAndDeleteElement(DCM_PixelData).good());
  }
  support::saveFile(*dataset, file());

  EXPECT_EQ(reason(), GetParam().reason);
}

ImageBuilder ct() {
  return support::ctSlice(2, 2);
}

ImageBuilder withSegmentedPalette() {
  return support::paletteImage(2, 2)
      .without(DCM_RedPaletteColorLookupTableData)
      .without(DCM_GreenPaletteColorLookupTableData)
      .without(DCM_BluePaletteColorLookupTableData)
      .withWords(DCM_SegmentedRedPaletteColorLookupTableData, {0, 1, 5});
}

INSTANTIATE_TEST_SUITE_P(
    Samples, ExplainedAttributes,
    testing::Values(
        Obstacle{"Float",
                 [] {
                   return ct()

                       .withElement(std::make_unique<DcmFloatingPointSingle>(DCM_FloatPixelData));
                 },
                 "CTImageStorage has Float Pixel Data (7FE0,0008), of 32 bits each, but Bits "
                 "Allocated (0028,0100) is 16",
                 true},
        Obstacle{
            "DoubleFloat",
            [] {
              return ct()

                  .withElement(std::make_unique<DcmFloatingPointDouble>(DCM_DoubleFloatPixelData));
            },
            "CTImageStorage has Double Float Pixel Data (7FE0,0009), of 64 bits each, but Bits "
            "Allocated (0028,0100) is 16",
            true},
        Obstacle{"AtAServer",
                 [] {
                   return ct()

                       .with(DCM_PixelDataProviderURL, "https://example.org/1");
                 },
                 "CTImageStorage has its pixels at a server (Pixel Data Provider URL (0028,7FE0)), "
                 "not in the file; fetch them first",
                 true},
        Obstacle{"None", [] { return ct(); },
                 "CTImageStorage has no Pixel Data (7FE0,0010), though it is an image: only its "
                 "header is there",
                 true},
        Obstacle{"NoneAndAClassThatIsNoUid",
                 [] {
                   return ct()

                       .withBytes(DCM_SOPClassUID, {0x31, 0x2E, 0x32, 0x2E}, EVR_UN);
                 },
                 "has no Pixel Data (7FE0,0010), and no SOP Class UID says what it is", true},
        Obstacle{"NoneAndNoClass", [] { return ct().without(DCM_SOPClassUID); },
                 "has no Pixel Data (7FE0,0010), and no SOP Class UID says what it is", true},
        Obstacle{"Empty", [] { return ct().withPixels16({}); },
                 "CTImageStorage has empty Pixel Data (7FE0,0010)"},
        Obstacle{
            "Of12Bits", [] { return ct().withUint16(DCM_BitsAllocated, 12); },
            "CTImageStorage has samples of 12 bits (Bits Allocated (0028,0100)); those of 1, 8, "
            "16 and 32 bits are decoded"}),
    support::nameOf<Obstacle>);

INSTANTIATE_TEST_SUITE_P(
    Images, ExplainedAttributes,
    testing::Values(
        Obstacle{
            "NoColumns", [] { return ct().without(DCM_Columns); },
            "CTImageStorage has Pixel Data, but lacks what an image needs: Columns (0028,0011)"},
        Obstacle{"NothingThatAnImageNeeds",
                 [] {
                   return ct()
                       .without(DCM_SamplesPerPixel)
                       .without(DCM_Rows)
                       .without(DCM_Columns)
                       .without(DCM_BitsAllocated)
                       .without(DCM_PhotometricInterpretation);
                 },
                 "CTImageStorage has Pixel Data, but lacks what an image needs: Samples per Pixel "
                 "(0028,0002), Rows (0028,0010), Columns (0028,0011), Bits Allocated (0028,0100), "
                 "Photometric Interpretation (0028,0004)"},
        Obstacle{
            "NoRowsOfColour",
            [] { return support::rgbImage(2, 2).without(DCM_SOPClassUID).withUint16(DCM_Rows, 0); },
            "has an image without pixels"},
        Obstacle{"DamagedPalette", [] { return withSegmentedPalette().without(DCM_SOPClassUID); },
                 "has a palette in segments that is damaged: of red, its segments make 1 of 256 "
                 "entries"},
        Obstacle{"NoPalette",
                 [] {
                   return withSegmentedPalette()
                       .without(DCM_SOPClassUID)
                       .without(DCM_SegmentedRedPaletteColorLookupTableData);
                 },
                 "has no palette: Red Palette Color Lookup Table Data (0028,1201) is missing"},
        Obstacle{"TooShort",
                 [] {
                   return ct().withPixels16({1, 2, 3});
                 },
                 "Pixel data incomplete, expected 8 bytes, found 6 bytes"}),
    support::nameOf<Obstacle>);

TEST_F(Explanation, OfPixelDataOfUnknownVrNamesTheVr) {
  const std::string unknown = littleEndian(0x00107FE0, 4) + std::string("UN\0\0", 4) +
                              littleEndian(8, 4) + std::string(8, '\1');
  support::writeFile(file(), fileOf(ct(), UID_LittleEndianExplicitTransferSyntax, unknown));

  EXPECT_EQ(reason(),
            "CTImageStorage has Pixel Data (7FE0,0010) with VR UN; only OB and OW are pixels");
}

// --- transfer syntaxes
// ----------------------------------------------------------------------------

struct Syntax {
  const char* name;
  const char* uid;
  const char* text;  // null: not known
};

class SyntaxWithoutDecoder : public Explanation, public testing::WithParamInterface<Syntax> {};

TEST_P(SyntaxWithoutDecoder, IsNamedByItsOwnUid) {
  support::writeFile(file(), fileOf(ct(), GetParam().uid, encapsulated({"abcd"})));

  const std::string expected =
      GetParam().text == nullptr
          ? "CTImageStorage is in transfer syntax " + std::string(GetParam().uid) +
                ", which is not known here"
          : "CTImageStorage is compressed as " + std::string(GetParam().text) + " (" +
                GetParam().uid +
                "), for which there is no decoder; convert it to an uncompressed transfer syntax "
                "first";
  EXPECT_EQ(reason(), expected);
  const zr::TransferSyntaxName syntax = zr::transferSyntaxOf(zr::File(file()));
  EXPECT_EQ(syntax.uid, GetParam().uid);
  EXPECT_EQ(syntax.name, GetParam().text == nullptr ? "" : GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, SyntaxWithoutDecoder,
    testing::Values(Syntax{"Mpeg2", "1.2.840.10008.1.2.4.100", "MPEG2 Main Profile @ Main Level"},
                    Syntax{"HierarchicalJpeg", "1.2.840.10008.1.2.4.65",
                           "JPEG Lossless, Hierarchical, Process 28"},
                    Syntax{"EncapsulatedUncompressed", "1.2.840.10008.1.2.1.98",
                           "Encapsulated Uncompressed Explicit VR Little Endian"},
                    Syntax{"JpipHtJpeg2000", "1.2.840.10008.1.2.4.204", "JPIP HTJ2K Referenced"},
                    Syntax{"JpipHtJpeg2000Deflate", "1.2.840.10008.1.2.4.205",
                           "JPIP HTJ2K Referenced Deflate"},
                    Syntax{"Unknown", "1.2.3.4.5", nullptr}),
    support::nameOf<Syntax>);

class SyntaxOfACodec : public Explanation, public testing::WithParamInterface<Syntax> {};

TEST_P(SyntaxOfACodec, IsNotBlamedForADamagedStream) {
  if (zr::decoderLibraries().empty()) {
    GTEST_SKIP() << "built without codecs";
  }
  support::writeFile(file(), fileOf(ct(), GetParam().uid, encapsulated({"abcd"})));

  EXPECT_EQ(reason(), "CTImageStorage has " + std::string(GetParam().text) + " (" + GetParam().uid +
                          ") data that does not decode: it is damaged, or of a kind that the "
                          "decoder does not know");
  const zr::TransferSyntaxName syntax = zr::transferSyntaxOf(zr::File(file()));
  EXPECT_EQ(syntax.uid, GetParam().uid);
  EXPECT_EQ(syntax.name, GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, SyntaxOfACodec,
    testing::Values(Syntax{"Jpeg2000Lossless", "1.2.840.10008.1.2.4.90",
                           "JPEG 2000 (Lossless only)"},
                    Syntax{"Jpeg2000", "1.2.840.10008.1.2.4.91", "JPEG 2000 (Lossless or Lossy)"},
                    Syntax{"HtJpeg2000Lossless", "1.2.840.10008.1.2.4.201",
                           "High-Throughput JPEG 2000 (Lossless Only)"},
                    Syntax{"HtJpeg2000Rpcl", "1.2.840.10008.1.2.4.202",
                           "High-Throughput JPEG 2000 with RPCL Options (Lossless Only)"},
                    Syntax{"HtJpeg2000", "1.2.840.10008.1.2.4.203", "High-Throughput JPEG 2000"}),
    support::nameOf<Syntax>);

// --- compressed data
// ------------------------------------------------------------------------------

class CompressedData : public Explanation {
protected:
  /// Saves the image compressed, with one attribute changed afterwards.
  void save(const ImageBuilder& image, E_TransferSyntax syntax, const DcmTagKey& key,
            const char* value) {
    const auto dataset = support::compress(*image.build(), syntax);
    DcmTag tag(key);
    ASSERT_TRUE(dataset->putAndInsertString(tag, value).good());
    support::saveFile(*dataset, file(), syntax);
  }
};

ImageBuilder bytes(unsigned frames = 1) {
  return support::ctSlice(16, 16).unsigned8().frames(frames);
}

TEST_F(CompressedData, OfFewerFramesIsSaidToBeSo) {
  for (const E_TransferSyntax syntax :
       {EXS_RLELossless, EXS_JPEGProcess14SV1, EXS_JPEGLSLossless}) {
    save(bytes(3), syntax, DCM_NumberOfFrames, "4");

    EXPECT_EQ(reason(),
              "CTImageStorage has compressed data of 3 frames, but Number of Frames (0028,0008) is "
              "4");
  }
}

TEST_F(CompressedData, OfOtherRowsIsSaidToBeSo) {
  save(bytes(2), EXS_JPEGProcess14SV1, DCM_Rows, "17");

  EXPECT_EQ(reason(),
            "CTImageStorage has a compressed frame (number 0) of 16 rows, where Rows says 17");
}

TEST_F(CompressedData, OfOtherColumnsIsSaidToBeSo) {
  save(bytes(), EXS_JPEGLSLossless, DCM_Columns, "24");

  EXPECT_EQ(
      reason(),
      "CTImageStorage has a compressed frame (number 0) of 16 columns, where Columns says 24");
}

TEST_F(CompressedData, ThatIsGreyWhereColourIsSaidIsSaidToBeSo) {
  const auto dataset = support::compress(*bytes().build(), EXS_JPEGProcess14SV1);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_SamplesPerPixel, 3).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_PlanarConfiguration, 0).good());
  ASSERT_TRUE(dataset->putAndInsertString(DCM_PhotometricInterpretation, "RGB").good());
  support::saveFile(*dataset, file(), EXS_JPEGProcess14SV1);

  EXPECT_EQ(reason(),
            "CTImageStorage has a compressed frame (number 0) of 1 sample a pixel, where Samples "
            "per Pixel says 3");
}

TEST_F(CompressedData, OfMoreBitsThanAllocatedIsSaidToBeSo) {
  save(support::ctSlice(16, 16), EXS_JPEGLSLossless, DCM_BitsAllocated, "8");

  EXPECT_EQ(reason(),
            "CTImageStorage has a compressed frame (number 0) of 16 bits a sample, where Bits "
            "Allocated says 8");
}

TEST_F(CompressedData, WithoutSenseIsCalledDamaged) {
  support::writeFile(file(),
                     fileOf(bytes(), UID_RLELosslessTransferSyntax, encapsulated({"abcd"})));

  EXPECT_EQ(
      reason(),
      "CTImageStorage has RLE Lossless (1.2.840.10008.1.2.5) data that does not decode: it is "
      "damaged, or of a kind that the decoder does not know");
}

// Streams that end or lie anywhere: the header is not found, or found, and nothing is read beyond.
TEST_F(CompressedData, ThatEndsInItsHeaderIsCalledDamaged) {
  const std::string start("\xFF\xD8\xFF\xC3\x00\x0B\x08\x00\x10\x00\x10\x01", 12);
  for (std::size_t length = 2; length < 10; length += 2) {
    support::writeFile(file(), fileOf(bytes(), UID_JPEGProcess14SV1TransferSyntax,
                                      encapsulated({start.substr(0, length)})));

    EXPECT_THAT(reason(), HasSubstr("does not decode: it is damaged")) << length;
  }
}

// --- real files
// -----------------------------------------------------------------------------------

struct RealFile {
  const char* name;
  const char* file;
  const char* reason;
};

class RealFileThatIsRefused : public support::CorpusFixture,
                              public testing::WithParamInterface<RealFile> {};

TEST_P(RealFileThatIsRefused, HasItsCauseTold) {
  const std::filesystem::path file = corpus() / "files" / GetParam().file;

  try {
    (void)zr::Image(zr::File(file)).decode({}, {});
    FAIL() << "decodes";
  } catch (const zr::Error& error) {
    EXPECT_STREQ(error.what(), GetParam().reason);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Files, RealFileThatIsRefused,
    testing::Values(RealFile{
        "Plan", "rt__rtplan.dcm",
        "RTPlanStorage is a radiotherapy plan, and has no pixels; zrdcm info describes it"}),
    support::nameOf<RealFile>);

}  // namespace
