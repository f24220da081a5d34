// SPDX-License-Identifier: BSD-3-Clause
// Palettes out of items: three descriptors, three sets of data, one RGB table.
#include "FakeItem.h"
#include "LutTables.h"
#include "support/DatasetBuilder.h"
#include "support/LogCapture.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using ExDicomUtilities::LUT;
using luttest::entryCount;
using luttest::FakeItem;
using luttest::is16;
using luttest::is8;
using luttest::valuesOf;
using support::DatasetBuilder;
using support::LogCapture;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kWarning = "Modality LUT inconsistent.";

using Bytes = std::vector<Uint8>;
using Words = std::vector<Uint16>;

const std::array<DcmTagKey, 3>& descriptorTags() {
  static const std::array<DcmTagKey, 3> kTags = {
      DcmTagKey(0x0028, 0x1101), DcmTagKey(0x0028, 0x1102), DcmTagKey(0x0028, 0x1103)};
  return kTags;
}

const std::array<DcmTagKey, 3>& dataTags() {
  static const std::array<DcmTagKey, 3> kTags = {
      DcmTagKey(0x0028, 0x1201), DcmTagKey(0x0028, 0x1202), DcmTagKey(0x0028, 0x1203)};
  return kTags;
}

class PaletteItem : public FakeItem {
public:
  PaletteItem& descriptors(const std::string& text) {
    for (const DcmTagKey& tag : descriptorTags()) {
      this->text(tag, text);
    }
    return *this;
  }
  PaletteItem& channelBytes(const Bytes& red, const Bytes& green, const Bytes& blue) {
    bytes(dataTags()[0], red).bytes(dataTags()[1], green).bytes(dataTags()[2], blue);
    return *this;
  }
  PaletteItem& channelWords(const Words& red, const Words& green, const Words& blue) {
    words(dataTags()[0], red).words(dataTags()[1], green).words(dataTags()[2], blue);
    return *this;
  }
};

LUT readPalette(Wex::Item& item) {
  LUT lut;
  LUT::dcmDatasetRead(lut, item, true);
  return lut;
}

TEST(PaletteReading, MergesWordsIntoRgbEntries) {
  PaletteItem item;
  item.descriptors("2\\0\\16").channelWords({0x1000, 0x1001}, {0x2000, 0x2001}, {0x3000, 0x3001});
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is16(lut));
  EXPECT_EQ(lut.entries->nDataVar(), 3U);
  EXPECT_EQ(lut.entries->dims(), KtVec3l(2, 1, 1));
  EXPECT_THAT(valuesOf(lut), ElementsAre(0x1000, 0x2000, 0x3000, 0x1001, 0x2001, 0x3001));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, MergesBytesIntoRgbEntries) {
  PaletteItem item;
  item.descriptors("2\\0\\8").channelBytes({1, 2}, {3, 4}, {5, 6});
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is8(lut));
  EXPECT_THAT(valuesOf(lut), ElementsAre(1, 3, 5, 2, 4, 6));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, TakesTheLowByteOfWordsThatHoldOneEntryEach) {
  PaletteItem item;
  item.descriptors("2\\0\\8").channelWords({0x1111, 0xAB12}, {0x2121, 0x2222}, {0x3131, 0x0032});
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is8(lut));
  EXPECT_THAT(valuesOf(lut), ElementsAre(0x11, 0x21, 0x31, 0x12, 0x22, 0x32));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, UnpacksWordsThatHoldTwoEntriesEach) {
  PaletteItem item;
  item.descriptors("4\\0\\8").channelWords({0x0201, 0x0403}, {0x1211, 0x1413}, {0x2221, 0x2423});
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is8(lut));
  EXPECT_THAT(valuesOf(lut),
              ElementsAre(0x01, 0x11, 0x21, 0x02, 0x12, 0x22, 0x03, 0x13, 0x23, 0x04, 0x14, 0x24));
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, Unpacks128WordsInto256Bytes) {
  Words packed(128);
  for (std::size_t i = 0; i < packed.size(); ++i) {
    packed[i] = static_cast<Uint16>(2 * i + 256 * (2 * i + 1));
  }
  PaletteItem item;
  item.descriptors("256\\0\\8").channelWords(packed, packed, packed);
  const LogCapture log;

  const LUT lut = readPalette(item);

  ASSERT_EQ(entryCount(lut), 256);
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(valuesOf(lut)[static_cast<std::size_t>(3 * i + 1)], i);
  }
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, UnpacksOneWordAForCountOf65536) {
  const Words words(65536, 0x7777);
  PaletteItem item;
  item.descriptors("0\\0\\8").channelWords(words, words, words);
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is8(lut));
  EXPECT_EQ(entryCount(lut), 65536);
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, KeepsWordsWhoseCountFitsNeitherPacking) {
  const Words words(128, 0x0201);  // 255 entries would need 127.5 words
  PaletteItem item;
  item.descriptors("255\\0\\8").channelWords(words, words, words);
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is16(lut));
  EXPECT_EQ(entryCount(lut), 128);
  EXPECT_THAT(log.texts(), ElementsAre(kWarning, kWarning, kWarning));
}

TEST(PaletteReading, LoadsBytesAnnouncedAsWordsAndWarns) {
  PaletteItem item;
  item.descriptors("2\\0\\16").channelBytes({1, 2}, {3, 4}, {5, 6});
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is8(lut));
  EXPECT_THAT(valuesOf(lut), ElementsAre(1, 3, 5, 2, 4, 6));
  EXPECT_THAT(log.texts(), ElementsAre(kWarning, kWarning, kWarning));
}

TEST(PaletteReading, PrefersWordsWhereBothFormsExistAndWarns) {
  PaletteItem item;
  item.descriptors("2\\0\\8").channelBytes({1, 2}, {3, 4}, {5, 6});
  item.channelWords({10, 20}, {30, 40}, {50, 60});
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(is16(lut));
  EXPECT_THAT(valuesOf(lut), ElementsAre(10, 30, 50, 20, 40, 60));
  EXPECT_THAT(log.texts(), ElementsAre(kWarning, kWarning, kWarning));
}

TEST(PaletteReading, LeavesSmallWordsWide) {
  PaletteItem item;
  item.descriptors("2\\0\\16").channelWords({1, 2}, {3, 4}, {5, 6});

  EXPECT_TRUE(is16(readPalette(item)));
}

TEST(PaletteReading, TakesTheFirstMappedValueOfRed) {
  PaletteItem item;
  item.descriptors("2\\0\\8").channelBytes({1, 2}, {3, 4}, {5, 6});
  item.text(descriptorTags()[0], "2\\100\\8");
  item.text(descriptorTags()[1], "2\\200\\8");
  item.text(descriptorTags()[2], "2\\300\\8");

  EXPECT_EQ(readPalette(item).firstMapped, 100);
}

TEST(PaletteReading, LeavesTheFirstMappedValueUnsigned) {
  PaletteItem item;
  item.descriptors("2\\63488\\8").channelBytes({1, 2}, {3, 4}, {5, 6});
  item.text(DCM_PixelRepresentation, "1");

  EXPECT_EQ(readPalette(item).firstMapped, 63488);
}

TEST(PaletteReading, RefusesChannelsOfUnequalLength) {
  PaletteItem item;
  item.text(descriptorTags()[0], "256\\0\\8").text(descriptorTags()[1], "256\\0\\8");
  item.text(descriptorTags()[2], "255\\0\\8");
  item.channelBytes(Bytes(256, 1), Bytes(256, 2), Bytes(255, 3));
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, RefusesChannelsOfDifferentWidth) {
  PaletteItem item;
  item.descriptors("2\\0\\8").bytes(dataTags()[0], {1, 2});
  item.text(descriptorTags()[1], "2\\0\\16").words(dataTags()[1], {3, 4});
  item.text(descriptorTags()[2], "2\\0\\16").words(dataTags()[2], {5, 6});

  EXPECT_TRUE(readPalette(item).entries.isNull());
}

TEST(PaletteReading, RefusesAPaletteThatLacksAChannel) {
  FakeItem item;
  item.text(descriptorTags()[0], "2\\0\\8").bytes(dataTags()[0], {1, 2});
  item.text(descriptorTags()[2], "2\\0\\8").bytes(dataTags()[2], {1, 2});
  const LogCapture log;

  EXPECT_TRUE(readPalette(item).entries.isNull());
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, IsSilentWithoutDescriptors) {
  FakeItem item;
  const LogCapture log;

  EXPECT_TRUE(readPalette(item).entries.isNull());
  EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PaletteReading, ClearsTheTableFirst) {
  FakeItem item;
  LUT lut = luttest::table8({1, 2}, 1, 4);

  LUT::dcmDatasetRead(lut, static_cast<Wex::Item&>(item), true);

  EXPECT_TRUE(lut.entries.isNull());
  EXPECT_EQ(lut.firstMapped, 0);
}

TEST(PaletteReading, IgnoresTheModalityLut) {
  FakeItem container;
  container.text(DCM_LUTDescriptor, "2\\0\\16").words(DCM_LUTData, {1, 2});
  FakeItem item;
  item.item(DCM_ModalityLUTSequence, container);

  EXPECT_TRUE(readPalette(item).entries.isNull());
}

TEST(LutReading, WarnsOncePerPaletteDescriptor) {
  PaletteItem item;
  item.descriptors("3\\0\\8").channelBytes({1, 2}, {3, 4}, {5, 6});  // three announced, two there
  item.text(descriptorTags()[1], "2\\0\\8");                         // green is right
  const LogCapture log;

  const LUT lut = readPalette(item);

  EXPECT_THAT(valuesOf(lut), ElementsAre(1, 3, 5, 2, 4, 6));
  EXPECT_THAT(log.texts(), ElementsAre(kWarning, kWarning));
}

TEST(PaletteReadingFromDatasets, TakesOwDataOfBytesAndWords) {
  const auto palette = [](Uint16 bits, const Words& words) {
    DatasetBuilder builder;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      builder.withUint16s(descriptorTags()[channel], {4, 0, bits})
          .withWords(dataTags()[channel], words);
    }
    return builder.build();
  };
  const LogCapture log;

  LUT packed;
  LUT::dcmDatasetRead(packed, *palette(8, {0x0201, 0x0403}), true);
  LUT wide;
  LUT::dcmDatasetRead(wide, *palette(16, {256, 512, 768, 1024}), true);

  EXPECT_THAT(valuesOf(packed), ElementsAre(1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4));
  EXPECT_THAT(valuesOf(wide),
              ElementsAre(256, 256, 256, 512, 512, 512, 768, 768, 768, 1024, 1024, 1024));
  EXPECT_THAT(log.texts(), IsEmpty());
}

}  // namespace
