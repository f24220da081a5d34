// SPDX-License-Identifier: BSD-3-Clause
// The transform against the model: every source type, every kind of table, every place of the
// stored bits, many lengths, in place and out of place, over random samples.
#include "LutTables.h"
#include "SampleModel.h"
#include "support/RowName.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <numeric>
#include <ostream>
#include <random>
#include <string>

namespace {

using ExDicomUtilities::LUT;
using luttest::ModelInput;
using luttest::ModelOutput;
using luttest::ModelTable;
using luttest::transformByModel;

struct Combination {
  const char* name;
  KtPrimType source;
  KtPrimType tableType;
  unsigned valuesPerEntry;
};

std::ostream& operator<<(std::ostream& out, const Combination& row) {
  return out << row.name;
}

enum class Place { InPlaceWithTarget, InPlaceWithoutTarget, NewTarget, GivenTarget };

// Samples as memory, whatever their type.
std::vector<std::uint32_t> wordsOf(const ZrDataAccess& container) {
  std::vector<std::uint32_t> words;
  const std::size_t bytes = container.primType().primTypeSize();
  if (!container.hasData()) {
    return words;
  }
  const auto* memory = static_cast<const unsigned char*>(container.dataPtr(0));
  words.resize(static_cast<std::size_t>(container.size()) / bytes);
  for (std::uint32_t& word : words) {
    std::memcpy(&word, memory, bytes);  // little endian: the low bytes
    memory += bytes;
  }
  return words;
}

KtHandle<ZrDataAccess> containerOf(const std::vector<std::uint32_t>& words, KtPrimType type,
                                   const KtVec3l& dims) {
  KtHandle<ZrDataAccess> container(new ZrDataAccess(dims, type, 1, KtAllocator(1)));
  auto* memory = static_cast<unsigned char*>(container->dataPtr(0));
  for (const std::uint32_t word : words) {
    std::memcpy(memory, &word, type.primTypeSize());
    memory += type.primTypeSize();
  }
  return container;
}

LUT lutOf(const ModelTable& table) {
  if (table.valuesPerEntry == 0) {
    return LUT();
  }
  if (table.type == KtPrimType::U8) {
    return luttest::table8({table.values.begin(), table.values.end()}, table.valuesPerEntry,
                           table.firstMapped);
  }
  return luttest::table16({table.values.begin(), table.values.end()}, table.valuesPerEntry,
                          table.firstMapped);
}

class SampleTransformModel : public testing::TestWithParam<Combination> {
protected:
  unsigned width() const { return 8 * GetParam().source.primTypeSize(); }

  unsigned random(unsigned below) { return static_cast<unsigned>(generator_() % below); }

  std::vector<std::uint32_t> randomWords(std::size_t count) {
    std::vector<std::uint32_t> words(count);
    const std::uint32_t all = width() == 32 ? 0xFFFFFFFFU : (1U << width()) - 1;
    for (std::uint32_t& word : words) {
      word = static_cast<std::uint32_t>(generator_()) & all;
    }
    return words;
  }

  ModelTable randomTable() {
    ModelTable table;
    table.type = GetParam().tableType;
    table.valuesPerEntry = GetParam().valuesPerEntry;
    if (table.valuesPerEntry == 0) {
      return table;
    }
    const std::vector<unsigned> sizes = {1, 2, 3, 100, 256, 4096};
    const std::vector<int> firsts = {0, 1, -1, 100, -128, -2048, 32768, -32768, 65535, 100000};
    const unsigned entries = sizes[random(static_cast<unsigned>(sizes.size()))];
    table.firstMapped = firsts[random(static_cast<unsigned>(firsts.size()))];
    for (unsigned i = 0; i < entries * table.valuesPerEntry; ++i) {
      table.values.push_back(random(table.type == KtPrimType::U8 ? 256 : 65536));
    }
    return table;
  }

  // One call and everything that it may and may not do.
  void compare(const ModelInput& input, const KtVec3l& dims, Place place);

  std::mt19937 generator_{20070901};  // the same samples at every run
};

void SampleTransformModel::compare(const ModelInput& input, const KtVec3l& dims, Place place) {
  const ModelOutput expected = transformByModel(input);
  const KtHandle<ZrDataAccess> source = containerOf(input.words, input.type, dims);
  const bool wantsInPlace =
      place == Place::InPlaceWithTarget || place == Place::InPlaceWithoutTarget;
  const bool fitsInPlace =
      expected.nDataVar == 1 && expected.type.primTypeSize() == input.type.primTypeSize();
  KtHandle<ZrDataAccess> target;
  if (place == Place::InPlaceWithTarget) {
    target = source;
  } else if (place == Place::GivenTarget) {
    target = new ZrDataAccess(dims, expected.type, expected.nDataVar, KtAllocator(1));
  }
  const KtHandle<ZrDataAccess> given = target;
  const LUT lut = lutOf(input.table);

  int offset = 4711;
  const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, target, offset, lut, wantsInPlace, input.bitsStored, input.highBit);

  if (place == Place::InPlaceWithTarget && !fitsInPlace) {
    EXPECT_TRUE(result.isBad());
    EXPECT_EQ(result.code(), 1);
    EXPECT_EQ(source->primType(), input.type);
    EXPECT_EQ(wordsOf(*source), input.words);
    return;
  }
  ASSERT_TRUE(result.isOk());
  EXPECT_EQ(offset, expected.offset);
  const bool inPlace = wantsInPlace && fitsInPlace;
  EXPECT_EQ(target.isNull(), place == Place::InPlaceWithoutTarget && inPlace);
  if (place == Place::GivenTarget) {
    EXPECT_EQ(target, given);
  }
  const ZrDataAccess& work = inPlace ? *source : *target;
  EXPECT_EQ(work.primType(), expected.type);
  EXPECT_EQ(work.nDataVar(), expected.nDataVar);
  EXPECT_EQ(work.dims(), dims);
  const std::vector<std::uint32_t> untouched =
      inPlace ? input.words : std::vector<std::uint32_t>(input.words.size() * expected.nDataVar, 0);
  ASSERT_EQ(wordsOf(work), expected.words.value_or(untouched));
  if (!inPlace) {
    EXPECT_EQ(wordsOf(*source), input.words) << "the source must stay as it is";
    EXPECT_EQ(source->primType(), input.type);
  }
}

constexpr Place kPlaces[] = {Place::InPlaceWithTarget, Place::InPlaceWithoutTarget,
                             Place::NewTarget, Place::GivenTarget};

TEST_P(SampleTransformModel, AgreesForEveryPlaceOfTheStoredBits) {
  const unsigned step = width() == 32 ? 5 : 1;  // 32-bit samples are left alone in any case
  for (unsigned bitsStored = 0; bitsStored <= width(); bitsStored += step) {
    for (unsigned highBit = 0; highBit < width(); highBit += step) {
      SCOPED_TRACE(std::to_string(bitsStored) + " bits up to bit " + std::to_string(highBit));
      ModelInput input{GetParam().source, randomWords(45), bitsStored, highBit, randomTable()};
      for (const Place place : kPlaces) {
        compare(input, KtVec3l(5, 3, 3), place);
      }
      if (HasFatalFailure()) {
        return;
      }
    }
  }
}

TEST_P(SampleTransformModel, AgreesForEveryLength) {
  const unsigned w = width();
  const std::vector<std::pair<unsigned, unsigned>> bits = {
      {w, w - 1},      // everything stored
      {w - 3, w - 4},  // low bits: mask, or shifts back and forth
      {w - 3, w - 1},  // high bits: one shift
      {w / 2, w - 2},  // in the middle
  };
  for (long long length = 1; length <= 70; ++length) {
    for (const auto& [bitsStored, highBit] : bits) {
      SCOPED_TRACE(std::to_string(length) + " samples of " + std::to_string(bitsStored) + " bits");
      ModelInput input{GetParam().source, randomWords(static_cast<std::size_t>(length)), bitsStored,
                       highBit, randomTable()};
      for (const Place place : kPlaces) {
        compare(input, KtVec3l(length, 1, 1), place);
      }
      if (HasFatalFailure()) {
        return;
      }
    }
  }
}

TEST_P(SampleTransformModel, AgreesForLargeImages) {
  const unsigned w = width();
  for (const auto& [columns, rows, frames] :
       {std::array<long long, 3>{4096, 1, 1}, {4097, 1, 1}, {257, 63, 2}, {100003, 1, 1}}) {
    for (const unsigned highBit : {w - 1, w - 4}) {
      SCOPED_TRACE(std::to_string(columns) + " columns, high bit " + std::to_string(highBit));
      ModelInput input{GetParam().source,
                       randomWords(static_cast<std::size_t>(columns * rows * frames)), w - 3,
                       highBit, randomTable()};
      for (const Place place : kPlaces) {
        compare(input, KtVec3l(columns, rows, frames), place);
      }
      if (HasFatalFailure()) {
        return;
      }
    }
  }
}

// Each value comes up four times on average, where the transform goes over to a table of all
// values. 32-bit samples have too many of them to model all, and are left alone anyway.
class NarrowSampleTransformModel : public SampleTransformModel {};

TEST_P(NarrowSampleTransformModel, AgreesWhereValuesRepeat) {
  std::vector<std::uint32_t> values(std::size_t{1} << width());
  std::iota(values.begin(), values.end(), 0U);
  // The loops are the same for both widths; a quarter of a million samples need not go through all.
  const std::vector<std::size_t> beyond =
      width() == 8 ? std::vector<std::size_t>{0, 1, 2, 3, 5} : std::vector<std::size_t>{0, 3};
  for (const unsigned highBit : {width() - 1, width() - 4}) {
    ModelInput input{GetParam().source, values, width() - 3, highBit, randomTable()};
    const ModelOutput ofValues = transformByModel(input);
    for (const std::size_t more : beyond) {
      input.words = randomWords(4 * values.size() + more);
      const auto count = static_cast<long long>(input.words.size());
      const bool fitsInPlace =
          ofValues.nDataVar == 1 && ofValues.type.primTypeSize() == input.type.primTypeSize();
      for (const bool inPlace : {false, true}) {
        const auto source = containerOf(input.words, input.type, KtVec3l(count, 1, 1));
        KtHandle<ZrDataAccess> target;
        int offset = 0;
        ASSERT_TRUE(ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
                        source, target, offset, lutOf(input.table), inPlace, input.bitsStored,
                        input.highBit)
                        .isOk());
        if (!ofValues.words) {
          continue;  // nothing is converted; the other tests say what is left
        }
        std::vector<std::uint32_t> expected;
        for (const std::uint32_t word : input.words) {
          for (unsigned v = 0; v < ofValues.nDataVar; ++v) {
            expected.push_back((*ofValues.words)[std::size_t{word} * ofValues.nDataVar + v]);
          }
        }
        ASSERT_TRUE(wordsOf(inPlace && fitsInPlace ? *source : *target) == expected)
            << count << " samples, high bit " << highBit << (inPlace ? ", in place" : "");
      }
    }
  }
}

using Sources = std::vector<std::pair<const char*, KtPrimType>>;

std::vector<Combination> combinationsOf(const Sources& sources) {
  std::vector<Combination> rows;
  static std::deque<std::string> names;  // the rows point into them
  for (const auto& [sourceName, source] : sources) {
    const auto add = [&rows, &sourceName = sourceName, &source = source](
                         const std::string& table, KtPrimType type, unsigned values) {
      names.push_back(sourceName + table);
      rows.push_back({names.back().c_str(), source, type, values});
    };
    add("WithoutTable", KtPrimType::U8, 0);
    for (const unsigned values : {1U, 2U, 3U}) {
      add("With" + std::to_string(values) + "ValuesOf8Bit", KtPrimType::U8, values);
      add("With" + std::to_string(values) + "ValuesOf16Bit", KtPrimType::U16, values);
    }
  }
  return rows;
}

const Sources kNarrow = {{"Unsigned8", KtPrimType::U8},
                         {"Signed8", KtPrimType::S8},
                         {"Unsigned16", KtPrimType::U16},
                         {"Signed16", KtPrimType::S16}};
const Sources kWide = {{"Unsigned32", KtPrimType::U32}, {"Signed32", KtPrimType::S32}};

INSTANTIATE_TEST_SUITE_P(Narrow, SampleTransformModel, testing::ValuesIn(combinationsOf(kNarrow)),
                         support::nameOf<Combination>);
INSTANTIATE_TEST_SUITE_P(Wide, SampleTransformModel, testing::ValuesIn(combinationsOf(kWide)),
                         support::nameOf<Combination>);
INSTANTIATE_TEST_SUITE_P(Narrow, NarrowSampleTransformModel,
                         testing::ValuesIn(combinationsOf(kNarrow)), support::nameOf<Combination>);

// ---- the model itself --------------------------------------------------------------------------

TEST(SampleModel, FindsStoredValuesWorkedOutByHand) {
  EXPECT_EQ(luttest::storedValue(0xF123, 16, false, 12, 11), 0x123);
  EXPECT_EQ(luttest::storedValue(0xF800, 16, true, 12, 11), -2048);
  EXPECT_EQ(luttest::storedValue(0x0800, 16, true, 12, 11), -2048);
  EXPECT_EQ(luttest::storedValue(0x07FF, 16, true, 12, 11), 2047);
  EXPECT_EQ(luttest::storedValue(0xABCD, 16, false, 12, 15), 0xABC);
  EXPECT_EQ(luttest::storedValue(0x80, 8, true, 8, 7), -128);
  EXPECT_EQ(luttest::storedValue(0x3C, 8, false, 4, 5), 0xF);
}

}  // namespace
