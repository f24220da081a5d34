// SPDX-License-Identifier: BSD-3-Clause
// Decoding and splitting when memory runs out, at each single allocation of theirs and of DCMTK's.
#include "core/faults/FaultTrial.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/Md5.h"
#include "support/RowName.h"

#include <ktlib/KtLogFile.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace {

using faults::Contract;
using faults::Trial;
using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;

constexpr char kOutOfMemory[] = "out of memory";

void keepLogsQuiet() {
  (void)support::silenceDcmtk();
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
}

std::string textOf(const KtVec2f& pair) {
  return std::to_string(pair.x) + "," + std::to_string(pair.y) + " ";
}

/// All that a slice holds, as text.
std::string describe(const Zrg::SliceImage& slice) {
  std::string text = std::string(slice.valid ? "valid " : "invalid ") +
                     std::to_string(slice.extent.x) + "x" + std::to_string(slice.extent.y) + "x" +
                     std::to_string(slice.extent.z) + " of " +
                     std::to_string(slice.samplesPerPixel * slice.bytesPerSample) + " bytes, " +
                     (slice.lossy ? "lossy " : "") + std::to_string(slice.sampleOffset) + " " +
                     textOf(slice.rescale) + textOf(slice.voiWindow) + textOf(slice.pixelSpacing);
  const char* const memory = Zrg::firstSample(slice);
  const auto bytes = static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z *
                                              slice.samplesPerPixel * slice.bytesPerSample);
  if (memory != nullptr) {
    text += support::md5Hex(memory, bytes);
  }
  for (int i = 0; slice.overlays.isNotNull() && i < slice.overlays->count(); ++i) {
    text += " overlay " + std::to_string(slice.overlays->group(i)) + " frame " +
            std::to_string(slice.overlays->frame(i)) + " bits " +
            std::to_string(slice.overlays->mask(i).count());
  }
  return text;
}

// ---- slices ----

enum class Range { All, Own, Target };

struct Image {
  const char* name;
  ImageBuilder (*build)();
  E_TransferSyntax syntax;
  Range range;
};

std::unique_ptr<DcmDataset> stored(const Image& image) {
  const ImageBuilder builder = image.build();
  const bool native = !DcmXfer(image.syntax).isEncapsulated();
  return native ? support::readBack(*builder.build(), image.syntax)
                : support::compress(*builder.build(), image.syntax);
}

// When libijg finds no memory, DCMTK copies the text of the error, finds no memory for that either,
// and copies the null pointer once more (OFCondition, through strdup): a crash.
bool isJpeg(E_TransferSyntax syntax) {
  return syntax == EXS_JPEGProcess1 || syntax == EXS_JPEGProcess14SV1;
}

class Decoding : public Trial {
public:
  explicit Decoding(const Image& image) : image_(image), dataset_(stored(image)) {
    target_.resize(image.range == Range::Target ? 4096 : 0);
  }

  bool call() override {
    const int first = image_.range == Range::All ? -1 : 1;
    return slice_.process(*dataset_, error_, first, 2, target_.empty() ? nullptr : target_.data(),
                          static_cast<unsigned long>(target_.size()));
  }
  std::string message() const override { return error_; }
  std::string result() const override { return describe(slice_); }
  void renewDcmtkObject() override {
    // May point into the old one, or be too small: colour is written into memory that is there.
    slice_.data = nullptr;
    slice_.buffer.reset();
    dataset_ = stored(image_);
  }

  DcmDataset& dataset() { return *dataset_; }

private:
  Image image_;
  std::unique_ptr<DcmDataset> dataset_;
  std::vector<char> target_;
  Zrg::SliceImage slice_;
  std::string error_;
};

/// What decoding gives when the dataset has lost its Number of Frames. DCMTK's decoders set that
/// attribute anew, and DcmItem::insert takes the old element away before it has memory for the new
/// one.
std::string resultWithoutNumberOfFrames(const Image& image) {
  Decoding decoding(image);
  (void)decoding.dataset().findAndDeleteElement(DCM_NumberOfFrames);
  return decoding.call() ? decoding.result() : std::string();
}

class DecodingInShortage : public testing::TestWithParam<Image> {};

TEST_P(DecodingInShortage, AnswersAndCanBeCalledAgain) {
  keepLogsQuiet();
  const Image& image = GetParam();
  const Contract contract{
      {kOutOfMemory, "Pixel data can't be decompressed", "Error decompressing frames",
       "Error reading pixel data!", "Uncompressed data has size 0",
       "DicomImage::getOutputData() failed", "Unable to create valid DiDocument object",
       "Unable to locate DcmPixelData in DiDocument object",
       "DcmPixelData::getUncompressedFrame() failed"},
      true,
      {},
      {resultWithoutNumberOfFrames(image)},
      isJpeg(image.syntax)};

  const long failures = faults::expectToSurviveShortages(
      {image.name, [&image] { return std::make_unique<Decoding>(image); }, contract});

  RecordProperty("allocations", std::to_string(failures));
  EXPECT_GT(failures, 2);
}

ImageBuilder ramp16() {
  return monochromeImage(6, 4).frames(3).rescale("2", "-3").window("40", "400").spacing("2", "3");
}
ImageBuilder withOverlays() {
  return monochromeImage(6, 4)
      .signed16()
      .bitsStored(12)
      .highBit(11)
      .frames(3)
      .overlayPlane(0x6000, 12)
      .overlayBits(0x6000, 12, {{1, 1}, {2, 3}}, 1)
      .with(DcmTagKey(0x6000, 0x0015), EVR_IS, "3");
}
ImageBuilder withTable() {
  return monochromeImage(4, 2).unsigned8().withItem(DCM_ModalityLUTSequence,
                                                    support::DatasetBuilder()
                                                        .withUint16s(DCM_LUTDescriptor, {4, 0, 8})
                                                        .withBytes(DCM_LUTData, {0, 10, 20, 30}));
}
ImageBuilder odd8() {
  return monochromeImage(3, 3).unsigned8().frames(3);
}
ImageBuilder rgb() {
  return rgbImage(8, 8).unsigned8().frames(3);
}
ImageBuilder rgbPlanar() {
  return rgbImage(8, 8).unsigned8().frames(3).planar(1);
}
ImageBuilder palette() {
  return support::paletteImage(4, 2).frames(3);
}

INSTANTIATE_TEST_SUITE_P(
    Images, DecodingInShortage,
    testing::Values(Image{"NativeAll", ramp16, EXS_LittleEndianExplicit, Range::All},
                    Image{"NativeRange", ramp16, EXS_LittleEndianExplicit, Range::Own},
                    Image{"NativeTarget", ramp16, EXS_LittleEndianExplicit, Range::Target},
                    Image{"BigEndianAll", ramp16, EXS_BigEndianExplicit, Range::All},
                    Image{"OddFrameSize", odd8, EXS_LittleEndianExplicit, Range::Own},
                    Image{"OverlaysAll", withOverlays, EXS_LittleEndianExplicit, Range::All},
                    Image{"OverlaysRange", withOverlays, EXS_LittleEndianExplicit, Range::Own},
                    Image{"TableAll", withTable, EXS_LittleEndianExplicit, Range::All},
                    Image{"TableRange", withTable, EXS_LittleEndianExplicit, Range::Own},
                    Image{"RleAll", ramp16, EXS_RLELossless, Range::All},
                    Image{"RleRange", ramp16, EXS_RLELossless, Range::Own},
                    Image{"RleTarget", ramp16, EXS_RLELossless, Range::Target},
                    Image{"JpegLosslessAll", ramp16, EXS_JPEGProcess14SV1, Range::All},
                    Image{"JpegLosslessRange", ramp16, EXS_JPEGProcess14SV1, Range::Own},
                    Image{"JpegLsAll", ramp16, EXS_JPEGLSLossless, Range::All},
                    Image{"JpegLsRange", ramp16, EXS_JPEGLSLossless, Range::Own},
                    Image{"RgbAll", rgb, EXS_LittleEndianExplicit, Range::All},
                    Image{"RgbRange", rgb, EXS_LittleEndianExplicit, Range::Own},
                    Image{"RgbTarget", rgb, EXS_LittleEndianExplicit, Range::Target},
                    Image{"RgbPlanar", rgbPlanar, EXS_LittleEndianExplicit, Range::All},
                    Image{"PaletteAll", palette, EXS_LittleEndianExplicit, Range::All},
                    Image{"PaletteRange", palette, EXS_LittleEndianExplicit, Range::Own},
                    Image{"RgbRleAll", rgb, EXS_RLELossless, Range::All},
                    Image{"RgbRleRange", rgb, EXS_RLELossless, Range::Own},
                    Image{"RgbJpegAll", rgb, EXS_JPEGProcess1, Range::All},
                    Image{"RgbJpegRange", rgb, EXS_JPEGProcess1, Range::Own},
                    Image{"RgbJpegLsAll", rgb, EXS_JPEGLSLossless, Range::All},
                    Image{"RgbJpegLsRange", rgb, EXS_JPEGLSLossless, Range::Own}),
    support::nameOf<Image>);

// ---- multi-frame ----

class Splitting : public Trial {
public:
  Splitting(const Image& image, bool split)
      : image_(image), split_(split), dataset_(stored(image)) {}

  bool call() override { return volumes_.process(*dataset_, error_, split_); }
  std::string message() const override { return error_; }
  std::string result() const override {
    auto& volumes = const_cast<Zrg::MultiFrameImage&>(volumes_);
    std::string text;
    for (unsigned int volume = 0; volume < volumes.numVolumes(); ++volume) {
      for (unsigned int i = 0; i < volumes.numSlices(static_cast<int>(volume)); ++i) {
        Zrg::SliceImage slice;
        unsigned int frame = 0;
        if (volumes.getImage(static_cast<int>(volume), i, slice) &&
            volumes.getFrameNumber(static_cast<int>(volume), i, frame)) {
          text += std::to_string(volume) + "/" + std::to_string(frame) + ": " + describe(slice);
        }
      }
    }
    return text;
  }

  void renewDcmtkObject() override { dataset_ = stored(image_); }

private:
  Image image_;
  bool split_;
  std::unique_ptr<DcmDataset> dataset_;
  Zrg::MultiFrameImage volumes_{true};
  std::string error_;
};

ImageBuilder gated() {
  return monochromeImage(2, 2)
      .frames(8)
      .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
      .with(DCM_SpacingBetweenSlices, "1")
      .withUint16(DCM_NumberOfSlices, 2)
      .withUint16(DCM_NumberOfRRIntervals, 2)
      .withUint16(DCM_NumberOfTimeSlots, 2)
      .withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1, 2, 2, 2, 2})
      .withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2, 1, 1, 2, 2})
      .withUint16s(DCM_SliceVector, {1, 2, 1, 2, 2, 1, 2, 1});
}
ImageBuilder doseGrid() {
  return monochromeImage(2, 2)
      .frames(3)
      .frameIncrementPointer("(3004,000c)")
      .with(DCM_GridFrameOffsetVector, "0\\2.5\\5");
}

class SplittingInShortage : public testing::TestWithParam<Image> {};

TEST_P(SplittingInShortage, AnswersFalseAndCanBeCalledAgain) {
  keepLogsQuiet();
  const Contract contract{{"", kOutOfMemory, "Pixel data can't be decompressed"}, false};

  for (const bool split : {true, false}) {
    const long failures = faults::expectToSurviveShortages(
        {GetParam().name, [split] { return std::make_unique<Splitting>(GetParam(), split); },
         contract});
    RecordProperty(split ? "allocations" : "allocations_unsplit", std::to_string(failures));
    EXPECT_GT(failures, 2);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Images, SplittingInShortage,
    testing::Values(Image{"Gated", gated, EXS_LittleEndianExplicit, Range::All},
                    Image{"GatedRle", gated, EXS_RLELossless, Range::All},
                    Image{"DoseGrid", doseGrid, EXS_LittleEndianImplicit, Range::All}),
    support::nameOf<Image>);

}  // namespace
