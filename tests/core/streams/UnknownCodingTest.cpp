// SPDX-License-Identifier: BSD-3-Clause
// A codec of the application, for a transfer syntax whose streams nobody here can read: it decodes,
// within sizes that can be counted and fragments that are there. The codec of these tests copies
// bytes, and counts how often it is asked.
#include "decoding/SliceDecodingFixtures.h"
#include "streams/CodecGuard.h"
#include "streams/Inspector.h"
#include "streams/TransferSyntaxes.h"
#include "support/ImageBuilder.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeRange;
using decoding::Fragment;
using support::ImageBuilder;
using support::monochromeImage;

constexpr E_TransferSyntax kSyntax = EXS_JPEG2000MulticomponentLosslessOnly;
constexpr const char* kWholeRefused = "Pixel data can't be decompressed";
constexpr const char* kFrameRefused = "Error decompressing frames";

class CopyingParameter : public DcmCodecParameter {
public:
  DcmCodecParameter* clone() const override { return new CopyingParameter(*this); }
  const char* className() const override { return "CopyingParameter"; }
};

class CopyingCodec : public DcmCodec {
public:
  mutable int calls = 0;

  OFBool canChangeCoding(E_TransferSyntax from, E_TransferSyntax to) const override {
    return from == kSyntax && to == EXS_LittleEndianExplicit;
  }

  OFCondition decode(const DcmRepresentationParameter*, DcmPixelSequence* fragments,
                     DcmPolymorphOBOW& samples, const DcmCodecParameter*, const DcmStack&,
                     OFBool& removeOldRepresentation) const override {
    ++calls;
    removeOldRepresentation = OFFalse;
    std::vector<Uint8> all;
    for (unsigned long i = 1; i < fragments->card(); ++i) {
      const Fragment bytes = bytesOf(*fragments, i);
      all.insert(all.end(), bytes.begin(), bytes.end());
    }
    return samples.putUint8Array(all.data(), all.size());
  }

  OFCondition decodeFrame(const DcmRepresentationParameter*, DcmPixelSequence* fragments,
                          const DcmCodecParameter*, DcmItem*, Uint32 frame, Uint32& startFragment,
                          void* buffer, Uint32 size, OFString& colourModel) const override {
    ++calls;
    const Fragment bytes = bytesOf(*fragments, frame + 1);
    if (bytes.size() > size) {
      return EC_CorruptedData;
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    startFragment = frame + 2;
    colourModel = "MONOCHROME2";
    return EC_Normal;
  }

  OFCondition encode(const Uint16*, Uint32, const DcmRepresentationParameter*, DcmPixelSequence*&,
                     const DcmCodecParameter*, DcmStack&, OFBool&) const override {
    return EC_IllegalCall;
  }
  OFCondition encode(E_TransferSyntax, const DcmRepresentationParameter*, DcmPixelSequence*,
                     const DcmRepresentationParameter*, DcmPixelSequence*&,
                     const DcmCodecParameter*, DcmStack&, OFBool&) const override {
    return EC_IllegalCall;
  }
  OFCondition determineDecompressedColorModel(const DcmRepresentationParameter*, DcmPixelSequence*,
                                              const DcmCodecParameter*, DcmItem*,
                                              OFString&) const override {
    return EC_IllegalCall;
  }

private:
  static Fragment bytesOf(DcmPixelSequence& fragments, unsigned long index) {
    DcmPixelItem* item = nullptr;
    Uint8* bytes = nullptr;
    if (fragments.getItem(item, index).bad() || item->getUint8Array(bytes).bad()) {
      return {};
    }
    return {bytes, bytes + item->getLength()};
  }
};

/// Registers the codec as long as a test runs.
class UnknownCoding : public testing::Test {
protected:
  UnknownCoding() {
    EXPECT_TRUE(DcmCodecList::registerCodec(&codec_, nullptr, &parameter_).good());
  }
  ~UnknownCoding() override { EXPECT_TRUE(DcmCodecList::deregisterCodec(&codec_).good()); }

  CopyingCodec codec_;
  CopyingParameter parameter_;
};

const ImageBuilder kTwoFrames = monochromeImage(2, 1).unsigned8().frames(2);
const std::vector<Fragment> kFrames = {{1, 2}, {3, 4}};
const std::vector<int> kSamples = {1, 2, 3, 4};

std::unique_ptr<DcmDataset> twoFrames(const std::vector<Fragment>& fragments) {
  return decoding::encapsulate(*kTwoFrames.build(), kSyntax, fragments);
}

TEST_F(UnknownCoding, IsDecodedByTheCodecOfTheApplication) {
  const auto all = decodeAll(*twoFrames(kFrames));
  const auto second = decodeRange(*twoFrames(kFrames), 1, 1);
  std::vector<Uint8> frame(2);
  std::string errorText;

  ASSERT_TRUE(all.done) << all.errorText;
  ASSERT_TRUE(second.done) << second.errorText;
  EXPECT_EQ(decoding::samplesOf(second.slice), std::vector<int>({3, 4}));
  EXPECT_TRUE(Zrg::decodeFrame(*twoFrames(kFrames), 1, frame.data(), frame.size(), errorText))
      << errorText;
  EXPECT_EQ(frame, kFrames[1]);
  EXPECT_TRUE(
      Zrg::isDecodable(UID_JPEG2000Part2MulticomponentImageCompressionLosslessOnlyTransferSyntax));
}

TEST_F(UnknownCoding, DecodesInPlaceToAllSamples) {
  const auto dataset = twoFrames(kFrames);

  const auto all = decodeAll(*dataset);

  ASSERT_TRUE(all.done) << all.errorText;
  EXPECT_EQ(decoding::samplesOf(all.slice), kSamples);
}

TEST_F(UnknownCoding, IsRefusedWhereAFrameHasNoByte) {
  const auto dataset = twoFrames({{1, 2}, {}});

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_EQ(decodeRange(*dataset, 0, 1).errorText, kFrameRefused);
  EXPECT_EQ(codec_.calls, 0);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
}

TEST_F(UnknownCoding, IsRefusedWhereFramesHaveNoFragment) {
  const auto dataset = twoFrames({{1, 2, 3, 4}});

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_EQ(codec_.calls, 0);
}

TEST_F(UnknownCoding, MayHaveSeveralFragmentsForItsLastFrame) {
  const auto dataset = twoFrames({{1, 2}, {3, 4}, {}});

  EXPECT_TRUE(decodeAll(*dataset).done);
}

// Each frame alone could be counted.
TEST_F(UnknownCoding, IsRefusedWhereNumberOfFramesPromisesMoreThanCanBeCounted) {
  const auto dataset = twoFrames(kFrames);
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Rows, 50000).good());
  ASSERT_TRUE(dataset->putAndInsertUint16(DCM_Columns, 50000).good());
  ASSERT_TRUE(dataset->putAndInsertString(DCM_NumberOfFrames, "2").good());

  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(codec_.calls, 0);
}

TEST_F(UnknownCoding, TakesNoMemoryForFramesThatNumberOfFramesAlonePromises) {
  const auto dataset = twoFrames(kFrames);
  ASSERT_TRUE(dataset->putAndInsertString(DCM_NumberOfFrames, "1000000000").good());
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(DCM_PixelData, element).good());
  Zrg::CodecGuard guard(*dataset, dynamic_cast<DcmPixelData&>(*element));

  EXPECT_FALSE(guard.mayHoldFrames(0, 1000000000));
  EXPECT_FALSE(guard.allFramesAreSafe());
  EXPECT_EQ(codec_.calls, 0);
}

TEST(UnknownCodingWithoutACodec, IsLeftToDcmtkWhichSaysSo) {
  const auto dataset = twoFrames({{1, 2}, {}});
  std::vector<Uint8> frame(2);
  std::string errorText;

  EXPECT_EQ(Zrg::inspectorOf(kSyntax), nullptr);
  EXPECT_EQ(Zrg::inspectorOf(EXS_JPEG2000LosslessOnly), nullptr);
  EXPECT_EQ(decodeAll(*dataset).errorText, kWholeRefused);
  EXPECT_EQ(decodeRange(*dataset, 1, 1).errorText, kFrameRefused);
  EXPECT_FALSE(Zrg::decodeFrame(*dataset, 0, frame.data(), frame.size(), errorText));
  EXPECT_EQ(errorText,
            "There is no decoder for the transfer syntax JPEG 2000 Part 2 Multicomponent Image "
            "Compression (Lossless only)");
}

}  // namespace
