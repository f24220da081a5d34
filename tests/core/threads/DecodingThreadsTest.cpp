// SPDX-License-Identifier: BSD-3-Clause
// Several threads at work, each on datasets of its own. CTest gives each test a process of its own,
// so the decoders are registered for the first time by all threads at once.
#include "AtOnce.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrDcmExport.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using threads::atOnce;
using threads::kThreads;

constexpr Uint16 kColumns = 8;
constexpr Uint16 kRows = 8;
constexpr unsigned int kFrames = 3;
constexpr int kAllFrames = -1;

// ThreadSanitizer sees a race in the first decodes or not at all, and JPEG takes minutes with it.
#if defined(__SANITIZE_THREAD__)
constexpr int kDecodes = 200;
#else
constexpr int kDecodes = 1000;
#endif

std::size_t at(int thread) {
  return static_cast<std::size_t>(thread);
}

// Samples that differ from thread to thread, so that one thread's result is not another's.
support::ImageBuilder imageOf(int thread) {
  std::vector<int> samples;
  for (int i = 0; i < kColumns * kRows * static_cast<int>(kFrames); ++i) {
    samples.push_back((i * 37 + thread * 1001) % 65536);
  }
  return support::monochromeImage(kColumns, kRows)
      .frames(kFrames)
      .frameIncrementPointer("(0018,1063)")
      .with(DCM_SpacingBetweenSlices, "1")
      .samples(samples);
}

struct Syntax {
  const char* name;
  E_TransferSyntax syntax;
};

class DecodingFromThreads : public testing::TestWithParam<Syntax> {
protected:
  void SetUp() override {
    (void)support::silenceDcmtk();
    for (int thread = 0; thread < kThreads; ++thread) {
      const support::ImageBuilder image = imageOf(thread);
      expected_.push_back(image.storedSamples());
      stored_.push_back(GetParam().syntax == EXS_LittleEndianExplicit
                            ? image.build()
                            : support::compress(*image.build(), GetParam().syntax));
    }
  }

  // Decodes a fresh copy, because decoding may leave a dataset decompressed.
  bool decodes(int thread, int firstFrame, int lastFrame) const {
    DcmDataset copy(*stored_[at(thread)]);
    Zrg::SliceImage slice;
    std::string error;
    if (!slice.process(copy, error, firstFrame, lastFrame, nullptr, 0)) {
      return false;
    }
    constexpr std::size_t kFrameSamples = std::size_t{kColumns} * kRows;
    const bool whole = firstFrame == kAllFrames;
    const std::size_t first = whole ? 0 : static_cast<std::size_t>(firstFrame);
    const std::size_t frames = whole ? kFrames : static_cast<std::size_t>(lastFrame) - first + 1;
    const char* const samples = Zrg::firstSample(slice);
    return std::memcmp(samples, &expected_[at(thread)][first * kFrameSamples],
                       frames * kFrameSamples * sizeof(Uint16)) == 0;
  }

private:
  std::vector<std::unique_ptr<DcmDataset>> stored_;
  std::vector<std::vector<Uint16>> expected_;
};

TEST_P(DecodingFromThreads, GivesEachThreadItsOwnSamples) {
  std::vector<int> good(kThreads);

  atOnce([&](int thread) {
    for (int i = 0; i < kDecodes; i += 2) {
      const int frame = i / 2 % static_cast<int>(kFrames);
      good[at(thread)] += decodes(thread, kAllFrames, 0) ? 1 : 0;
      good[at(thread)] += decodes(thread, frame, static_cast<int>(kFrames) - 1) ? 1 : 0;
    }
  });

  EXPECT_EQ(good, std::vector<int>(kThreads, kDecodes));
}

INSTANTIATE_TEST_SUITE_P(Syntaxes, DecodingFromThreads,
                         testing::Values(Syntax{"Native", EXS_LittleEndianExplicit},
                                         Syntax{"Rle", EXS_RLELossless},
                                         Syntax{"JpegLossless", EXS_JPEGProcess14SV1},
                                         Syntax{"JpegLs", EXS_JPEGLSLossless}),
                         support::nameOf<Syntax>);

// ---- the other entries ----

TEST(ColourFromThreads, IsRenderedForEachThread) {
  constexpr int kRounds = 50;
  std::vector<std::unique_ptr<DcmDataset>> stored;
  for (int thread = 0; thread < kThreads; ++thread) {
    stored.push_back(
        support::rgbImage(2, 1).unsigned8().samples({thread, 2, 3, 4, 5, 250 - thread}).build());
  }
  std::vector<int> good(kThreads);

  atOnce([&](int thread) {
    const std::vector<unsigned char> expected = {
        static_cast<unsigned char>(thread), 2, 3, 4, 5, static_cast<unsigned char>(250 - thread)};
    for (int i = 0; i < kRounds; ++i) {
      DcmDataset copy(*stored[at(thread)]);
      Zrg::SliceImage slice;
      std::string error;
      const bool done = slice.process(copy, error, kAllFrames, 0, nullptr, 0);
      const char* const samples = Zrg::firstSample(slice);
      good[at(thread)] +=
          done && std::memcmp(samples, expected.data(), expected.size()) == 0 ? 1 : 0;
    }
  });

  EXPECT_EQ(good, std::vector<int>(kThreads, kRounds));
}

TEST(SplittingFromThreads, FilesEachThreadsFrames) {
  constexpr int kRounds = 100;
  std::vector<std::unique_ptr<DcmDataset>> stored;
  for (int thread = 0; thread < kThreads; ++thread) {
    stored.push_back(imageOf(thread).build());
  }
  std::vector<int> good(kThreads);

  atOnce([&](int thread) {
    for (int i = 0; i < kRounds; ++i) {
      DcmDataset copy(*stored[at(thread)]);
      Zrg::MultiFrameImage image(true);
      std::string error;
      const bool done = image.process(copy, error, true) && image.numVolumes() == 1 &&
                        image.numSlices(0) == kFrames;
      good[at(thread)] += done ? 1 : 0;
    }
  });

  EXPECT_EQ(good, std::vector<int>(kThreads, kRounds));
}

// Tables, value text and comparison all look attributes up in the one dictionary, which one of the
// threads may just be extending.
TEST(AttributesFromThreads, AreReadWhileTheDictionaryIsExtended) {
  constexpr int kRounds = 100;
  std::vector<int> good(kThreads);

  atOnce([&](int thread) {
    for (int i = 0; i < kRounds; ++i) {
      ExDCM::registerPrivateDicomTags();
      const auto palette = support::paletteImage(2, 2).build();
      ExDicomUtilities::LUT lut;
      ExDicomUtilities::LUT::dcmDatasetRead(lut, *palette, true);

      DcmTag tag = ExDCM::zorlanTag(ExDCM::PrivateTag::CropBox);
      tag.setVR(DcmVR(EVR_UN));
      DcmOtherByteOtherWord element(tag);
      const bool stored = element.putUint8Array(reinterpret_cast<const Uint8*>("CROP"), 4).good();
      std::string text;
      const bool isText = ExDCM::getOFStringFromUN(&element, text) && text == "CROP";

      const auto first = support::DatasetBuilder().with(DCM_InstanceNumber, "3").build();
      const auto second =
          support::DatasetBuilder().with(DCM_InstanceNumber, std::to_string(thread)).build();
      const int order =
          ExDCM::compare(first.get(), second.get(), false, true, true, true, true, true);

      good[at(thread)] += lut.isValid(3) && stored && isText && order == 3 - thread ? 1 : 0;
    }
  });

  EXPECT_EQ(good, std::vector<int>(kThreads, kRounds));
}

TEST(ExportFromThreads, WritesEachThreadsFile) {
  constexpr int kFiles = 20;
  const support::TempDir folder;
  std::vector<int> good(kThreads);

  atOnce([&](int thread) {
    for (int i = 0; i < kFiles; ++i) {
      std::vector<unsigned short> pixels(12, static_cast<unsigned short>(thread));
      const std::string name = std::to_string(thread) + "-" + std::to_string(i) + ".dcm";
      ZrDcmExport writer;
      const bool written = writer.setDicomTag(0x0008, 0x0016, "1.2.840.10008.5.1.4.1.1.7") &&
                           writer.setDicomTag(0x0008, 0x0018, "2.25.7") &&
                           writer.setOutputBaseDirectory(folder.path().c_str()) &&
                           writer.setFilename(name.c_str()) &&
                           writer.writeImageAsIs(4, 3, pixels.data());
      DcmFileFormat file;
      const Uint16* words = nullptr;
      unsigned long count = 0;
      const bool readBack =
          written && file.loadFile(OFFilename(folder.file(name).c_str())).good() &&
          file.getDataset()->findAndGetUint16Array(DCM_PixelData, words, &count).good() &&
          std::vector<unsigned short>(words, words + count) == pixels;
      good[at(thread)] += readBack ? 1 : 0;
    }
  });

  EXPECT_EQ(good, std::vector<int>(kThreads, kFiles));
}

}  // namespace
