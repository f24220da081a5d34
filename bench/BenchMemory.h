// SPDX-License-Identifier: BSD-3-Clause
// Memory for benchmarks, touched before it is measured: the first touch of a fresh page costs ten
// times the work that is done on it. Each benchmark has a twin that copies the same bytes with
// memcpy; bench/ratios.py divides the two.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace bench {

/// `count` samples of 12 bits with all spare bits in use; the same at every run.
inline std::vector<std::uint16_t> twelveBitSamples(std::size_t count) {
  std::vector<std::uint16_t> samples(count);
  std::minstd_rand random(1);
  for (std::uint16_t& sample : samples) {
    sample = static_cast<std::uint16_t>(random());
  }
  return samples;
}

/// Copies `bytes` between touched buffers; the measure that the others are divided by.
inline void memcpyOf(benchmark::State& state, std::size_t bytes) {
  const std::vector<unsigned char> from(bytes, 1);
  std::vector<unsigned char> to(bytes, 2);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(bytes));
}

}  // namespace bench
