// SPDX-License-Identifier: BSD-3-Clause
// The shared library as a program from outside uses it: each installed header, and something that
// it declares. What the functions do in full is tested in the folders of their subjects.
#include "support/ImageBuilder.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ExDCMLog.h>
#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrByteCounts.h>
#include <zrdcmexport/ZrDcmExport.h>
#include <zrdcmexport/ZrFrameOrder.h>
#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrNumbers.h>
#include <zrdcmexport/ZrSamples.h>
#include <zrdcmexport/ZrSliceImage.h>
#include <zrdcmexport/ZrTransferSyntax.h>
#include <zrvolren/ZrMsg.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/oflog/oflog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace {

using ExDicomUtilities::LUT;
using support::monochromeImage;
using testing::Contains;
using testing::HasSubstr;

TEST(Surface, OfExDcmKnowsOurElements) {
  ExDCM::registerPrivateDicomTags();

  EXPECT_EQ(ExDCM::zorlanTag(ExDCM::PrivateTag::SortIndex).getEVR(), EVR_IS);
}

TEST(Surface, OfThePrivateElementsIsATableOfTheConstants) {
  std::set<DcmTagKey> keys;
#define ZRDCMEXPORT_PRIVATE_ELEMENT(name, element, vr, vm) \
  keys.insert(ExDCM::PrivateTag::name);                    \
  EXPECT_EQ(ExDCM::PrivateTag::name, DcmTagKey(0x0071, element)) << #name;
#include <zrdcmexport/PrivateElements.def>

  EXPECT_THAT(keys, Contains(DcmTagKey(0x0071, 0x1074)));
}

TEST(Surface, OfTheLogBringsWhatDcmtkSays) {
  const support::LogCapture log;
  ExDCM::forwardDcmtkLog();

  OFLOG_WARN(OFLog::getLogger("dcmtk.dcmdata"), "from DCMTK");
  ExDCM::restoreDcmtkLog();

  EXPECT_THAT(log.texts(), Contains(HasSubstr("from DCMTK")));
}

TEST(Surface, OfTheSampleTransformMakesSignedSamplesUnsigned) {
  std::vector<std::int8_t> samples = {-1, 1};
  KtHandle<ZrDataAccess> data(new ZrDataAccess(KtVec3l(2, 1, 1), KtVec3l(1, 2, 2), samples.data(),
                                               KtPrimType::S8, 1,
                                               KtAllocator(KtAllocator::kWrapping)));
  int offset = 0;

  ASSERT_TRUE(
      ExDicomUtilities::extractSample_applyLUT_makeUnsigned(data, data, offset, LUT(), true, 8, 7)
          .isOk());

  EXPECT_EQ(offset, 128);
  EXPECT_THAT(samples, testing::ElementsAre(127, -127));  // 127 and 129 as unsigned bytes
}

TEST(Surface, OfTheInternalCheckTellsItsPlace) {
  const KtResult result = ExDicomUtilities::internalCheck(false, "a==b", "File.cpp", 7);

  EXPECT_EQ(result.line(), 7);
  const support::LogCapture log;
  EXPECT_TRUE(ExDicomUtilities::failsInternally(false, "a==b", "File.cpp"));
}

TEST(Surface, OfTablesSendsAndReceivesThem) {
  LUT sent;
  sent.set({1, 2, 3}, {}, 1, -1, false);
  ZrMsg message;
  message << sent;

  ZrMsg arrived(message.bytes());
  LUT received;
  arrived >> received;

  EXPECT_EQ(received.firstMapped, -1);
  EXPECT_EQ(received.hash(), sent.hash());
}

TEST(Surface, OfTheWriterMakesAFileOrNamesWhatStopsIt) {
  const support::TempDir folder;
  std::vector<unsigned short> samples(4);
  ZrDcmExport writer;
  ASSERT_TRUE(writer.setOutputBaseDirectory(folder.path().c_str()));
  ASSERT_TRUE(writer.setFilename("image.dcm"));

  EXPECT_TRUE(writer.writeImageAsIs(2, 2, samples.data()));
  ASSERT_TRUE(writer.setDicomTag(0x0028, 0x0010, "two"));
  EXPECT_FALSE(writer.writeImageAsIs(2, 2, samples.data()));

  EXPECT_EQ(writer.refusedAttribute(), "Rows: Corrupted data");
  EXPECT_EQ(ZrDcmExport::reasonNotWritable(0x0028, 0x0010, "two", false), "Corrupted data");
  EXPECT_NE(writer.lastError(), "");
}

TEST(Surface, OfFrameOrdersTellsWhyThereIsNone) {
  const auto dataset = monochromeImage(2, 2).build();
  Zrg::FrameOrder order;
  std::string reason;

  EXPECT_FALSE(Zrg::readFrameOrder(*dataset, order, reason));

  EXPECT_NE(reason, "");
}

TEST(Surface, OfFramesDecodesOneByItsNumber) {
  const auto dataset = monochromeImage(2, 1).frames(2).samples({1, 2, 3, 4}).build();
  std::vector<std::uint16_t> frame(2);
  std::string error;

  ASSERT_TRUE(Zrg::decodeFrame(*dataset, 1, frame.data(), 4, error)) << error;

  EXPECT_THAT(frame, testing::ElementsAre(3, 4));
}

TEST(Surface, OfNumbersReadsThemWithoutALocale) {
  EXPECT_EQ(Zrg::intOf("12"), 12);
  EXPECT_EQ(Zrg::floatOf("0.5"), 0.5F);
  EXPECT_EQ(Zrg::doubleOf("0.25"), 0.25);
}

TEST(Surface, OfSlicesAndVolumesDecodes) {
  const auto dataset = monochromeImage(2, 1)
                           .frames(2)
                           .samples({1, 2, 3, 4})
                           .frameIncrementPointer("(3004,000c)")
                           .with(DCM_GridFrameOffsetVector, "0\\1")
                           .build();
  std::string error;
  Zrg::SliceImage slice;
  Zrg::MultiFrameImage volumes(true);

  std::vector<std::uint16_t> frame(2);
  ASSERT_TRUE(slice.process(*dataset, error, 1, 1, frame.data(), 4)) << error;
  ASSERT_TRUE(volumes.process(*dataset, error, true)) << error;

  EXPECT_THAT(frame, testing::ElementsAre(3, 4));
  EXPECT_EQ(volumes.numFrames(), 2U);
  EXPECT_FALSE(Zrg::isEnhancedDicom(*dataset));
}

TEST(Surface, OfByteCountsStopsAtTheLargest) {
  EXPECT_EQ(Zrg::saturatedProduct(1ULL << 40U, 1ULL << 40U), Zrg::kBeyondCounting);
}

TEST(Surface, OfTransferSyntaxesNamesThem) {
  const Zrg::TransferSyntax* const syntax = Zrg::findTransferSyntax(UID_RLELosslessTransferSyntax);

  ASSERT_NE(syntax, nullptr);
  EXPECT_TRUE(syntax->lossless);
  EXPECT_TRUE(Zrg::isDecodable(UID_RLELosslessTransferSyntax));
}

TEST(Surface, OfSamplesTransformsThemFromMemoryIntoMemory) {
  const Zrg::StoredSamples stored{2, 12, 11, true};
  const std::uint16_t sample = 0x0FFF;
  std::int16_t value = 0;
  std::uint16_t shown = 0;

  Zrg::SampleTransform::isolating(stored).value().apply(&sample, 1, &value);
  Zrg::SampleTransform::makingUnsigned(stored, ExDicomUtilities::LUT())
      .value()
      .apply(&sample, 1, &shown);

  EXPECT_EQ(value, -1);
  EXPECT_EQ(shown, 32767);
}

}  // namespace
