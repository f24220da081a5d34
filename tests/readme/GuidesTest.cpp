// SPDX-License-Identifier: BSD-3-Clause
// The functions that the guides show, run on small datasets. What they promise in words, such as
// who owns the samples and what a second decoding does, is tested here as well.
#include "decoding.h"
#include "embedding.h"
#include "export.h"
#include "imaging.h"
#include "lookup-tables-and-overlays.h"
#include "multi-frame.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

using support::ctSlice;
using support::monochromeImage;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::uint16_t> samplesAt(const char* first, std::size_t count) {
  const auto* samples = reinterpret_cast<const std::uint16_t*>(first);
  return {samples, samples + count};
}

TEST(DecodingGuide, YieldsHounsfieldUnits) {
  const auto dataset = ctSlice(2, 1).signed16().rescale("1", "-24").samples({-1000, 64}).build();
  std::string error;

  const std::optional<float> value = decoding_guide::valueAt(*dataset, 1, 0, error);

  EXPECT_EQ(value, 40.0F);
}

TEST(DecodingGuide, SaysWhyThereIsNoValue) {
  const auto dataset = support::DatasetBuilder().build();
  std::string error;

  EXPECT_EQ(decoding_guide::valueAt(*dataset, 0, 0, error), std::nullopt);
  EXPECT_EQ(error, "File contains no pixel data");
}

TEST(DecodingGuide, DecodesARangeIntoTheCallersMemory) {
  const auto dataset = monochromeImage(2, 1).frames(3).samples({1, 2, 3, 4, 5, 6}).build();
  std::vector<char> memory(8);
  std::string error;

  ASSERT_TRUE(decoding_guide::decodeRange(*dataset, 1, 2, memory, error)) << error;

  EXPECT_THAT(samplesAt(memory.data(), 4), ElementsAre(3, 4, 5, 6));
}

TEST(DecodingGuide, TakesAFrameByItsNumber) {
  const auto dataset = support::rgbImage(1, 1).frames(2).samples({1, 2, 3, 4, 5, 6}).build();
  std::string error;

  EXPECT_THAT(decoding_guide::frameByNumber(*dataset, 1, error), ElementsAre(4, 5, 6));
  EXPECT_THAT(decoding_guide::frameByNumber(*dataset, 2, error), IsEmpty());
  EXPECT_EQ(error, "There is no frame 2: Number of Frames is 2");
}

TEST(DecodingGuide, ShowsTheRangeOfTheValuesWhereThereIsNoWindow) {
  const auto plain = ctSlice(3, 1).signed16().rescale("0.5", "-10").samples({-4, 0, 8}).build();
  const auto windowed = ctSlice(3, 1).window("40", "400").samples({0, 1, 2}).build();
  const auto windowOf = [](DcmDataset& dataset) {
    Zrg::SliceImage slice;
    std::string error;
    EXPECT_TRUE(slice.process(dataset, error, -1, -1, nullptr, 0)) << error;
    const auto samples = samplesAt(Zrg::firstSample(slice), 3);
    return decoding_guide::windowOf(slice, samples.data(), samples.size());
  };

  const KtVec2f range = windowOf(*plain);  // once: decoding converts what the dataset holds
  const KtVec2f own = windowOf(*windowed);

  // Values -12, -10 and -6.
  EXPECT_EQ(range.x, -9.0F);
  EXPECT_EQ(range.y, 6.0F);
  EXPECT_EQ(own.x, 40.0F);
  EXPECT_EQ(own.y, 400.0F);
}

TEST(DecodingGuide, NamesBothSizesOfATargetThatIsTooSmall) {
  const auto dataset = monochromeImage(2, 1).frames(3).build();
  std::vector<char> memory(7);
  std::string error;

  EXPECT_FALSE(decoding_guide::decodeRange(*dataset, 1, 2, memory, error));

  EXPECT_EQ(error, "Invalid target size: buffer 7 bytes, required 8 bytes");
}

TEST(DecodingGuide, FindsSamplesInTheDatasetOrInTheBuffer) {
  const auto grey = monochromeImage(2, 1).samples({7, 8}).build();
  const auto colour = support::rgbImage(2, 1).samples({1, 2, 3, 4, 5, 6}).build();
  Zrg::SliceImage inDataset;
  Zrg::SliceImage inBuffer;
  std::string error;
  ASSERT_TRUE(inDataset.process(*grey, error, -1, -1, nullptr, 0)) << error;
  ASSERT_TRUE(inBuffer.process(*colour, error, -1, -1, nullptr, 0)) << error;

  const Uint16* element = nullptr;
  ASSERT_TRUE(grey->findAndGetUint16Array(DCM_PixelData, element).good());
  EXPECT_EQ(static_cast<const void*>(Zrg::firstSample(inDataset)), element);
  EXPECT_EQ(inBuffer.data, nullptr);
  EXPECT_EQ(std::string(Zrg::firstSample(inBuffer), 6), "\1\2\3\4\5\6");
}

TEST(DecodingGuide, ConvertsTwiceWhatIsDecodedTwice) {
  const auto dataset = ctSlice(2, 1).signed16().samples({-1000, 64}).build();
  Zrg::SliceImage first;
  Zrg::SliceImage second;
  std::string error;

  ASSERT_TRUE(first.process(*dataset, error, -1, -1, nullptr, 0)) << error;
  EXPECT_THAT(samplesAt(first.data, 2), ElementsAre(31768, 32832));
  ASSERT_TRUE(second.process(*dataset, error, -1, -1, nullptr, 0)) << error;
  EXPECT_THAT(samplesAt(second.data, 2), ElementsAre(64536, 64));
}

TEST(DecodingGuide, LeavesTheDatasetAsItIsWhenARangeIsDecoded) {
  const auto dataset = ctSlice(2, 1).signed16().samples({-1000, 64}).build();
  Zrg::SliceImage slice;
  std::string error;

  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(decoding_guide::decodeUntouched(*dataset, 0, slice, error)) << error;
    EXPECT_THAT(samplesAt(slice.data, 2), ElementsAre(31768, 32832));
  }
}

TEST(MultiFrameGuide, OrdersFramesByTheSliceVector) {
  const auto dataset = monochromeImage(2, 2)
                           .frames(4)
                           .frameIncrementPointer("(0054,0080)")
                           .with(DCM_SpacingBetweenSlices, "1")
                           .withUint16(DCM_NumberOfSlices, 4)
                           .withUint16s(DCM_SliceVector, {3, 1, 4, 2})
                           .build();
  std::string error;

  EXPECT_TRUE(multi_frame_guide::maySplit(*dataset));
  EXPECT_THAT(multi_frame_guide::framesOfVolumes(*dataset, error),
              ElementsAre(ElementsAre(1, 3, 0, 2)));
}

TEST(MultiFrameGuide, FilesOneVolumePerTimeSlot) {
  const auto dataset = monochromeImage(2, 2)
                           .frames(4)
                           .frameIncrementPointer("(0054,0060)\\(0054,0070)\\(0054,0080)")
                           .with(DCM_SpacingBetweenSlices, "1")
                           .withUint16(DCM_NumberOfSlices, 2)
                           .withUint16(DCM_NumberOfRRIntervals, 1)
                           .withUint16(DCM_NumberOfTimeSlots, 2)
                           .withUint16s(DCM_RRIntervalVector, {1, 1, 1, 1})
                           .withUint16s(DCM_TimeSlotVector, {1, 1, 2, 2})
                           .withUint16s(DCM_SliceVector, {1, 2, 2, 1})
                           .build();
  std::string error;

  EXPECT_THAT(multi_frame_guide::framesOfVolumes(*dataset, error),
              ElementsAre(ElementsAre(0, 1), ElementsAre(3, 2)));
}

TEST(MultiFrameGuide, DoesNotSplitColour) {
  const auto dataset = support::rgbImage(2, 2)
                           .frames(2)
                           .frameIncrementPointer("(0018,1063)")
                           .with(DCM_SpacingBetweenSlices, "1")
                           .build();
  std::string error;

  EXPECT_THAT(multi_frame_guide::framesOfVolumes(*dataset, error), IsEmpty());
  EXPECT_EQ(multi_frame_guide::describeOrder(*dataset), "colour frames are kept together");
}

TEST(MultiFrameGuide, DescribesTheOrderWithoutDecoding) {
  const auto dataset = monochromeImage(2, 2)
                           .frames(3)
                           .frameIncrementPointer("(0018,1063)")
                           .with(DCM_SpacingBetweenSlices, "2.5")
                           .build();

  EXPECT_EQ(multi_frame_guide::describeOrder(*dataset), "1 volumes, 2.500000 mm");
}

TEST(LutGuide, LooksUpWithinTheTableAndAtItsEnds) {
  const auto dataset =
      support::DatasetBuilder()
          .withItem(DCM_ModalityLUTSequence, support::DatasetBuilder()
                                                 .withUint16s(DCM_LUTDescriptor, {3, 10, 16})
                                                 .withWords(DCM_LUTData, {500, 600, 700}))
          .build();

  EXPECT_EQ(lookup_tables_and_overlays_guide::lookUp(*dataset, 11), 600U);
  EXPECT_EQ(lookup_tables_and_overlays_guide::lookUp(*dataset, -5), 500U);
  EXPECT_EQ(lookup_tables_and_overlays_guide::lookUp(*dataset, 99), 700U);
  EXPECT_EQ(lookup_tables_and_overlays_guide::lookUp(*support::DatasetBuilder().build(), 0),
            std::nullopt);
}

TEST(LutGuide, MakesSamplesUnsigned) {
  std::vector<std::int16_t> row = {-1, 0x7001};

  EXPECT_EQ(lookup_tables_and_overlays_guide::makeUnsigned(row), 32768);

  EXPECT_THAT(samplesAt(reinterpret_cast<const char*>(row.data()), 2), ElementsAre(32767, 32769));
}

TEST(OverlayGuide, CountsPixelsOfOneFrame) {
  const auto dataset = monochromeImage(4, 3)
                           .bitsStored(12)
                           .frames(2)
                           .overlayPlane(0x6000, 15)
                           .overlayBits(0x6000, 15, {{1, 1}, {3, 2}}, 1)
                           .with(DCM_NumberOfFramesInOverlay, "2")
                           .build();
  Zrg::SliceImage slice;
  std::string error;
  ASSERT_TRUE(slice.process(*dataset, error, -1, -1, nullptr, 0)) << error;

  EXPECT_EQ(lookup_tables_and_overlays_guide::coveredPixels(slice, 0), 0);
  EXPECT_EQ(lookup_tables_and_overlays_guide::coveredPixels(slice, 1), 2);

  ASSERT_TRUE(slice.process(*dataset, error, -1, -1, nullptr, 0)) << error;
  EXPECT_EQ(lookup_tables_and_overlays_guide::coveredPixels(slice, 1), 0);  // its bits are cleared
}

TEST(ExportGuide, WritesAnImageThatDecodes) {
  const support::TempDir folder;
  std::vector<std::uint16_t> samples = {1, 2, 3, 4, 5, 65535};

  EXPECT_EQ(export_guide::writeCapture(folder.path(), "new.dcm", 3, 2, samples), "");

  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(folder.file("new.dcm").c_str()).good());
  std::string error;
  EXPECT_EQ(decoding_guide::valueAt(*file.getDataset(), 2, 1, error), 65535.0F);
}

TEST(ExportGuide, SaysWhatIsNotWritten) {
  const support::TempDir folder;
  std::vector<std::uint16_t> samples = {1};

  EXPECT_THAT(export_guide::writeCapture(folder.path(), "none/new.dcm", 1, 1, samples),
              testing::StartsWith("cannot write none/new.dcm: "));
}

TEST(ExportGuide, TakesAttributesFromABundle) {
  const support::TempDir folder;
  std::array<unsigned short, 1> sample = {1};
  ZrDcmExport writer;
  ASSERT_TRUE(export_guide::addStudy(writer));
  ASSERT_TRUE(writer.setDicomTag(0x0008, 0x0016, "1.2.840.10008.5.1.4.1.1.7"));
  ASSERT_TRUE(writer.setDicomTag(0x0008, 0x0018, "2.25.7"));
  ASSERT_TRUE(writer.setOutputBaseDirectory(folder.path().c_str()));
  ASSERT_TRUE(writer.setFilename("new.dcm"));
  ASSERT_TRUE(writer.writeImageAsIs(1, 1, sample.data()));

  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(folder.file("new.dcm").c_str()).good());
  DcmItem* item = nullptr;
  OFString uid;
  ASSERT_TRUE(
      file.getDataset()->findAndGetSequenceItem(DCM_ReferencedImageSequence, item, 0).good());
  EXPECT_TRUE(item->findAndGetOFString(DCM_ReferencedSOPInstanceUID, uid).good());
  EXPECT_EQ(uid, "2.25.42");
}

TEST(ExportGuide, SetsAPrivateElement) {
  DcmDataset dataset;

  ASSERT_TRUE(export_guide::setSortIndex(dataset, 17));

  OFString text;
  EXPECT_TRUE(dataset.findAndGetOFString(ExDCM::PrivateTag::SortIndex, text).good());
  EXPECT_EQ(text, "17");
  EXPECT_TRUE(dataset.findAndGetOFString(DcmTagKey(0x0071, 0x0010), text).good());
  EXPECT_EQ(text, "Zorlan");
}

TEST(EmbeddingGuide, CollectsMessages) {
  std::vector<std::string> lines;
  embedding_guide::logInto(lines);
  getTheLogInstance().warnf("%d samples", 3);
  getTheLogInstance().printf("done");
  getTheLogInstance().setSink({});

  EXPECT_THAT(lines, ElementsAre("warning: 3 samples", "done"));
}

TEST(EmbeddingGuide, CollectsMessagesOfDcmtkToo) {
  std::vector<std::string> lines;
  embedding_guide::logEverythingInto(lines);
  OFLogger logger = OFLog::getLogger("dcmtk.test");
  OFLOG_WARN(logger, "careful");
  ExDCM::restoreDcmtkLog();
  getTheLogInstance().setSink({});

  EXPECT_THAT(lines, testing::Contains("warning: dcmtk.test: careful"));
}

TEST(EmbeddingGuide, FindsTheDictionary) {
  EXPECT_TRUE(embedding_guide::dictionaryIsLoaded());
}

TEST(EmbeddingGuide, CountsDatasetsThatDecode) {
  const auto first = ctSlice(2, 2).build();
  const auto second = ctSlice(3, 3).build();
  const auto broken = ctSlice(2, 2).without(DCM_Rows).build();

  EXPECT_EQ(embedding_guide::decodeAtOnce({first.get(), second.get(), broken.get()}), 2);
}

TEST(EmbeddingGuide, KnowsTheSizeOfTheTarget) {
  const auto grey = monochromeImage(3, 2).frames(4).build();
  const auto palette = support::paletteImage(3, 2).build();

  EXPECT_EQ(embedding_guide::targetSize(*grey, 4), 48U);
  EXPECT_EQ(embedding_guide::targetSize(*palette, 1), 18U);
  EXPECT_EQ(embedding_guide::targetSize(*support::DatasetBuilder().build(), 1), 0U);
  EXPECT_TRUE(embedding_guide::fitsInto(48, *grey));
  EXPECT_FALSE(embedding_guide::fitsInto(47, *grey));
  EXPECT_FALSE(embedding_guide::fitsInto(1000, *support::DatasetBuilder().build()));
  for (const auto& dataset : {grey.get(), palette.get()}) {
    std::vector<char> memory(embedding_guide::targetSize(*dataset, 1));
    Zrg::SliceImage slice;
    std::string error;
    EXPECT_TRUE(slice.process(*dataset, error, 0, 0, memory.data(), memory.size())) << error;
    memory.pop_back();
    Zrg::SliceImage tooSmall;
    EXPECT_FALSE(tooSmall.process(*dataset, error, 0, 0, memory.data(), memory.size()));
  }
}

std::string savedIn(const support::TempDir& folder, const DcmDataset& dataset) {
  const std::filesystem::path path = folder.file("in.dcm");
  support::saveFile(dataset, path, EXS_LittleEndianExplicit);
  return path.string();
}

std::string contentOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ImagingGuide, TakesAFrameByItsNumber) {
  const support::TempDir folder;
  const auto dataset = monochromeImage(2, 1).frames(3).samples({1, 2, 3, 4, 5, 6}).build();

  const zr::DecodedFrames frames = imaging_guide::frameOf(savedIn(folder, *dataset), 2);

  EXPECT_EQ(frames.count(), 1U);
  EXPECT_THAT(samplesAt(reinterpret_cast<const char*>(frames.samples().bytes), 2),
              ElementsAre(5, 6));
}

TEST(ImagingGuide, SaysWhyBytesAreNoImage) {
  const support::TempDir folder;

  EXPECT_EQ(imaging_guide::whyNot(contentOf(savedIn(folder, *ctSlice(2, 2).build()))), "");
  EXPECT_EQ(imaging_guide::whyNot("no file"), "NotDicom: is not a DICOM file");
}

TEST(ImagingGuide, WritesByTheEndingAndNeverOverAnInput) {
  const support::TempDir folder;
  const std::string input = savedIn(folder, *monochromeImage(2, 1).samples({7, 8}).build());
  const zr::DecodedFrames frames = imaging_guide::frameOf(input, 0);
  const std::string target = folder.file("out.raw").string();

  imaging_guide::writeFrames(frames, target, zr::ProtectedInputs({input}));

  EXPECT_EQ(contentOf(target), std::string("\7\0\10\0", 4));
  EXPECT_THROW(imaging_guide::writeFrames(frames, target, zr::ProtectedInputs({target})),
               zr::Error);
  EXPECT_THROW(imaging_guide::writeFrames(frames, folder.file("out.bmp").string(), {}), zr::Error);
}

}  // namespace
