// SPDX-License-Identifier: BSD-3-Clause
// Colour images that DCMTK would decode by itself: with their icons, or as a document.
#include "streams/StreamFixtures.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using decoding::decodeAll;
using decoding::decodeRange;
using decoding::endlessMarkers;
using decoding::Outcome;
using streams::Fragment;
using streams::kDirectRefused;
using streams::kNothingToRender;
using streams::streamOf;
using streams::withoutTables;
using support::ImageBuilder;
using support::monochromeImage;
using support::rgbImage;

const ImageBuilder kSmallImage = monochromeImage(24, 24).unsigned8();

void insertIcon(DcmDataset& dataset, const Fragment& stream) {
  DcmItem* icon = nullptr;
  ASSERT_TRUE(dataset.findOrCreateSequenceItem(DCM_IconImageSequence, icon, 0).good());
  const auto image = decoding::encapsulate(*kSmallImage.build(), EXS_JPEGProcess14SV1, {stream});
  for (unsigned long i = 0; i < image->card(); ++i) {
    ASSERT_TRUE(icon->insert(dynamic_cast<DcmElement*>(image->getElement(i)->clone())).good());
  }
}

TEST(HostileIcon, ThatWouldHangTheDecoderIsRefusedTogetherWithItsImage) {
  const auto dataset = support::compress(*rgbImage(48, 48).build(), EXS_JPEGProcess14SV1);
  insertIcon(*dataset, endlessMarkers());

  EXPECT_EQ(decodeAll(*dataset).errorText, kDirectRefused);
  EXPECT_TRUE(decodeRange(*dataset, 0, 0).done);
}

TEST(HostileIcon, ThatFailsIsNoHindranceToItsImage) {
  const ImageBuilder builder = rgbImage(48, 48);
  const auto dataset = support::compress(*builder.build(), EXS_JPEGProcess14SV1);
  insertIcon(*dataset, withoutTables(streamOf(kSmallImage, EXS_JPEGProcess14SV1)));

  const Outcome outcome = decodeAll(*dataset);

  ASSERT_TRUE(outcome.done) << outcome.errorText;
  EXPECT_EQ(decoding::samplesOf(outcome.slice), decoding::numbers(builder.storedSamples()));
}

TEST(HostileColour, OfSixteenBitsIsNeverTakenFromTheDecoderDirectly) {
  const auto dataset = decoding::encapsulate(*rgbImage(48, 48).unsigned16().build(),
                                             EXS_JPEGProcess14SV1, {endlessMarkers()});

  EXPECT_EQ(decodeRange(*dataset, 0, 0).errorText, kNothingToRender);
}

}  // namespace
