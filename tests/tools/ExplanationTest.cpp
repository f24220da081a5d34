// SPDX-License-Identifier: BSD-3-Clause
// Why an image does not decode: the cause that stands in the file, told alike by decode and info; and what
// info says of objects that have no pixels to decode.
#include "support/Compression.h"
#include "support/CorpusFixture.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using support::ImageBuilder;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using tools::Outcome;
using tools::runZrdcm;

std::string littleEndian(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) {
    text += static_cast<char>(value >> (8 * i) & 0xFFU);
  }
  return text;
}

/// Compressed pixel data of these fragments behind an empty offset table.
std::string encapsulated(const std::vector<std::string>& fragments) {
  std::string bytes = littleEndian(0x00107FE0, 4) + std::string("OB\0\0", 4) +
                      littleEndian(0xFFFFFFFF, 4) + littleEndian(0xE000FFFE, 4) +
                      littleEndian(0, 4);
  for (const std::string& fragment : fragments) {
    bytes += littleEndian(0xE000FFFE, 4) +
             littleEndian(static_cast<std::uint32_t>(fragment.size()), 4) + fragment;
  }
  return bytes + littleEndian(0xE0DDFFFE, 4) + littleEndian(0, 4);
}

/// The dataset without its pixel data as a file of any transfer syntax, with what is to follow it.
std::string fileOf(const ImageBuilder& image, std::string syntax, const std::string& pixelData) {
  const support::TempDir folder;
  ImageBuilder header = image;
  const auto dataset = header.build();
  (void)dataset->findAndDeleteElement(DCM_PixelData);  // may be missing already
  support::saveFile(*dataset, folder.file("header.dcm"));
  const std::string whole = tools::readFile(folder.file("header.dcm"));
  constexpr std::size_t kMeta = 132;
  const auto metaLength = static_cast<unsigned char>(whole[kMeta + 8]) +
                          256U * static_cast<unsigned char>(whole[kMeta + 9]);
  syntax += syntax.size() % 2 == 0 ? "" : std::string(1, '\0');
  const std::string element = littleEndian(0x00100002, 4) + "UI" +
                              littleEndian(static_cast<std::uint32_t>(syntax.size()), 2) + syntax;
  return whole.substr(0, kMeta) + littleEndian(0x00000002, 4) + "UL" + littleEndian(4, 2) +
         littleEndian(static_cast<std::uint32_t>(element.size()), 4) + element +
         whole.substr(kMeta + 12 + metaLength) + pixelData;
}

class Explanation : public testing::Test {
protected:
  std::string file() const { return folder_.file("in.dcm").string(); }

  /// What decode says of the file; info must say the same.
  std::string reason() const {
    const Outcome decoded = runZrdcm({"decode", file(), "-o", folder_.file("out.raw").string()});
    const Outcome listed = runZrdcm({"info", "--json", file()});
    EXPECT_EQ(decoded.status, 1);
    EXPECT_EQ(decoded.errorLines(), 1U);
    EXPECT_EQ(listed.status, 1);
    EXPECT_EQ(listed.errors, decoded.errors);
    const std::string start = "zrdcm: " + file() + ": ";
    EXPECT_EQ(decoded.errors.substr(0, start.size()), start);
    const std::string text =
        decoded.errors.substr(start.size(), decoded.errors.size() - start.size() - 1);
    EXPECT_EQ(json::parse(listed.output)[0]["error"], text);
    EXPECT_THAT(tools::namesIn(folder_.path()), ElementsAre("in.dcm"));
    return text;
  }

  support::TempDir folder_;
};

// --- attributes -----------------------------------------------------------------------------------

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
                 "CTImageStorage has its samples in Float Pixel Data (7FE0,0008), 32 bits each; "
                 "Pixel Data (7FE0,0010) alone is decoded",
                 true},
        Obstacle{"DoubleFloat",
                 [] {
                   return ct()

                       .withElement(
                           std::make_unique<DcmFloatingPointDouble>(DCM_DoubleFloatPixelData));
                 },
                 "CTImageStorage has its samples in Double Float Pixel Data (7FE0,0009), 64 bits "
                 "each; Pixel Data (7FE0,0010) alone is decoded",
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
        Obstacle{"OneBit",
                 [] { return ct().withUint16(DCM_BitsAllocated, 1).withUint16(DCM_BitsStored, 1); },
                 "CTImageStorage has samples of 1 bit (Bits Allocated (0028,0100)); those of 8 and "
                 "16 bits are decoded"},
        Obstacle{
            "Of32Bits",
            [] {
              return ct().withUint16(DCM_BitsAllocated, 32).withPixels16(std::vector<Uint16>(8));
            },
            "CTImageStorage has samples of 32 bits (Bits Allocated (0028,0100)); those of 8 "
            "and 16 bits are decoded"}),
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
        Obstacle{"SegmentedPalette", [] { return withSegmentedPalette().without(DCM_SOPClassUID); },
                 "has a segmented palette (Segmented Red Palette Color Lookup Table Data "
                 "(0028,1221)), which is not decoded; write the palette in full first"},
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
  tools::writeFile(file(), fileOf(ct(), UID_LittleEndianExplicitTransferSyntax, unknown));

  EXPECT_EQ(reason(),
            "CTImageStorage has Pixel Data (7FE0,0010) with VR UN; only OB and OW are pixels");
}

// A range takes another road, on which packed bits would come out as samples.
TEST_F(Explanation, OfOneBitIsGivenForARangeToo) {
  support::saveFile(*support::monochromeImage(8, 8)
                         .frames(3)
                         .without(DCM_SOPClassUID)
                         .withUint16(DCM_BitsAllocated, 1)
                         .withUint16(DCM_BitsStored, 1)
                         .withUint16(DCM_HighBit, 0)
                         .withPixels8(std::vector<Uint8>(24, 0xA5))
                         .build(),
                    file());

  const Outcome outcome =
      runZrdcm({"decode", file(), "--frames", "1", "-o", folder_.file("out.raw").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + file() +
                ": has samples of 1 bit (Bits Allocated (0028,0100)); those of 8 and 16 bits are "
                "decoded\n");
}

// --- transfer syntaxes ----------------------------------------------------------------------------

struct Syntax {
  const char* name;
  const char* uid;
  const char* text;  // null: not known
};

class SyntaxWithoutDecoder : public Explanation, public testing::WithParamInterface<Syntax> {};

TEST_P(SyntaxWithoutDecoder, IsNamedByItsOwnUid) {
  tools::writeFile(file(), fileOf(ct(), GetParam().uid, encapsulated({"abcd"})));

  const std::string expected =
      GetParam().text == nullptr
          ? "CTImageStorage is in transfer syntax " + std::string(GetParam().uid) +
                ", which is not known here"
          : "CTImageStorage is compressed as " + std::string(GetParam().text) + " (" +
                GetParam().uid +
                "), for which there is no decoder; convert it to an uncompressed transfer syntax "
                "first";
  EXPECT_EQ(reason(), expected);
  const json syntax = json::parse(runZrdcm({"info", "--json", file()}).output)[0]["transferSyntax"];
  EXPECT_EQ(syntax["uid"], GetParam().uid);
  EXPECT_EQ(syntax["name"], GetParam().text == nullptr ? json(nullptr) : json(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, SyntaxWithoutDecoder,
    testing::Values(
        Syntax{"Jpeg2000Lossless", "1.2.840.10008.1.2.4.90", "JPEG 2000 (Lossless only)"},
        Syntax{"Jpeg2000", "1.2.840.10008.1.2.4.91", "JPEG 2000 (Lossless or Lossy)"},
        Syntax{"Mpeg2", "1.2.840.10008.1.2.4.100", "MPEG2 Main Profile @ Main Level"},
        Syntax{"HierarchicalJpeg", "1.2.840.10008.1.2.4.65",
               "JPEG Lossless, Hierarchical, Process 28"},
        Syntax{"EncapsulatedUncompressed", "1.2.840.10008.1.2.1.98",
               "Encapsulated Uncompressed Explicit VR Little Endian"},
        Syntax{"JpegXlLossless", "1.2.840.10008.1.2.4.110", "JPEG XL Lossless"},
        Syntax{"JpegXlRecompression", "1.2.840.10008.1.2.4.111", "JPEG XL JPEG Recompression"},
        Syntax{"JpegXl", "1.2.840.10008.1.2.4.112", "JPEG XL"},
        Syntax{"HtJpeg2000Lossless", "1.2.840.10008.1.2.4.201",
               "High-Throughput JPEG 2000 (Lossless Only)"},
        Syntax{"HtJpeg2000Rpcl", "1.2.840.10008.1.2.4.202",
               "High-Throughput JPEG 2000 with RPCL Options (Lossless Only)"},
        Syntax{"HtJpeg2000", "1.2.840.10008.1.2.4.203", "High-Throughput JPEG 2000"},
        Syntax{"JpipHtJpeg2000", "1.2.840.10008.1.2.4.204", "JPIP HTJ2K Referenced"},
        Syntax{"JpipHtJpeg2000Deflate", "1.2.840.10008.1.2.4.205", "JPIP HTJ2K Referenced Deflate"},
        Syntax{"DeflatedFrames", "1.2.840.10008.1.2.8.1", "Deflated Image Frame Compression"},
        Syntax{"Unknown", "1.2.3.4.5", nullptr}),
    support::nameOf<Syntax>);

// --- compressed data ------------------------------------------------------------------------------

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
  tools::writeFile(file(), fileOf(bytes(), UID_RLELosslessTransferSyntax, encapsulated({"abcd"})));

  EXPECT_EQ(
      reason(),
      "CTImageStorage has RLE Lossless (1.2.840.10008.1.2.5) data that does not decode: it is "
      "damaged, or of a kind that the decoder does not know");
}

// Streams that end or lie anywhere: the header is not found, or found, and nothing is read beyond.
TEST_F(CompressedData, ThatEndsInItsHeaderIsCalledDamaged) {
  const std::string start("\xFF\xD8\xFF\xC3\x00\x0B\x08\x00\x10\x00\x10\x01", 12);
  for (std::size_t length = 2; length < 10; length += 2) {
    tools::writeFile(file(), fileOf(bytes(), UID_JPEGProcess14SV1TransferSyntax,
                                    encapsulated({start.substr(0, length)})));

    EXPECT_THAT(reason(), HasSubstr("does not decode: it is damaged")) << length;
  }
}

// --- frames beyond sixteen bits --------------------------------------------------------------------

class ManyFrames : public testing::Test {
protected:
  void SetUp() override {
    support::saveFile(
        *support::monochromeImage(1, 1).frames(65540).frameIncrementPointer("(0018,1063)").build(),
        file());
  }
  std::string file() const { return folder_.file("in.dcm").string(); }
  support::TempDir folder_;
};

TEST_F(ManyFrames, AreAllDescribedByInfo) {
  const json report = json::parse(runZrdcm({"info", "--json", file()}).output)[0];

  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["image"]["frames"], 65540);
  EXPECT_FALSE(report.contains("remark"));
  EXPECT_EQ(report["splitting"]["reason"],
            "Number of Frames is above 65535, and no more are decoded");
}

// The first frame tells of a colour clip whether it decodes; of so many the last one has to as well.
TEST_F(ManyFrames, OfColourAreNotTakenOnTrust) {
  support::saveFile(*support::rgbImage(1, 1).frames(65540).build(), file());
  const json whole = json::parse(runZrdcm({"info", "--json", file()}).output)[0];
  support::saveFile(
      *support::rgbImage(1, 1).frames(3).with(DCM_NumberOfFrames, "2000000000").build(), file());
  const json claim = json::parse(runZrdcm({"info", "--json", file()}).output)[0];

  EXPECT_EQ(whole["image"]["frames"], 65540);
  EXPECT_EQ(claim["ok"], false);
  EXPECT_EQ(claim["error"], "frame 1999999999: Uncompressed data has size 0");
  EXPECT_EQ(runZrdcm({"sheet", file(), "-o", folder_.file("sheet.png").string()}).errors,
            "zrdcm: " + file() + ": frame 1999999999: Uncompressed data has size 0\n");
}

TEST_F(ManyFrames, ThatAreMissingAreCountedInFull) {
  const auto clip = support::compress(*support::rgbImage(8, 8).frames(3).build(), EXS_JPEGProcess1);
  ASSERT_TRUE(clip->putAndInsertString(DCM_NumberOfFrames, "2000000000").good());
  support::saveFile(*clip, file(), EXS_JPEGProcess1);

  const json claim = json::parse(runZrdcm({"info", "--json", file()}).output)[0];

  EXPECT_THAT(claim["error"].get<std::string>(),
              EndsWith("has compressed data of 3 frames, but Number of Frames (0028,0008) is "
                       "2000000000"));
}

TEST_F(ManyFrames, AreNotSplit) {
  const Outcome outcome = runZrdcm({"split", file(), "-o", folder_.file("volumes").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + file() +
                ": cannot be split: Number of Frames is above 65535, and no more are decoded\n");
}

// --- objects without pixels ------------------------------------------------------------------------

struct Object {
  const char* name;
  const char* uid;
  const char* content;
};

class ObjectWithoutPixels : public testing::TestWithParam<Object> {
protected:
  void SetUp() override {
    support::DatasetBuilder builder;
    support::saveFile(*builder.with(DCM_SOPClassUID, GetParam().uid).build(), file());
  }
  std::string file() const { return folder_.file("in.dcm").string(); }
  support::TempDir folder_;
};

TEST_P(ObjectWithoutPixels, IsDescribed) {
  const Outcome listed = runZrdcm({"info", file()});
  const Outcome asJson = runZrdcm({"info", "--json", file()});

  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.errors, "");
  EXPECT_THAT(listed.output, HasSubstr("content             " + std::string(GetParam().content) +
                                       ", without pixels\n"));
  EXPECT_EQ(asJson.status, 0);
  const json report = json::parse(asJson.output)[0];
  EXPECT_EQ(report["ok"], true);
  EXPECT_EQ(report["error"], nullptr);
  EXPECT_EQ(report["content"], GetParam().content);
  EXPECT_EQ(report["image"], nullptr);
}

TEST_P(ObjectWithoutPixels, IsNotDecodedAndSaysWhatItIs) {
  const Outcome outcome = runZrdcm({"decode", file(), "-o", folder_.file("out.raw").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.errors, HasSubstr(" is " + std::string(GetParam().content) +
                                        ", and has no pixels; zrdcm info describes it\n"));
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
        Object{"Instruction", "1.2.840.10008.5.1.4.34.7", "an instruction for radiotherapy"},
        Object{"HangingProtocol", "1.2.840.10008.5.1.4.38.1", "a hanging protocol"},
        Object{"Palette", "1.2.840.10008.5.1.4.39.1", "a colour palette"},
        Object{"Implant", "1.2.840.10008.5.1.4.43.1", "a template of an implant"},
        Object{"ImplantAssembly", "1.2.840.10008.5.1.4.44.1", "an assembly of implants"},
        Object{"ImplantGroup", "1.2.840.10008.5.1.4.45.1", "a group of implant templates"},
        Object{"PrivateClass", "1.2.3.4", "an object without pixels"},
        Object{"DoseWithoutGrid", "1.2.840.10008.5.1.4.1.1.481.2", "an object without pixels"}),
    support::nameOf<Object>);

// --- real files -----------------------------------------------------------------------------------

struct RealFile {
  const char* name;
  const char* file;
  const char* reason;
};

class RealFileThatIsRefused : public support::CorpusFixture,
                              public testing::WithParamInterface<RealFile> {};

TEST_P(RealFileThatIsRefused, HasItsCauseTold) {
  const support::TempDir folder;
  const std::string file = (corpus() / "files" / GetParam().file).string();

  const Outcome outcome = runZrdcm({"decode", file, "-o", folder.file("out.raw").string()});

  EXPECT_EQ(outcome.errors, "zrdcm: " + file + ": " + GetParam().reason + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Files, RealFileThatIsRefused,
    testing::Values(
        RealFile{
            "Segmentation", "seg__liver_1frame.dcm",
            "SegmentationStorage has samples of 1 bit (Bits Allocated (0028,0100)); those of 8 "
            "and 16 bits are decoded"},
        RealFile{"ColourJpeg2000", "colour-j2k__GDCMJ2K_TextGBR.dcm",
                 "SecondaryCaptureImageStorage is compressed as JPEG 2000 (Lossless only) "
                 "(1.2.840.10008.1.2.4.90), for which there is no decoder; convert it to an "
                 "uncompressed transfer syntax first"},
        RealFile{
            "HighThroughputJpeg2000", "colour-j2k__HTJ2KLossless_08_RGB.dcm",
            "SecondaryCaptureImageStorage is compressed as High-Throughput JPEG 2000 (Lossless "
            "Only) (1.2.840.10008.1.2.4.201), for which there is no decoder; convert it to an "
            "uncompressed transfer syntax first"},
        RealFile{"ParametricMap", "seg__parametric_map_float.dcm",
                 "ParametricMapStorage has its samples in Float Pixel Data (7FE0,0008), 32 bits "
                 "each; Pixel Data (7FE0,0010) alone is decoded"},
        RealFile{
            "Plan", "rt__rtplan.dcm",
            "RTPlanStorage is a radiotherapy plan, and has no pixels; zrdcm info describes it"},
        RealFile{
            "SegmentedPalette", "palette__gdcm-US-ALOKA-16.dcm",
            "UltrasoundImageStorage has a segmented palette (Segmented Red Palette Color Lookup "
            "Table Data (0028,1221)), which is not decoded; write the palette in full first"}),
    support::nameOf<RealFile>);

}  // namespace
