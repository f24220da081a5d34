// SPDX-License-Identifier: BSD-3-Clause
// Every kind of bad input has its reason, so that callers need not look into the text.
#include "support/Compression.h"
#include "support/Files.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/Image.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/Output.h"
#include "zrimaging/Series.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace {

namespace fs = std::filesystem;
using support::ImageBuilder;
using zr::Reason;

/// The error of the work; nothing when it succeeds.
std::optional<zr::Error> errorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const zr::Error& error) {
    return error;
  }
  return std::nullopt;
}

// ---- files
// -----------------------------------------------------------------------------------------

struct BadFile {
  const char* name;
  std::function<void(const fs::path&)> make;
  Reason reason;
};

void PrintTo(const BadFile& file, std::ostream* stream) {
  *stream << file.name;
}

/// A file of Explicit VR Little Endian behind its preamble, without meta information.
std::string explicitFile(const std::string& elements) {
  return std::string(128, '\0') + "DICM" + elements;
}

void save(ImageBuilder image, const fs::path& path) {
  support::saveFile(*image.build(), path);
}

void saveTruncated(const fs::path& path) {
  save(support::ctSlice(64, 64), path);
  const std::string whole = support::readFile(path);
  support::writeFile(path, whole.substr(0, whole.size() - 100));
}

void saveNested(const fs::path& path) {
  std::string bytes;
  for (int level = 0; level < 100; ++level) {
    bytes += std::string("\x40\x00\x30\xA7SQ\0\0\xFF\xFF\xFF\xFF", 12) +
             std::string("\xFE\xFF\x00\xE0\xFF\xFF\xFF\xFF", 8);
  }
  support::writeFile(path, std::string("\x02\x00\x10\x00UI\x14\0001.2.840.10008.1.2.1\0", 28)
                                   .insert(0, explicitFile("")) +
                               bytes);
}

void saveFloats(const fs::path& path) {
  const auto dataset = support::ctSlice(2, 2).build();
  (void)dataset->findAndDeleteElement(DCM_PixelData);
  (void)dataset->putAndInsertFloat32(DCM_FloatPixelData, 1.0F);
  support::saveFile(*dataset, path);
}

void saveWithoutPixels(const fs::path& path) {
  const auto dataset = support::ctSlice(2, 2).build();
  (void)dataset->findAndDeleteElement(DCM_PixelData);
  support::saveFile(*dataset, path);
}

/// An RLE image whose header counts 99 segments.
void saveBrokenRle(const fs::path& path) {
  support::saveFile(*support::compress(*support::ctSlice(64, 64).build(), EXS_RLELossless), path,
                    EXS_RLELossless);
  std::string bytes = support::readFile(path);
  const std::size_t header = bytes.find(std::string("\x02\0\0\0\x40\0\0\0", 8));
  ASSERT_NE(header, std::string::npos);
  bytes[header] = 99;
  support::writeFile(path, bytes);
}

/// The transfer syntax of a file without compression, called JPEG 2000.
void saveUnknownCompression(const fs::path& path) {
  support::saveFile(*support::compress(*support::ctSlice(2, 2).build(), EXS_RLELossless), path,
                    EXS_RLELossless);
  std::string bytes = support::readFile(path);
  const std::string rle = "1.2.840.10008.1.2.5";
  const std::size_t uid = bytes.find(rle);
  ASSERT_NE(uid, std::string::npos);
  bytes.replace(uid, rle.size(), "1.2.840.10008.1.2.9");
  support::writeFile(path, bytes);
}

class BadInput : public testing::TestWithParam<BadFile> {
protected:
  support::TempDir folder_;
};

TEST_P(BadInput, HasItsReason) {
  const fs::path path = folder_.file("in.dcm");
  GetParam().make(path);

  const std::optional<zr::Error> error = errorOf([&] {
    (void)zr::Image(zr::File(path)).decode(zr::DecodeRequest{}, zr::MemoryBudget{1U << 20U});
  });

  ASSERT_TRUE(error);
  EXPECT_STREQ(zr::nameOf(error->reason()), zr::nameOf(GetParam().reason)) << error->what();
}

INSTANTIATE_TEST_SUITE_P(
    Files, BadInput,
    testing::Values(
        BadFile{"Missing", [](const fs::path&) {}, Reason::NotDicom},
        BadFile{"Folder", [](const fs::path& path) { fs::create_directory(path); },
                Reason::NotDicom},
        BadFile{"Empty", [](const fs::path& path) { support::writeFile(path, ""); },
                Reason::NotDicom},
        BadFile{"Text", [](const fs::path& path) { support::writeFile(path, "no DICOM at all"); },
                Reason::NotDicom},
        BadFile{"Truncated", saveTruncated, Reason::Damaged},
        BadFile{"DamagedMeta",
                [](const fs::path& path) {
                  support::writeFile(path,
                                     explicitFile(std::string("\x02\x00\x00\x00ZZ\xFF\xFF", 8) +
                                                  std::string(64, '\xFF')));
                },
                Reason::Damaged},
        BadFile{"NestedTooDeeply", saveNested, Reason::TooLarge},
        BadFile{"LargerThanTheBudget",
                [](const fs::path& path) {
                  save(support::ctSlice(2, 2)
                           .with(DCM_NumberOfFrames, "60000")
                           .withUint16(DCM_Rows, 4000),
                       path);
                },
                Reason::TooLarge}),
    support::nameOf<BadFile>);

INSTANTIATE_TEST_SUITE_P(
    Images, BadInput,
    testing::Values(BadFile{"WithoutPixels", saveWithoutPixels, Reason::NoPixelData},
                    BadFile{"WithoutSize",
                            [](const fs::path& path) {
                              save(support::ctSlice(2, 2).withUint16(DCM_Rows, 0), path);
                            },
                            Reason::NoPixelData},
                    BadFile{"WithoutBitsAllocated",
                            [](const fs::path& path) {
                              save(support::ctSlice(2, 2).without(DCM_BitsAllocated), path);
                            },
                            Reason::MissingAttribute},
                    BadFile{"WithoutPalette",
                            [](const fs::path& path) {
                              save(support::paletteImage(2, 2)
                                       .without(DCM_RedPaletteColorLookupTableData)
                                       .without(DCM_GreenPaletteColorLookupTableData)
                                       .without(DCM_BluePaletteColorLookupTableData),
                                   path);
                            },
                            Reason::MissingAttribute},
                    BadFile{"WithAnUnknownCompression", saveUnknownCompression, Reason::NoDecoder},
                    BadFile{"WithABrokenStream", saveBrokenRle, Reason::Undecodable},
                    BadFile{"OfFloatsInSixteenBits", saveFloats, Reason::Damaged},
                    BadFile{"OfTwelveBitsAllocated",
                            [](const fs::path& path) {
                              save(support::ctSlice(8, 2).withUint16(DCM_BitsAllocated, 12), path);
                            },
                            Reason::Unsupported}),
    support::nameOf<BadFile>);

TEST(BadRequest, OfAFrameThatIsNotThereHasItsReason) {
  const support::TempDir folder;
  save(support::ctSlice(2, 2).frames(3), folder.file("in.dcm"));

  const std::optional<zr::Error> error = errorOf([&] {
    const zr::Image image(zr::File(folder.file("in.dcm")));
    (void)image.decode({zr::FrameRange{3, 3}, zr::Values::kSamples, false}, {});
  });

  ASSERT_TRUE(error);
  EXPECT_STREQ(zr::nameOf(error->reason()), "NoSuchFrame");
  EXPECT_STREQ(error->what(), "has 3 frames (0-based: up to 2); there is no frame 3");
}

TEST(BadRequest, OfACriterionThatIsNotKnownHasItsReason) {
  const std::optional<zr::Error> error =
      errorOf([] { (void)zr::parseOrderSwitches("echo-time,shoe-size"); });

  ASSERT_TRUE(error);
  EXPECT_STREQ(zr::nameOf(error->reason()), "Unsupported");
  EXPECT_STREQ(error->what(), "'shoe-size' is no criterion that --by can switch on");
}

TEST(BadTarget, HasItsReason) {
  const support::TempDir folder;

  const std::optional<zr::Error> error = errorOf(
      [&] { const zr::OutputFile file(folder.file("none") / "out", zr::ProtectedInputs()); });

  ASSERT_TRUE(error);
  EXPECT_STREQ(zr::nameOf(error->reason()), "CannotWrite");
}

TEST(Reason, HasTheNameThatItHasInCode) {
  EXPECT_STREQ(zr::nameOf(Reason::NotDicom), "NotDicom");
  EXPECT_STREQ(zr::nameOf(Reason::NotAVolume), "NotAVolume");
  EXPECT_STREQ(zr::nameOf(Reason::OutOfMemory), "OutOfMemory");
}

}  // namespace
