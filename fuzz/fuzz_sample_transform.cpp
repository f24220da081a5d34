// SPDX-License-Identifier: BSD-3-Clause
// The transform for any types, tables, bits and lengths: in place and out of place must give what
// the slow and obvious model of the tests gives, sample by sample, and the table over all values of
// a sample must give what the loops give.
#include "Input.h"
#include "SampleModel.h"
#include "samples/Domain.h"
#include "samples/Kernels.h"

#include <ktlib/KtDArray.h>
#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrDataAccess.h>

#include <array>
#include <cstring>

namespace {

using fuzz::Input;
using fuzz::require;
using luttest::ModelInput;
using luttest::ModelOutput;
using luttest::ModelTable;

struct Table {
  ExDicomUtilities::LUT lut;
  ModelTable model;
};

std::uint32_t wordAt(const ZrDataAccess& samples, std::size_t index) {
  const std::size_t size = samples.primType().primTypeSize();
  std::uint32_t word = 0;
  std::memcpy(&word, static_cast<const char*>(samples.dataPtr(0)) + index * size, size);
  return word;
}

Table tableFrom(Input& input) {
  KtDArray<unsigned char> values8;
  KtDArray<unsigned short> values16;
  const bool wide = input.flag();
  const unsigned count = input.below(80);
  for (unsigned i = 0; i < count; ++i) {
    if (wide) {
      values16.append(input.word());
    } else {
      values8.append(input.byte());
    }
  }
  const unsigned components = input.below(5);
  const int firstMapped = input.flag() ? input.integer() : static_cast<Sint16>(input.word());
  Table table;
  table.lut.set(values8, values16, components, firstMapped, input.flag());
  if (table.lut.entries.isNotNull() && table.lut.entries->hasData()) {
    const ZrDataAccess& entries = *table.lut.entries;
    table.model.type = entries.primType();
    table.model.valuesPerEntry = entries.nDataVar();
    table.model.firstMapped = table.lut.firstMapped;
    const auto values = static_cast<std::size_t>(entries.dims().x) * entries.nDataVar();
    for (std::size_t i = 0; i < values; ++i) {
      table.model.values.push_back(wordAt(entries, i));
    }
  }
  return table;
}

void compare(const ZrDataAccess& result, int offset, const ModelOutput& expected) {
  require(result.primType() == expected.type && result.nDataVar() == expected.nDataVar);
  if (!expected.words) {
    return;  // samples that are not converted, of which a fresh target holds nothing
  }
  require(offset == expected.offset);
  for (std::size_t i = 0; i < expected.words->size(); ++i) {
    require(wordAt(result, i) == (*expected.words)[i]);
  }
}

/// The work for many samples against the work for few.
void compareDomainTable(const ZrDataAccess& source, const ExDicomUtilities::LUT& lut,
                        unsigned bitsStored, unsigned highBit) {
  using namespace ExDicomUtilities::detail;
  if (lut.entries.isNull() || !lut.entries->hasData()) {
    return;
  }
  const ZrDataAccess& entries = *lut.entries;
  const SampleConversion conversion{source.primType(),
                                    entries.primType(),
                                    StoredBits::of(source.primType(), bitsStored, highBit),
                                    {entries.dataPtr(0), static_cast<int>(entries.dims().x),
                                     entries.nDataVar(), lut.firstMapped}};
  constexpr long long kMany = 1 << 20;
  if (!isConvertible(conversion)) {
    return;
  }
  const DomainTable table(conversion, kMany);
  if (table.isEmpty()) {
    return;
  }
  const long long count = source.dims().x;
  std::vector<Uint16> few(static_cast<std::size_t>(count) * entries.nDataVar());
  std::vector<Uint16> many(few.size());
  convertRun(conversion, source.dataPtr(0), few.data(), count);
  table.convertRun(source.dataPtr(0), many.data(), count);
  require(few == many);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static constexpr std::array<KtPrimType::Code, 6> kTypes = {KtPrimType::U8,  KtPrimType::S8,
                                                             KtPrimType::U16, KtPrimType::S16,
                                                             KtPrimType::U32, KtPrimType::S32};
  Input input(data, size);
  const unsigned road = input.byte();
  const bool inPlace = road % 2 != 0;
  const Table table = tableFrom(input);
  const KtPrimType type = kTypes.at(input.below(kTypes.size()));
  const unsigned width = 8 * type.primTypeSize();
  const unsigned bitsStored = input.below(70);
  const unsigned highBit = input.below(70);
  std::vector<Uint8> bytes = input.rest();
  const std::size_t count = bytes.size() / type.primTypeSize();

  KtHandle<ZrDataAccess> source(
      new ZrDataAccess(KtVec3l(static_cast<long long>(count), 1, 1), type, 1, KtAllocator(1)));
  if (!source->hasData()) {
    return 0;
  }
  std::memcpy(source->dataPtr(0), bytes.data(), count * type.primTypeSize());
  ModelInput model{
      type, {}, std::min(bitsStored, width), std::min(highBit, width - 1), table.model};
  for (std::size_t i = 0; i < count; ++i) {
    model.words.push_back(wordAt(*source, i));
  }
  // All values of a word take their time: not often.
  if (width == 8 ? road % 8 == 2 : road == 4 && bytes.size() % 16 == 0) {
    compareDomainTable(*source, table.lut, bitsStored, highBit);
    return 0;
  }
  KtHandle<ZrDataAccess> target;
  if (inPlace) {
    target = source;
  }
  int offset = 0;
  const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, target, offset, table.lut, inPlace, bitsStored, highBit);
  // The index into a table wraps in 32 bits, of which the model knows nothing.
  if (result.isOk() && std::abs(static_cast<long long>(table.model.firstMapped)) < 1 << 30) {
    compare(*target, offset, luttest::transformByModel(model));
  }
  return 0;
}
