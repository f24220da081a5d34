// SPDX-License-Identifier: BSD-3-Clause
// Memory for benchmarks, touched before it is measured: the first touch of a fresh page costs ten
// times the work that is done on it. Each benchmark has peers that do the same work in another way
// (names end in /memcpy, /scalar and the like); bench/ratios.py divides by them.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace bench {

/// Bytes of 16-bit samples that no cache holds.
inline constexpr std::size_t kLargeBytes = std::size_t{256} << 20U;
inline constexpr std::size_t kLargeSamples = kLargeBytes / 2;

/// `count` samples of 16 random bits; the same at every run.
inline std::vector<std::uint16_t> randomSamples(std::size_t count) {
  std::vector<std::uint16_t> samples(count);
  std::mt19937_64 random(1);
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < count; ++i, bits >>= 16U) {
    bits = i % 4 == 0 ? random() : bits;
    samples[i] = static_cast<std::uint16_t>(bits);
  }
  return samples;
}

/// The two buffers that all benchmarks on large memory share, both touched.
inline std::vector<std::uint16_t>& largeSource() {
  static std::vector<std::uint16_t> samples = randomSamples(kLargeSamples);
  return samples;
}
inline std::vector<std::uint16_t>& largeTarget() {
  static std::vector<std::uint16_t> samples(kLargeSamples, 1);
  return samples;
}

inline void countBytes(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(bytes));
}

/// Copies `bytes` between the large buffers.
inline void memcpyOf(benchmark::State& state, std::size_t bytes) {
  const void* const from = largeSource().data();
  void* const to = largeTarget().data();
  for (auto _ : state) {
    std::memcpy(to, from, bytes);
    benchmark::ClobberMemory();
  }
  countBytes(state, bytes);
}

}  // namespace bench
