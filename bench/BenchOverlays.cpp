// SPDX-License-Identifier: BSD-3-Clause
// One embedded overlay plane out of 16-bit samples, beside memcpy of the samples that are read and
// beside the loop that takes one bit after the other.
#include "BenchMemory.h"

#include <ktlib/KtBitfield.h>
#include <zrdcmexport/ZrSliceImage.h>

namespace {

void forSizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Args({512, 512})->Args({509, 512})->Args({16384, 8192})->Unit(benchmark::kMicrosecond);
}

constexpr int kBitPosition = 13;

void extractPlane(benchmark::State& state) {
  const int columns = static_cast<int>(state.range(0));
  const int rows = static_cast<int>(state.range(1));
  Zrg::SliceImage slice;
  slice.setFrameOffset(0, 2, 1, KtVec3l{columns, rows, 1}, false, true);
  slice.data = reinterpret_cast<char*>(bench::largeSource().data());
  KtBitfield mask;
  for (auto _ : state) {
    KtVec2i origin{0, 0};
    KtVec2i size{columns, rows};
    slice.extractEmbeddedOverlay<unsigned short>(origin, size, 0, kBitPosition, mask);
    benchmark::ClobberMemory();
  }
  bench::countBytes(state, static_cast<std::size_t>(2 * state.range(0) * state.range(1)));
}
BENCHMARK(extractPlane)->Name("overlay/plane")->Apply(forSizes);

void planeBitByBit(benchmark::State& state) {
  const auto columns = static_cast<std::size_t>(state.range(0));
  const auto rows = static_cast<std::size_t>(state.range(1));
  const std::uint16_t* const samples = bench::largeSource().data();
  const std::size_t wordsPerRow = (columns + 31) / 32;
  KtBitfield mask;
  unsigned bit = kBitPosition;
  benchmark::DoNotOptimize(bit);
  for (auto _ : state) {
    mask.resize(wordsPerRow * 32 * rows, KtBitfield::CLEARED);
    for (std::size_t y = 0; y < rows; ++y) {
      std::uint32_t* word = mask.words() + y * wordsPerRow;
      unsigned position = 0;
      for (std::size_t x = 0; x < columns; ++x) {
        *word |= (std::uint32_t{samples[y * columns + x]} >> bit & 1U) << position;
        position = position == 31 ? 0 : position + 1;
        word += position == 0 ? 1 : 0;
      }
    }
    benchmark::ClobberMemory();
  }
  bench::countBytes(state, 2 * columns * rows);
}
BENCHMARK(planeBitByBit)->Name("overlay/scalar")->Apply(forSizes);

void planeMemcpy(benchmark::State& state) {
  bench::memcpyOf(state, static_cast<std::size_t>(2 * state.range(0) * state.range(1)));
}
BENCHMARK(planeMemcpy)->Name("overlay/memcpy")->Apply(forSizes);

}  // namespace
