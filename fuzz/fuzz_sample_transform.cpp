// SPDX-License-Identifier: BSD-3-Clause
// The transform for any types, tables, bits and lengths; in place and out of place must agree
// wherever both are possible.
#include "FuzzDataset.h"

#include <ktlib/KtDArray.h>
#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrDataAccess.h>

#include <cstdlib>
#include <cstring>

namespace {

ExDicomUtilities::LUT tableFrom(FuzzedDataProvider& input) {
  KtDArray<unsigned char> values8;
  KtDArray<unsigned short> values16;
  const std::size_t count = input.ConsumeIntegralInRange<std::size_t>(0, 64);
  const bool wide = input.ConsumeBool();
  for (std::size_t i = 0; i < count; ++i) {
    if (wide) {
      values16.append(input.ConsumeIntegral<unsigned short>());
    } else {
      values8.append(input.ConsumeIntegral<unsigned char>());
    }
  }
  ExDicomUtilities::LUT table;
  table.set(values8, values16, input.ConsumeIntegralInRange<unsigned>(0, 4),
            input.ConsumeIntegral<int>(), input.ConsumeBool());
  return table;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const ExDicomUtilities::LUT table = tableFrom(input);
  static const std::array<int, 6> types = {0, 9, 1, 7, 2, 8};
  const KtPrimType type(
      static_cast<KtPrimType::Code>(types.at(input.ConsumeIntegralInRange<std::size_t>(0, 5))));
  const unsigned bitsStored = input.ConsumeIntegralInRange<unsigned>(0, 70);
  const unsigned highBit = input.ConsumeIntegralInRange<unsigned>(0, 70);
  const std::string bytes = input.ConsumeRemainingBytesAsString();
  const auto count =
      static_cast<long long>(bytes.size() / static_cast<std::size_t>(type.primTypeSize()));

  const KtHandle<ZrDataAccess> source(
      new ZrDataAccess(KtVec3l{count, 1, 1}, type, 1, KtAllocator(1)));
  if (!source->hasData()) {
    return 0;
  }
  std::memcpy(source->dataPtr(0), bytes.data(), source->size());
  KtHandle<ZrDataAccess> apart;
  int offsetApart = 0;
  const KtResult resultApart = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, apart, offsetApart, table, false, bitsStored, highBit);
  KtHandle<ZrDataAccess> same = source;
  int offsetSame = 0;
  const KtResult resultSame = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
      source, same, offsetSame, table, true, bitsStored, highBit);
  // 32-bit samples and the like are left untouched, so a fresh target then holds nothing to
  // compare.
  const bool comparable = type.primTypeSize() < 4 && table.entries.isNull();
  if (resultApart.isOk() && resultSame.isOk() && comparable &&
      (offsetApart != offsetSame ||
       std::memcmp(apart->dataPtr(0), same->dataPtr(0), apart->size()) != 0)) {
    std::abort();
  }
  return 0;
}
