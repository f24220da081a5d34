// SPDX-License-Identifier: BSD-3-Clause
// The sample transform in place over 64 MiB of 16-bit samples: mask, sign, shift and modality LUT.
#include "BenchMemory.h"

#include <ktlib/KtDArray.h>
#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrDataAccess.h>

namespace {

constexpr long long kColumns = 4096;
constexpr long long kRows = 8192;
constexpr std::size_t kSamples = kColumns * kRows;
constexpr int kSigned16 = 1;
constexpr int kUnsigned16 = 7;

ExDicomUtilities::LUT modalityTable(std::size_t entries) {
  KtDArray<unsigned char> none;
  KtDArray<unsigned short> values;
  values.resize(entries);
  for (std::size_t i = 0; i < entries; ++i) {
    values[i] = static_cast<unsigned short>(65535 - i);
  }
  ExDicomUtilities::LUT table;
  table.set(none, values, 1, 0, true);
  return table;
}

void transformInPlace(benchmark::State& state, int type, unsigned bitsStored, unsigned highBit,
                      const ExDicomUtilities::LUT& table) {
  std::vector<std::uint16_t> samples = bench::twelveBitSamples(kSamples);
  for (auto _ : state) {
    const KtHandle<ZrDataAccess> source(new ZrDataAccess(
        KtVec3l{kColumns, kRows, 1}, KtVec3l{2, 2 * kColumns, 2 * kColumns * kRows}, samples.data(),
        KtPrimType(static_cast<KtPrimType::Code>(type)), 1, KtAllocator(0)));
    KtHandle<ZrDataAccess> target = source;
    int offset = 0;
    const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
        source, target, offset, table, true, bitsStored, highBit);
    if (result.isBad()) {
      state.SkipWithError("the transform failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(2 * kSamples));
}

void transformMemcpy(benchmark::State& state) {
  bench::memcpyOf(state, 2 * kSamples);
}
BENCHMARK(transformMemcpy)->Name("transform/memcpy/64MiB")->Unit(benchmark::kMillisecond);

void mask(benchmark::State& state) {
  transformInPlace(state, kUnsigned16, 12, 11, ExDicomUtilities::LUT());
}
BENCHMARK(mask)->Name("transform/mask/64MiB")->Unit(benchmark::kMillisecond);

void makeUnsigned(benchmark::State& state) {
  transformInPlace(state, kSigned16, 16, 15, ExDicomUtilities::LUT());
}
BENCHMARK(makeUnsigned)->Name("transform/make_unsigned/64MiB")->Unit(benchmark::kMillisecond);

void shiftAndMakeUnsigned(benchmark::State& state) {
  transformInPlace(state, kSigned16, 12, 11, ExDicomUtilities::LUT());
}
BENCHMARK(shiftAndMakeUnsigned)
    ->Name("transform/shift_make_unsigned/64MiB")
    ->Unit(benchmark::kMillisecond);

void modalityLut(benchmark::State& state) {
  transformInPlace(state, kUnsigned16, 12, 11,
                   modalityTable(static_cast<std::size_t>(state.range(0))));
}
BENCHMARK(modalityLut)
    ->Name("transform/modality_lut/64MiB")
    ->Arg(4096)
    ->Arg(65536)
    ->Unit(benchmark::kMillisecond);

}  // namespace
