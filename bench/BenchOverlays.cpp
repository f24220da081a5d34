// SPDX-License-Identifier: BSD-3-Clause
// One embedded overlay plane out of 16-bit samples, beside memcpy of the samples that are read.
#include "BenchMemory.h"

#include <ktlib/KtBitfield.h>
#include <zrdcmexport/ZrSliceImage.h>

namespace {

void extractPlane(benchmark::State& state) {
  const int columns = static_cast<int>(state.range(0));
  const int rows = static_cast<int>(state.range(1));
  std::vector<std::uint16_t> samples =
      bench::twelveBitSamples(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
  Zrg::SliceImage slice;
  slice.setFrameOffset(0, 2, 1, KtVec3l{columns, rows, 1}, false, true);
  slice.data = reinterpret_cast<char*>(samples.data());
  for (auto _ : state) {
    KtVec2i origin{0, 0};
    KtVec2i size{columns, rows};
    KtBitfield mask;
    slice.extractEmbeddedOverlay<unsigned short>(origin, size, 0, 15, mask);
    benchmark::DoNotOptimize(mask.words());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * 2 * columns * rows);
}
BENCHMARK(extractPlane)
    ->Name("overlay/plane")
    ->Args({512, 512})
    ->Args({509, 512})
    ->Args({8192, 8192})
    ->Unit(benchmark::kMicrosecond);

void planeMemcpy(benchmark::State& state) {
  bench::memcpyOf(state, static_cast<std::size_t>(2 * state.range(0) * state.range(1)));
}
BENCHMARK(planeMemcpy)
    ->Name("overlay/memcpy")
    ->Args({512, 512})
    ->Args({509, 512})
    ->Args({8192, 8192})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
