// SPDX-License-Identifier: BSD-3-Clause
// The sample transform over 256 MiB of 16-bit samples in place, beside memcpy of them and, where a
// table is applied, beside the loop that isolates, clamps and looks up one sample after the other.
#include "BenchMemory.h"

#include <ktlib/KtDArray.h>
#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrvolren/ZrDataAccess.h>

#include <algorithm>
#include <map>

namespace {

using ExDicomUtilities::LUT;

constexpr long long kColumns = 16384;
constexpr long long kRows = static_cast<long long>(bench::kLargeSamples) / kColumns;

KtHandle<ZrDataAccess> wrap(void* samples, KtPrimType type, unsigned values, long long rows) {
  const long long pixel = static_cast<long long>(type.primTypeSize()) * values;
  return {new ZrDataAccess(KtVec3l{kColumns, rows, 1},
                           KtVec3l{pixel, pixel * kColumns, pixel * kColumns * rows}, samples, type,
                           values, KtAllocator(0))};
}

void run(benchmark::State& state, const KtHandle<ZrDataAccess>& source, KtPrimType sourceType,
         KtHandle<ZrDataAccess> target, const LUT& table, unsigned bitsStored, unsigned highBit) {
  const bool inPlace = source == target;
  for (auto _ : state) {
    source->setPrimType(sourceType);
    int offset = 0;
    const KtResult result = ExDicomUtilities::extractSample_applyLUT_makeUnsigned(
        source, target, offset, table, inPlace, bitsStored, highBit);
    if (result.isBad()) {
      state.SkipWithError("the transform failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  bench::countBytes(state, static_cast<std::size_t>(source->size()));
}

void runInPlace(benchmark::State& state, KtPrimType type, unsigned bitsStored, unsigned highBit,
                const LUT& table, long long rows = kRows) {
  const KtHandle<ZrDataAccess> samples = wrap(bench::largeSource().data(), type, 1, rows);
  run(state, samples, type, samples, table, bitsStored, highBit);
}

// Both sizes are beyond all caches. The C library copies the larger one past the caches, which
// makes it the harder measure.
constexpr long long kRowsPerMiB = (1 << 20) / (2 * kColumns);

void forSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgName("MiB")->Arg(64)->Arg(256)->Unit(benchmark::kMillisecond);
}

void copyAll(benchmark::State& state) {
  bench::memcpyOf(state, static_cast<std::size_t>(state.range(0)) << 20U);
}
BENCHMARK(copyAll)->Name("transform/memcpy")->Apply(forSizes);

void mask(benchmark::State& state) {
  runInPlace(state, KtPrimType::U16, 12, 11, LUT(), state.range(0) * kRowsPerMiB);
}
BENCHMARK(mask)->Name("transform/mask")->Apply(forSizes);

void makeUnsigned(benchmark::State& state) {
  runInPlace(state, KtPrimType::S16, 16, 15, LUT(), state.range(0) * kRowsPerMiB);
}
BENCHMARK(makeUnsigned)->Name("transform/make_unsigned")->Apply(forSizes);

void shiftAndMakeUnsigned(benchmark::State& state) {
  runInPlace(state, KtPrimType::S16, 12, 11, LUT(), state.range(0) * kRowsPerMiB);
}
BENCHMARK(shiftAndMakeUnsigned)->Name("transform/shift_make_unsigned")->Apply(forSizes);

// ---- modality LUT ------------------------------------------------------------------------------

/// Entry i is i times an odd number, within the bits of an index: samples that are transformed in
/// place again and again keep coming from all over the table.
std::vector<unsigned short> scatteredEntries(std::size_t count) {
  std::vector<unsigned short> entries(count);
  for (std::size_t i = 0; i < count; ++i) {
    entries[i] = static_cast<unsigned short>((i * 25173 + 13849) % count);
  }
  return entries;
}

LUT tableOf(const std::vector<unsigned short>& entries) {
  KtDArray<unsigned char> none;
  KtDArray<unsigned short> values;
  values.resize(entries.size());
  std::copy(entries.begin(), entries.end(), values.begin());
  LUT table;
  table.set(none, values, 1, 0, true);
  return table;
}

unsigned bitsOf(std::size_t entries) {
  return entries == 4096 ? 12 : 16;
}

/// A curve as modality tables hold it: neighbours stay neighbours, also when samples are
/// transformed in place again and again.
std::vector<unsigned short> smoothEntries(std::size_t count) {
  std::vector<unsigned short> entries(count);
  for (std::size_t i = 0; i < count; ++i) {
    entries[i] = static_cast<unsigned short>(i ^ 1U);
  }
  return entries;
}

/// Evenly spread over the entries.
std::vector<std::uint16_t>& scatteredSource(std::size_t entries) {
  static std::map<std::size_t, std::vector<std::uint16_t>> sources;
  std::vector<std::uint16_t>& samples = sources[entries];
  if (samples.empty()) {
    samples = bench::randomSamples(bench::kLargeSamples);
    for (std::uint16_t& sample : samples) {
      sample = static_cast<std::uint16_t>(sample % entries);
    }
  }
  return samples;
}

/// Slopes over the whole range of 16 bits with noise of about one per cent of it.
std::vector<std::uint16_t>& imageSource() {
  static std::vector<std::uint16_t> samples = [] {
    std::vector<std::uint16_t> noisy = bench::randomSamples(bench::kLargeSamples);
    for (std::size_t i = 0; i < noisy.size(); ++i) {
      const std::size_t slope = i * 4 % 130000;
      const std::size_t value = slope < 65000 ? slope : 130000 - slope;
      noisy[i] = static_cast<std::uint16_t>(std::min<std::size_t>(value + noisy[i] % 1310, 65535));
    }
    return noisy;
  }();
  return samples;
}

void lookUpInPlace(benchmark::State& state, std::vector<std::uint16_t>& samples,
                   const std::vector<unsigned short>& entries) {
  const unsigned bits = bitsOf(entries.size());
  const KtHandle<ZrDataAccess> data = wrap(samples.data(), KtPrimType::U16, 1, kRows);
  run(state, data, KtPrimType::U16, data, tableOf(entries), bits, bits - 1);
}

void clampLoop(benchmark::State& state, std::vector<std::uint16_t>& samples,
               const std::vector<unsigned short>& entries) {
  const unsigned keep = (1U << bitsOf(entries.size())) - 1;
  const int lastEntry = static_cast<int>(entries.size()) - 1;
  int firstMapped = 0;
  benchmark::DoNotOptimize(firstMapped);  // read from a file, unknown to the compiler
  for (auto _ : state) {
    for (std::uint16_t& sample : samples) {
      const int index = static_cast<int>(sample & keep) - firstMapped;
      sample = entries[static_cast<std::size_t>(std::max(std::min(index, lastEntry), 0))];
    }
    benchmark::ClobberMemory();
  }
  bench::countBytes(state, bench::kLargeBytes);
}

std::size_t entriesOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}

// Samples that are spread evenly over the whole table: the worst case, which no image is.
void scatteredTable(benchmark::State& state) {
  const std::size_t entries = entriesOf(state);
  lookUpInPlace(state, scatteredSource(entries), scatteredEntries(entries));
}
void scatteredClampLoop(benchmark::State& state) {
  const std::size_t entries = entriesOf(state);
  clampLoop(state, scatteredSource(entries), scatteredEntries(entries));
}
void imageTable(benchmark::State& state) {
  lookUpInPlace(state, imageSource(), smoothEntries(entriesOf(state)));
}
void imageClampLoop(benchmark::State& state) {
  clampLoop(state, imageSource(), smoothEntries(entriesOf(state)));
}
void modalityMemcpy(benchmark::State& state) {
  bench::memcpyOf(state, bench::kLargeBytes);
}

void forEntries(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(4096)->Arg(65536)->Unit(benchmark::kMillisecond);
}
BENCHMARK(scatteredTable)->Name("transform_lut_scattered/modality")->Apply(forEntries);
BENCHMARK(scatteredClampLoop)->Name("transform_lut_scattered/scalar")->Apply(forEntries);
BENCHMARK(imageTable)->Name("transform_lut_image/modality")->Apply(forEntries);
BENCHMARK(imageClampLoop)->Name("transform_lut_image/scalar")->Apply(forEntries);
BENCHMARK(modalityMemcpy)->Name("transform_lut_scattered/memcpy")->Unit(benchmark::kMillisecond);
BENCHMARK(modalityMemcpy)->Name("transform_lut_image/memcpy")->Unit(benchmark::kMillisecond);

// ---- three values of 8 bits --------------------------------------------------------------------

// 64 Mi pixels of one byte become 192 MiB.
constexpr long long kRgbRows = 4096;
constexpr long long kRgbPixels = kColumns * kRgbRows;

std::vector<unsigned char> palette() {
  std::vector<unsigned char> values(3 * 256);
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<unsigned char>(i * 7);
  }
  return values;
}

void paletteTable(benchmark::State& state) {
  const std::vector<unsigned char> values = palette();
  KtDArray<unsigned char> entries;
  KtDArray<unsigned short> none;
  entries.resize(values.size());
  std::copy(values.begin(), values.end(), entries.begin());
  LUT table;
  table.set(entries, none, 3, 0, false);
  const KtHandle<ZrDataAccess> source =
      wrap(bench::largeSource().data(), KtPrimType::U8, 1, kRgbRows);
  const KtHandle<ZrDataAccess> target =
      wrap(bench::largeTarget().data(), KtPrimType::U8, 3, kRgbRows);
  run(state, source, KtPrimType::U8, target, table, 8, 7);
}
BENCHMARK(paletteTable)->Name("transform_rgb/palette")->Unit(benchmark::kMillisecond);

void paletteThreeLoads(benchmark::State& state) {
  const std::vector<unsigned char> values = palette();
  const auto* const source = reinterpret_cast<const unsigned char*>(bench::largeSource().data());
  auto* const target = reinterpret_cast<unsigned char*>(bench::largeTarget().data());
  int firstMapped = 0;
  benchmark::DoNotOptimize(firstMapped);
  for (auto _ : state) {
    for (long long i = 0; i < kRgbPixels; ++i) {
      const int entry = std::max(std::min(source[i] - firstMapped, 255), 0);
      target[3 * i] = values[static_cast<std::size_t>(3 * entry)];
      target[3 * i + 1] = values[static_cast<std::size_t>(3 * entry + 1)];
      target[3 * i + 2] = values[static_cast<std::size_t>(3 * entry + 2)];
    }
    benchmark::ClobberMemory();
  }
  bench::countBytes(state, std::size_t{kRgbPixels});
}
BENCHMARK(paletteThreeLoads)->Name("transform_rgb/scalar")->Unit(benchmark::kMillisecond);

}  // namespace
