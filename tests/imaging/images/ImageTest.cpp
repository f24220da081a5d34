// SPDX-License-Identifier: BSD-3-Clause
// Images and frames by the public headers alone.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Formats.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/ObjectFacts.h>

namespace {

using support::ImageBuilder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using zr::SampleType;

std::vector<int> valuesOf(const zr::SampleArray& samples) {
  std::vector<int> values;
  for (std::size_t i = 0; i < samples.byteCount() / zr::bytesOf(samples.type); ++i) {
    values.push_back(samples.sample(i));
  }
  return values;
}

class SavedImage : public testing::Test {
protected:
  zr::File save(const ImageBuilder& image, const std::string& name = "in.dcm") const {
    support::saveFile(*image.build(), folder_.file(name));
    return zr::File(folder_.file(name));
  }

  support::TempDir folder_;
};

using ImageInAFile = SavedImage;
using FramesOfAFile = SavedImage;

ImageBuilder threeFrames() {
  return support::monochromeImage(2, 1).frames(3).samples({1, 2, 3, 4, 5, 6});
}

TEST_F(ImageInAFile, TellsWhatItIs) {
  const zr::ObjectFacts facts = zr::describeObject(
      save(support::ctSlice(2, 1).signed16().bitsStored(12).frames(2).samples({1, 2, 3, 4})));

  EXPECT_EQ(facts.modality, "CT");
  EXPECT_EQ(facts.pixelFormat.photometricInterpretation, "MONOCHROME2");
  EXPECT_EQ(facts.pixelFormat.bitsStored, 12U);
  EXPECT_EQ(facts.pixelFormat.isSigned, true);
  EXPECT_EQ(facts.transferSyntax.uid, "1.2.840.10008.1.2.1");
  EXPECT_FALSE(facts.enhanced);
  EXPECT_FALSE(facts.palette);
  EXPECT_EQ(facts.content.kind, "");
}

TEST_F(ImageInAFile, TellsOfOneFrameWhatTheDatasetSays) {
  const zr::Image image(save(threeFrames().rescale("2", "-10").spacing("0.5", "0.25")));

  const zr::FrameAttributes& frame = image.frame(2);

  ASSERT_TRUE(frame.rescale);
  EXPECT_EQ(frame.rescale->slope, 2);
  EXPECT_EQ(frame.rescale->intercept, -10);
  EXPECT_EQ(frame.pixelSpacing, (std::array<double, 2>{0.25, 0.5}));
  EXPECT_FALSE(frame.position);
  EXPECT_THAT(frame.windows, IsEmpty());
}

TEST_F(ImageInAFile, HasNoFrameBehindTheLast) {
  const zr::Image image(save(threeFrames()));

  try {
    (void)image.frame(3);
    FAIL() << "there are three frames";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::NoSuchFrame);
    EXPECT_STREQ(error.what(), "has 3 frames (0-based: up to 2); there is no frame 3");
  }
}

TEST_F(ImageInAFile, DecodesAnyFrameAnyNumberOfTimes) {
  const zr::Image image(save(threeFrames()));

  const zr::DecodedFrames last =
      image.decode({zr::FrameRange{1, 2}, zr::Values::kSamples, false}, {});
  const zr::DecodedFrames all = image.decode(zr::DecodeRequest{}, {});
  const zr::DecodedFrames again =
      image.decode({zr::FrameRange{1, 2}, zr::Values::kSamples, false}, {});

  EXPECT_THAT(valuesOf(last.samples()), ElementsAre(3, 4, 5, 6));
  EXPECT_EQ(last.numbers().first, 1U);
  EXPECT_EQ(last.numbers().last, 2U);
  EXPECT_THAT(valuesOf(all.samples()), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(valuesOf(again.samples()), ElementsAre(3, 4, 5, 6));
}

TEST_F(ImageInAFile, DecodesSeveralRangesInTheOrderAskedFor) {
  const zr::Image image(save(threeFrames()));

  const zr::DecodedFrames frames = image.decode({{2, 2}, {0, 1}}, zr::DecodeRequest{}, {});

  EXPECT_THAT(valuesOf(frames.samples()), ElementsAre(5, 6, 1, 2, 3, 4));
  EXPECT_THAT(frames.record().numbers, ElementsAre(2U, 0U, 1U));
  EXPECT_EQ(frames.record().attributes.frames.size(), 3U);
}

TEST_F(ImageInAFile, RefusesRangesBeyondItsLastFrame) {
  const zr::Image image(save(threeFrames()));

  try {
    (void)image.decode({{0, 0}, {2, 3}}, zr::DecodeRequest{}, {});
    FAIL() << "there are three frames";
  } catch (const zr::Error& error) {
    EXPECT_STREQ(error.what(), "has 3 frames (0-based: up to 2); there is no frame 3");
  }
}

TEST_F(ImageInAFile, HoldsSeveralRangesAgainstTheMemoryThatTheyTakeTogether) {
  const zr::Image image(save(threeFrames()));

  EXPECT_THROW((void)image.decode({{0, 0}, {2, 2}}, zr::DecodeRequest{}, zr::MemoryBudget{7}),
               zr::Error);
}

TEST_F(ImageInAFile, ShiftsSignedSamplesWhenTheyAreAskedForAsUnsigned) {
  const zr::Image image(save(support::monochromeImage(2, 1).signed16().samples({-1, 2})));

  const zr::DecodedFrames shown = image.decode({std::nullopt, zr::Values::kUnsigned, false}, {});
  const zr::DecodedFrames stored = image.decode({std::nullopt, zr::Values::kStored, false}, {});

  EXPECT_EQ(shown.record().traits.type, SampleType::kU16);
  EXPECT_EQ(shown.record().traits.sampleOffset, 32768);
  EXPECT_THAT(valuesOf(shown.samples()), ElementsAre(32767, 32770));
  EXPECT_EQ(stored.record().traits.type, SampleType::kS16);
  EXPECT_THAT(valuesOf(stored.samples()), ElementsAre(0xFFFF, 2));
}

TEST_F(ImageInAFile, TellsTheTraitsOfItsSamplesWithoutDecoding) {
  const zr::Image image(save(support::monochromeImage(3, 2)
                                 .signed8()
                                 .samples({1, 2, 3, 4, 5, 6})
                                 .photometric("MONOCHROME1")));

  const zr::FrameTraits traits = image.traits();

  EXPECT_EQ(traits.columns, 3U);
  EXPECT_EQ(traits.rows, 2U);
  EXPECT_EQ(traits.type, SampleType::kS8);
  EXPECT_EQ(traits.sampleOffset, 0);
  EXPECT_TRUE(traits.darkIsHigh);
  EXPECT_EQ(image.traits(zr::Values::kUnsigned).type, SampleType::kU8);
  EXPECT_EQ(image.traits(zr::Values::kUnsigned).sampleOffset, 128);
  EXPECT_EQ(traits.frameBytes(), 6U);
}

TEST_F(ImageInAFile, DecodesIntoMemoryOfTheCaller) {
  const zr::Image image(save(threeFrames()));
  std::array<std::uint16_t, 3> memory = {9, 9, 9};

  EXPECT_THAT(
      image.decodeInto({zr::FrameRange{1, 1}, zr::Values::kSamples, false}, {}, memory.data(), 4),
      IsEmpty());

  EXPECT_THAT(memory, ElementsAre(3, 4, 9));
}

TEST_F(ImageInAFile, DoesNotDecodeIntoTooLittleMemory) {
  const zr::Image image(save(threeFrames()));
  std::array<std::uint16_t, 2> memory{};

  try {
    (void)image.decodeInto(zr::DecodeRequest{}, {}, memory.data(), sizeof memory);
    FAIL() << "three frames do not fit";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::TooLarge);
    EXPECT_STREQ(error.what(), "takes 12 bytes; the memory handed in has 4");
  }
}

TEST_F(ImageInAFile, MayGoBeforeItsSamples) {
  std::shared_ptr<const void> memory;
  zr::SampleArray samples;
  {
    const zr::DecodedFrames decoded =
        zr::Image(save(threeFrames())).decode(zr::DecodeRequest{}, {});
    memory = decoded.memory();
    samples = decoded.samples();
  }

  EXPECT_THAT(valuesOf(samples.frame(1)), ElementsAre(3, 4));
}

TEST_F(ImageInAFile, CountsTheFramesOfOverlaysAsTheFileDoes) {
  const zr::Image image(save(support::monochromeImage(2, 1)
                                 .bitsStored(8)
                                 .frames(3)
                                 .samples({0, 0, 0, 0, 0, 0})
                                 .overlayBits(0x6000, 12, {{1, 0}}, 2)
                                 .with(DcmTagKey(0x6000, 0x0015), EVR_IS, "3")));

  const zr::DecodedFrames decoded =
      image.decode({zr::FrameRange{2, 2}, zr::Values::kSamples, true}, {});

  ASSERT_TRUE(decoded.record().overlays.isNotNull());
  ASSERT_EQ(decoded.record().overlays->count(), 1);
  EXPECT_EQ(decoded.record().overlays->frame(0), 2);
  EXPECT_EQ(decoded.record().firstNumber, 2U);
  EXPECT_EQ(decoded.count(), 1U);
}

TEST(FrameRange, IsReadFromText) {
  EXPECT_EQ(zr::parseFrameRange("3-5")->count(), 3U);
  EXPECT_EQ(zr::parseFrameRange("4")->first, 4U);
  EXPECT_FALSE(zr::parseFrameRange("5-3"));
  EXPECT_FALSE(zr::parseFrameRange("-1"));
  ASSERT_EQ(zr::parseFrameRanges("7,0,2-3")->size(), 3U);
  EXPECT_EQ(zr::parseFrameRanges("7,0,2-3")->back().last, 3U);
  EXPECT_FALSE(zr::parseFrameRanges("1,"));
  EXPECT_FALSE(zr::parseFrameRanges("1,,2"));
}

// ---- frames ----

TEST_F(FramesOfAFile, InColourComeOneByOne) {
  const auto frames = zr::framesOf(
      zr::Image(save(support::rgbImage(1, 1).frames(2).samples({1, 2, 3, 4, 5, 6}))), {});

  EXPECT_EQ(frames->count(), 2U);
  EXPECT_FALSE(frames->record().traits.monochrome);
  EXPECT_THAT(valuesOf(frames->frame(1)), ElementsAre(4, 5, 6));
  EXPECT_THAT(valuesOf(frames->frame(0)), ElementsAre(1, 2, 3));
  EXPECT_THAT(frames->takeRemarks(), IsEmpty());
}

TEST_F(FramesOfAFile, MakeASeriesWithThoseOfOthers) {
  (void)save(support::monochromeImage(2, 1).samples({1, 2}), "a.dcm");
  (void)save(support::monochromeImage(2, 1).samples({3, 4}), "b.dcm");

  const auto frames = zr::framesOfSeries({folder_.file("a.dcm"), folder_.file("b.dcm")}, {});

  EXPECT_EQ(frames->count(), 2U);
  EXPECT_THAT(valuesOf(frames->frame(1)), ElementsAre(3, 4));
  EXPECT_EQ(frames->record().name, "a.dcm");
}

TEST_F(FramesOfAFile, AreNoSeriesWithThoseOfAnotherSize) {
  (void)save(support::monochromeImage(2, 1).samples({1, 2}), "a.dcm");
  (void)save(support::monochromeImage(1, 1).samples({3}), "b.dcm");
  const auto frames = zr::framesOfSeries({folder_.file("a.dcm"), folder_.file("b.dcm")}, {});

  try {
    (void)frames->frame(1);
    FAIL() << "frames of two sizes";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.what(), folder_.file("b.dcm").string() +
                                ": has pixels of another size or kind than " +
                                folder_.file("a.dcm").string());
  }
}

TEST_F(FramesOfAFile, HaveALineThatUndoesTheShift) {
  const auto frames = zr::framesOf(
      zr::Image(save(support::monochromeImage(1, 1).signed16().samples({-1}).rescale("2", "5"))),
      {});

  const auto line = zr::lineOfSamples(frames->record(), 0);

  ASSERT_TRUE(line);
  EXPECT_EQ(line->slope, 2);
  EXPECT_EQ(line->intercept, 5 - 2 * 32768);
}

TEST_F(FramesOfAFile, AreDescribedForTheHeaderOfAFile) {
  const auto frames =
      zr::framesOf(zr::Image(save(threeFrames().rescale("1", "0").spacing("0.5", "0.25"))), {});

  const zr::ArrayDescription description = zr::describeArray(frames->record(), {0, 1, 2});

  EXPECT_EQ(description.content, "in.dcm");
  EXPECT_EQ(description.spacingMm[0], 0.25);
  EXPECT_EQ(description.spacingMm[1], 0.5);
  EXPECT_THAT(description.attributes,
              ElementsAre(Pair("frame spacing", "unknown"), Pair("modality slope", "1"),
                          Pair("modality intercept", "0")));
}

TEST_F(FramesOfAFile, AreDescribedAsTheyWouldBeDecoded) {
  const auto image = [&] {
    return zr::Image(save(threeFrames().rescale("2", "-10").spacing("0.5", "0.25")));
  };

  const zr::FramesDescription described = zr::describeFrames(image(), {});

  const auto decoded = zr::framesOf(image(), {});
  EXPECT_EQ(described.record.name, decoded->record().name);
  EXPECT_EQ(described.record.traits.type, decoded->record().traits.type);
  EXPECT_EQ(described.record.traits.columns, 2U);
  EXPECT_EQ(described.record.traits.rows, 1U);
  ASSERT_EQ(described.record.attributes.frames.size(), 3U);
  EXPECT_EQ(described.record.attributes.frames[2].rescale,
            (zr::RescaleLine{2, -10, zr::ValueText{}}));
  EXPECT_THAT(described.remarks, IsEmpty());
}

TEST_F(FramesOfAFile, AreDescribedWithoutTheirSamples) {
  ImageBuilder large = support::monochromeImage(200, 200);
  zr::Image image(save(large));
  std::filesystem::resize_file(folder_.file("in.dcm"), 2000);  // the samples are not in memory yet

  EXPECT_EQ(zr::describeFrames(std::move(image), {}).record.traits.columns, 200U);
  EXPECT_TRUE(zr::describeFrames(zr::Image(save(large.overlayBits(0x6000, 15, {{1, 1}}, 0))), {})
                  .record.overlays.isNotNull());
}

TEST_F(FramesOfAFile, AreNotDescribedWhenThePixelDataIsTooShort) {
  const auto dataset = support::monochromeImage(2, 2).build();
  ASSERT_TRUE(dataset->putAndInsertString(DCM_NumberOfFrames, "5").good());
  support::saveFile(*dataset, folder_.file("short.dcm"));

  try {
    (void)zr::describeFrames(zr::Image(zr::File(folder_.file("short.dcm"))), {});
    FAIL() << "the pixel data holds one frame";
  } catch (const zr::Error& error) {
    EXPECT_EQ(error.reason(), zr::Reason::Damaged);
  }
}

}  // namespace
