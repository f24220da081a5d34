// SPDX-License-Identifier: BSD-3-Clause
// Whatever cannot be decoded gives one clear line and exit status 1, and leaves nothing behind.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <ostream>

namespace {

using testing::ElementsAre;
using tools::Outcome;
using tools::runZrdcm;

std::string littleEndian(std::uint32_t value, std::size_t bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes; ++i) {
    text += static_cast<char>(value >> (8 * i) & 0xFFU);
  }
  return text;
}

std::string explicitHeader(unsigned group, unsigned element, const char* vr, std::uint32_t length) {
  return littleEndian(group, 2) + littleEndian(element, 2) + vr + std::string(2, '\0') +
         littleEndian(length, 4);
}

std::string preambleAndMeta(const std::string& transferSyntax) {
  std::string padded = transferSyntax;
  padded.resize((padded.size() + 1) / 2 * 2, '\0');
  const std::string syntax = littleEndian(2, 2) + littleEndian(0x10, 2) + "UI" +
                             littleEndian(static_cast<std::uint32_t>(padded.size()), 2) + padded;
  return std::string(128, '\0') + "DICM" + littleEndian(2, 2) + littleEndian(0, 2) + "UL" +
         littleEndian(4, 2) + littleEndian(static_cast<std::uint32_t>(syntax.size()), 4) + syntax;
}

// A Content Sequence in a Content Sequence in ...
std::string nestedSequences(int depth) {
  std::string bytes = preambleAndMeta(UID_LittleEndianExplicitTransferSyntax);
  for (int i = 0; i < depth; ++i) {
    bytes += explicitHeader(0x0040, 0xA730, "SQ", 0xFFFFFFFF) + littleEndian(0xE000FFFE, 4) +
             littleEndian(0xFFFFFFFF, 4);
  }
  for (int i = 0; i < depth; ++i) {
    bytes += littleEndian(0xE00DFFFE, 4) + littleEndian(0, 4) + littleEndian(0xE0DDFFFE, 4) +
             littleEndian(0, 4);
  }
  return bytes;
}

// The same in implicit VR, with private elements of defined length: no reader can tell them from
// other values by the tag alone.
std::string nestedImplicitSequences(int depth) {
  std::string content;
  for (int i = 0; i < depth; ++i) {
    const std::string item = littleEndian(0xE000FFFE, 4) +
                             littleEndian(static_cast<std::uint32_t>(content.size()), 4) + content;
    content = littleEndian(0x0040, 2) + littleEndian(0xA730, 2) +
              littleEndian(static_cast<std::uint32_t>(item.size()), 4) + item;
  }
  return preambleAndMeta(UID_LittleEndianImplicitTransferSyntax) + content;
}

std::string bigEndian(std::uint32_t value, std::size_t bytes) {
  const std::string text = littleEndian(value, bytes);
  return {text.rbegin(), text.rend()};
}

std::string nestedBigEndianSequences(int depth) {
  std::string bytes = preambleAndMeta(UID_BigEndianExplicitTransferSyntax);
  for (int i = 0; i < depth; ++i) {
    bytes += bigEndian(0x0040A730, 4) + "SQ" + std::string(2, '\0') + bigEndian(0xFFFFFFFF, 4) +
             bigEndian(0xFFFEE000, 4) + bigEndian(0xFFFFFFFF, 4);
  }
  for (int i = 0; i < depth; ++i) {
    bytes +=
        bigEndian(0xFFFEE00D, 4) + bigEndian(0, 4) + bigEndian(0xFFFEE0DD, 4) + bigEndian(0, 4);
  }
  return bytes;
}

// Sequences in a private element of unknown VR: what it holds is implicit, whatever the file is.
std::string nestedUnknowns(int depth) {
  std::string bytes = preambleAndMeta(UID_LittleEndianExplicitTransferSyntax) +
                      explicitHeader(0x0009, 0x1010, "UN", 0xFFFFFFFF);
  for (int i = 1; i < depth; ++i) {
    bytes += littleEndian(0xE000FFFE, 4) + littleEndian(0xFFFFFFFF, 4) + littleEndian(0x0040, 2) +
             littleEndian(0xA730, 2) + littleEndian(0xFFFFFFFF, 4);
  }
  for (int i = 1; i < depth; ++i) {
    bytes += littleEndian(0xE0DDFFFE, 4) + littleEndian(0, 4) + littleEndian(0xE00DFFFE, 4) +
             littleEndian(0, 4);
  }
  return bytes + littleEndian(0xE0DDFFFE, 4) + littleEndian(0, 4);
}

constexpr const char* kNoPixelData =
    "has no Pixel Data (7FE0,0010), and no SOP Class UID says what it is";

struct BadFile {
  const char* name;
  std::string content;
  const char* message;
};

void PrintTo(const BadFile& file, std::ostream* stream) {
  *stream << file.name;
}

class FileThatIsNoImage : public testing::TestWithParam<BadFile> {};

TEST_P(FileThatIsNoImage, IsRefusedInOneLine) {
  const support::TempDir folder;
  const std::string file = folder.file("input").string();
  tools::writeFile(file, GetParam().content);

  const Outcome outcome = runZrdcm({"decode", file, "-o", folder.file("out.npy").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: " + file + ": " + GetParam().message + "\n");
  EXPECT_THAT(tools::namesIn(folder.path()), ElementsAre("input"));
}

INSTANTIATE_TEST_SUITE_P(
    Contents, FileThatIsNoImage,
    testing::Values(
        BadFile{"Empty", "", "is empty"},
        BadFile{"Text", "This is no DICOM file.\n", "is not a DICOM file"},
        BadFile{"Png", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), "is not a DICOM file"},
        BadFile{"Zeros", std::string(4096, '\0'), "is not a DICOM file"},
        BadFile{"FewBytes", std::string("\x08\x00\x05\x00", 4), "is not a DICOM file"},
        BadFile{"MetaAlone", preambleAndMeta(UID_LittleEndianExplicitTransferSyntax), kNoPixelData},
        BadFile{"CutInsideAnElement",
                preambleAndMeta(UID_LittleEndianExplicitTransferSyntax) +
                    explicitHeader(0x7FE0, 0x0010, "OW", 1000) + "abcd",
                "is damaged: (7fe0,0010) claims 1000 bytes, more than the file has left"},
        BadFile{"TwoGigabytesInAFewBytes",
                preambleAndMeta(UID_LittleEndianExplicitTransferSyntax) +
                    explicitHeader(0x0029, 0x1010, "OB", 0x80000000) + "abcd",
                "is damaged: (0029,1010) claims 2147483648 bytes, more than the file has left"},
        BadFile{"OneSequenceTooDeep", nestedSequences(65),
                "nests sequences too deeply to be read safely"},
        BadFile{"SequencesTooDeep", nestedSequences(10000),
                "nests sequences too deeply to be read safely"},
        BadFile{"ImplicitSequencesTooDeep", nestedImplicitSequences(3000),
                "nests sequences too deeply to be read safely"},
        BadFile{"SequencesDeepEnough", nestedSequences(64), kNoPixelData},
        BadFile{"ImplicitSequencesDeepEnough", nestedImplicitSequences(64), kNoPixelData},
        BadFile{"BigEndianSequencesTooDeep", nestedBigEndianSequences(65),
                "nests sequences too deeply to be read safely"},
        BadFile{"BigEndianSequencesDeepEnough", nestedBigEndianSequences(64), kNoPixelData},
        BadFile{"UnknownsTooDeep", nestedUnknowns(65),
                "nests sequences too deeply to be read safely"},
        BadFile{"UnknownsDeepEnough", nestedUnknowns(64), kNoPixelData},
        BadFile{"DatasetThatIsCutShort",
                littleEndian(0x08, 2) + littleEndian(0x08, 2) + "CS" + littleEndian(140, 2) +
                    std::string(140, 'A') + littleEndian(0x08, 2) + littleEndian(0x16, 2) + "UI" +
                    littleEndian(26, 2) + "1.2.",
                "is damaged or no DICOM file: (0008,0016) claims 26 bytes, more than the file has "
                "left"},
        BadFile{"DatasetShorterThanAPreamble",
                littleEndian(0x08, 2) + littleEndian(0x60, 2) + "CS" + littleEndian(2, 2) + "CT",
                "is damaged or no DICOM file: I/O suspension or premature end of stream"},
        BadFile{"ElementsThatNobodyKnows",
                littleEndian(0x08, 2) + littleEndian(0x0FFF, 2) + "LO" + littleEndian(200, 2) +
                    std::string(200, 'a'),
                "is not a DICOM file"}),
    support::nameOf<BadFile>);

TEST(DeepSequences, AreFoundInDeflatedFilesToo) {
  const support::TempDir folder;
  tools::writeFile(folder.file("deep.dcm"), nestedSequences(200));
  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(OFFilename(folder.file("deep.dcm").c_str())).good());
  DcmItem* innermost = file.getDataset();
  DcmItem* next = nullptr;
  while (innermost->findAndGetSequenceItem(DCM_ContentSequence, next).good()) {
    innermost = next;
  }
  for (int i = 0; i < 100; ++i) {
    ASSERT_TRUE(innermost->findOrCreateSequenceItem(DCM_ContentSequence, next).good());
    innermost = next;
  }
  const std::string deflated = folder.file("deflated.dcm").string();
  ASSERT_TRUE(file.saveFile(OFFilename(deflated.c_str()), EXS_DeflatedLittleEndianExplicit).good());

  const Outcome outcome = runZrdcm({"info", "--json", deflated});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + deflated + ": nests sequences too deeply to be read safely\n");
}

TEST(DeflatedFile, Decodes) {
  const support::TempDir folder;
  const std::string file = folder.file("deflated.dcm").string();
  support::saveFile(*support::monochromeImage(2, 1).samples({1, 2}).build(), file,
                    EXS_DeflatedLittleEndianExplicit);

  const Outcome outcome = runZrdcm({"decode", file, "-o", folder.file("out.raw").string()});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(tools::hex(tools::readFile(folder.file("out.raw"))), "01 00 02 00");
}

TEST(FileWithoutPreamble, DecodesWhenItIsADataset) {
  const support::TempDir folder;
  const auto dataset =
      support::monochromeImage(2, 1).samples({1, 2}).with(DCM_Modality, "OT").build();
  const std::string file = folder.file("bare").string();
  ASSERT_TRUE(dataset->saveFile(OFFilename(file.c_str()), EXS_LittleEndianImplicit).good());

  const Outcome outcome = runZrdcm({"decode", file, "-o", folder.file("out.raw").string()});

  EXPECT_EQ(outcome.status, 0) << outcome.errors;
  EXPECT_EQ(tools::hex(tools::readFile(folder.file("out.raw"))), "01 00 02 00");
}

std::unique_ptr<DcmDataset> colourWithoutRows() {
  return support::rgbImage(8, 8).frames(2).withUint16(DCM_Rows, 0).build();
}

std::unique_ptr<DcmDataset> compressedColourWithoutRows() {
  auto dataset = support::compress(*support::rgbImage(8, 8).frames(2).build(), EXS_RLELossless);
  EXPECT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 0).good());
  return dataset;
}

std::unique_ptr<DcmDataset> colourWithoutPixelData() {
  auto dataset = support::rgbImage(2, 2).frames(2).build();
  EXPECT_TRUE(dataset->findAndDeleteElement(DCM_PixelData).good());
  return dataset;
}

struct EmptyImage {
  const char* name;
  std::unique_ptr<DcmDataset> (*build)();
  E_TransferSyntax syntax;
  const char* message;
};

void PrintTo(const EmptyImage& image, std::ostream* stream) {
  *stream << image.name;
}

class ImageWithoutPixels : public testing::TestWithParam<EmptyImage> {};

TEST_P(ImageWithoutPixels, IsRefusedInOneLine) {
  const support::TempDir folder;
  const std::string file = folder.file("in.dcm").string();
  support::saveFile(*GetParam().build(), file, GetParam().syntax);

  for (const char* const verb : {"decode", "sheet"}) {
    const Outcome outcome = runZrdcm({verb, file, "-o", folder.file("out.png").string()});

    EXPECT_EQ(outcome.status, 1) << verb;
    EXPECT_EQ(outcome.errors, "zrdcm: " + file + ": " + GetParam().message + "\n") << verb;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Images, ImageWithoutPixels,
    testing::Values(
        EmptyImage{"NoRows",
                   [] { return support::monochromeImage(2, 2).withUint16(DCM_Rows, 0).build(); },
                   EXS_LittleEndianExplicit, "has an image without pixels"},
        EmptyImage{"NoRowsOfColour", colourWithoutRows, EXS_LittleEndianExplicit,
                   "has an image without pixels"},
        EmptyImage{"NoRowsOfCompressedColour", compressedColourWithoutRows, EXS_RLELossless,
                   "has an image without pixels"},
        EmptyImage{
            "NoPixelDataOfColour", colourWithoutPixelData, EXS_LittleEndianExplicit,
            "SecondaryCaptureImageStorage has no Pixel Data (7FE0,0010), though it is an image: "
            "only its header is there"}),
    support::nameOf<EmptyImage>);

TEST(Folder, IsNoDicomFile) {
  const support::TempDir folder;

  const Outcome outcome =
      runZrdcm({"decode", folder.path().string(), "-o", folder.file("out.npy").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors,
            "zrdcm: " + folder.path().string() + ": is a folder, not a DICOM file\n");
}

TEST(NameThatIsTooLong, IsNoDicomFile) {
  const std::string name(300, 'x');

  const Outcome outcome = runZrdcm({"info", name});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: " + name + ": cannot be opened: File name too long\n");
}

TEST(Device, IsNoDicomFile) {
  const Outcome outcome = runZrdcm({"info", "/dev/null"});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.errors, "zrdcm: /dev/null: is no regular file\n");
}

TEST(UnsupportedSyntax, IsNamedInOneLine) {
  const support::TempDir folder;
  const std::string file = folder.file("mpeg2.dcm").string();
  const std::string image =
      preambleAndMeta(UID_MPEG2MainProfileAtMainLevelTransferSyntax) + littleEndian(0x28, 2) +
      littleEndian(0x02, 2) + "US" + littleEndian(2, 2) + littleEndian(1, 2) +
      littleEndian(0x28, 2) + littleEndian(0x04, 2) + "CS" + littleEndian(12, 2) + "MONOCHROME2 " +
      littleEndian(0x28, 2) + littleEndian(0x10, 2) + "US" + littleEndian(2, 2) +
      littleEndian(1, 2) + littleEndian(0x28, 2) + littleEndian(0x11, 2) + "US" +
      littleEndian(2, 2) + littleEndian(1, 2) + littleEndian(0x28, 2) + littleEndian(0x100, 2) +
      "US" + littleEndian(2, 2) + littleEndian(8, 2) +
      explicitHeader(0x7FE0, 0x0010, "OB", 0xFFFFFFFF) + littleEndian(0xE000FFFE, 4) +
      littleEndian(0, 4) + littleEndian(0xE000FFFE, 4) + littleEndian(4, 4) + "abcd" +
      littleEndian(0xE0DDFFFE, 4) + littleEndian(0, 4);
  tools::writeFile(file, image);

  const Outcome outcome = runZrdcm({"decode", file, "-o", folder.file("out.npy").string()});

  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(
      outcome.errors,
      "zrdcm: " + file +
          ": is compressed as MPEG2 Main Profile @ Main Level (1.2.840.10008.1.2.4.100), for which "
          "there is no decoder; convert it to an uncompressed transfer "
          "syntax first\n");
}

}  // namespace
