// SPDX-License-Identifier: BSD-3-Clause
// What the header of a compressed frame says, through the public header.
#include "decoding/SliceDecodingFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace {

using decoding::Fragment;
using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;

struct Coded {
  const char* name;
  E_TransferSyntax syntax;
  std::uint32_t process;
};

class CodedFrame : public testing::TestWithParam<Coded> {};

TEST_P(CodedFrame, SaysItsProcessAndItsSize) {
  const auto dataset = support::compress(*rgbImage(40, 24).frames(2).build(), GetParam().syntax);

  const std::optional<Zrg::CodedFrame> frame = Zrg::readCodedFrame(*dataset, 1);

  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->columns, 40U);
  EXPECT_EQ(frame->rows, 24U);
  EXPECT_EQ(frame->components, 3U);
  EXPECT_EQ(frame->precision, 8U);
  EXPECT_EQ(frame->process, GetParam().process);
}

INSTANTIATE_TEST_SUITE_P(Processes, CodedFrame,
                         testing::Values(Coded{"Baseline", EXS_JPEGProcess1, 0xC0},
                                         Coded{"Extended", EXS_JPEGProcess2_4, 0xC1},
                                         Coded{"Progressive", EXS_JPEGProcess10_12, 0xC2},
                                         Coded{"Lossless", EXS_JPEGProcess14SV1, 0xC3},
                                         Coded{"JpegLs", EXS_JPEGLSLossless, 0xF7}),
                         support::nameOf<Coded>);

TEST(CodedFrameOf, SaysWhatTheStreamSaysAndNotTheAttributes) {
  const auto dataset =
      support::compress(*monochromeImage(40, 24).bitsStored(12).build(), EXS_JPEGProcess14SV1);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 7).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_SamplesPerPixel, 3).good());

  const std::optional<Zrg::CodedFrame> frame = Zrg::readCodedFrame(*dataset, 0);

  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->rows, 24U);
  EXPECT_EQ(frame->components, 1U);
}

TEST(CodedFrameOf, IsFoundByTheStartOfItsImage) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  const Fragment large =
      decoding::fragmentsOf(*support::compress(*builder.build(), EXS_JPEGProcess1))[0];
  const Fragment small = decoding::fragmentsOf(
      *support::compress(*monochromeImage(8, 16).unsigned8().build(), EXS_JPEGProcess1))[0];
  std::vector<Fragment> fragments = decoding::cut(large, 20);
  fragments.push_back(small);
  const auto dataset = decoding::encapsulate(*monochromeImage(48, 48).unsigned8().frames(2).build(),
                                             EXS_JPEGProcess1, fragments);

  const std::optional<Zrg::CodedFrame> second = Zrg::readCodedFrame(*dataset, 1);

  ASSERT_TRUE(second);
  EXPECT_EQ(second->columns, 8U);
  EXPECT_EQ(second->rows, 16U);
}

TEST(CodedFrameOf, LeavesItsFragmentInTheFile) {
  const support::TempDir folder;
  const auto noise = support::compress(*monochromeImage(256, 256).build(), EXS_JPEGProcess14SV1);
  support::saveFile(*noise, folder.file("in.dcm"), EXS_JPEGProcess14SV1);
  DcmFileFormat file;
  ASSERT_TRUE(file.loadFile(OFFilename(folder.file("in.dcm").c_str())).good());
  DcmElement* element = nullptr;
  ASSERT_TRUE(file.getDataset()->findAndGetElement(DCM_PixelData, element).good());
  DcmPixelSequence* sequence = nullptr;
  ASSERT_TRUE(dynamic_cast<DcmPixelData&>(*element)
                  .getEncapsulatedRepresentation(EXS_JPEGProcess14SV1, nullptr, sequence)
                  .good());
  DcmPixelItem* fragment = nullptr;
  ASSERT_TRUE(sequence->getItem(fragment, 1).good());
  ASSERT_GT(fragment->getLength(), 4096U);  // what is shorter is loaded with the file

  EXPECT_TRUE(Zrg::readCodedFrame(*file.getDataset(), 0));

  EXPECT_FALSE(fragment->valueLoaded());
  EXPECT_TRUE(Zrg::readCodedFrame(*file.getDataset(), 0));
}

// Its scans are another matter.
TEST(CodedFrameOf, NeedsNoMoreThanTheHeader) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  const auto dataset = decoding::encapsulate(
      *builder.build(), EXS_JPEGLSLossless,
      {{0xFF, 0xD8, 0xFF, 0xF7, 0, 11, 8, 0, 48, 0, 32, 1, 1, 0x11, 0, 0xFF}});

  const std::optional<Zrg::CodedFrame> frame = Zrg::readCodedFrame(*dataset, 0);

  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->columns, 32U);
}

TEST(CodedFrameOf, IsNotThereInDataWithoutHeaders) {
  const ImageBuilder builder = monochromeImage(48, 48).unsigned8();
  DcmItem empty;

  EXPECT_FALSE(Zrg::readCodedFrame(*builder.build(), 0));
  EXPECT_FALSE(Zrg::readCodedFrame(*support::compress(*builder.build(), EXS_RLELossless), 0));
  EXPECT_FALSE(Zrg::readCodedFrame(empty, 0));
}

TEST(CodedFrameOf, IsNotThereBehindTheLastFrame) {
  const auto dataset =
      support::compress(*monochromeImage(48, 48).unsigned8().build(), EXS_JPEGProcess1);

  EXPECT_TRUE(Zrg::readCodedFrame(*dataset, 0));
  EXPECT_FALSE(Zrg::readCodedFrame(*dataset, 1));
  EXPECT_FALSE(Zrg::readCodedFrame(*dataset, std::uint64_t{1} << 32));
}

TEST(CodedFrameOf, IsNotThereInAStreamOfSomethingElse) {
  const auto dataset = decoding::encapsulate(*monochromeImage(48, 48).unsigned8().build(),
                                             EXS_JPEGProcess1, {{1, 2, 3, 4}});

  EXPECT_FALSE(Zrg::readCodedFrame(*dataset, 0));
}

}  // namespace
