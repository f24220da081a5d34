// SPDX-License-Identifier: BSD-3-Clause
// The syntaxes of the phantoms: names, instances, encoders.
#include "phantoms/Coding.h"
#include "phantoms/Phantoms.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using testing::StrEq;
using testing::ThrowsMessage;

phantoms::Phantom smallPhantom() {
  return {"small",
          "nothing",
          support::monochromeImage(4, 4).with(DCM_SOPInstanceUID, "1.2.3").build(),
          {}};
}

std::string instanceOf(const phantoms::CodedPhantom& coded) {
  OFString uid;
  return coded.file->getDataset()->findAndGetOFString(DCM_SOPInstanceUID, uid).good() ? uid : "";
}

TEST(CodedPhantom, IsNamedAfterThePhantomAndTheSyntax) {
  const phantoms::Encoders encoders;

  EXPECT_EQ(phantoms::codedAs(smallPhantom(), EXS_LittleEndianExplicit).fileName, "small.dcm");
  EXPECT_EQ(phantoms::codedAs(smallPhantom(), EXS_RLELossless).fileName, "small-rle.dcm");
}

TEST(CodedPhantom, IsAnInstanceOfItsOwnInEverySyntax) {
  const phantoms::Encoders encoders;

  EXPECT_EQ(instanceOf(phantoms::codedAs(smallPhantom(), EXS_LittleEndianExplicit)), "1.2.3.1");
  EXPECT_EQ(instanceOf(phantoms::codedAs(smallPhantom(), EXS_JPEGLSLossless)), "1.2.3.4");
}

TEST(CodedPhantom, LeavesThePhantomUncompressed) {
  const phantoms::Encoders encoders;
  const phantoms::Phantom phantom = smallPhantom();

  const phantoms::CodedPhantom coded = phantoms::codedAs(phantom, EXS_RLELossless);

  EXPECT_TRUE(coded.file->getDataset()->hasRepresentation(EXS_RLELossless, nullptr));
  EXPECT_FALSE(phantom.dataset->hasRepresentation(EXS_RLELossless, nullptr));
}

TEST(CodedPhantom, IsNotMadeInASyntaxWithoutANameOfItsOwn) {
  EXPECT_THAT([] { phantoms::codedAs(smallPhantom(), EXS_BigEndianExplicit); },
              ThrowsMessage<std::runtime_error>(StrEq("no such coding")));
}

TEST(Encode, NamesTheSyntaxThatHasNoEncoder) {
  const phantoms::Phantom phantom = smallPhantom();

  EXPECT_THAT([&] { phantoms::encode(*phantom.dataset, EXS_JPEG2000LosslessOnly); },
              ThrowsMessage<std::runtime_error>(
                  StrEq("cannot make JPEG 2000 (Lossless only): Pixel representation cannot be "
                        "changed")));
}

}  // namespace
