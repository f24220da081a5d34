// SPDX-License-Identifier: BSD-3-Clause
// The fingerprint of a table of 65,536 entries, beside the MD5 library alone on the same bytes.
#include "BenchMemory.h"

#include <ktlib/KtDArray.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>

#include <md5.h>

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t kEntries = 65536;

void hashTable(benchmark::State& state) {
  const std::vector<std::uint16_t> samples = bench::randomSamples(kEntries);
  KtDArray<unsigned char> none;
  KtDArray<unsigned short> values;
  values.resize(kEntries);
  std::copy(samples.begin(), samples.end(), values.begin());
  ExDicomUtilities::LUT table;
  table.set(none, values, 1, 0, true);
  for (auto _ : state) {
    table.hashCache = KtLib::MD5();
    benchmark::DoNotOptimize(table.hash());
  }
  bench::countBytes(state, 2 * kEntries);
}
BENCHMARK(hashTable)->Name("lut_hash/table")->Unit(benchmark::kMicrosecond);

void hashBytes(benchmark::State& state) {
  const std::vector<std::uint16_t> samples = bench::randomSamples(kEntries);
  for (auto _ : state) {
    MD5_CTX context;
    std::array<std::uint8_t, MD5_DIGEST_LENGTH> digest{};
    MD5Init(&context);
    MD5Update(&context, reinterpret_cast<const std::uint8_t*>(samples.data()), 2 * kEntries);
    MD5Final(digest.data(), &context);
    benchmark::DoNotOptimize(digest);
  }
  bench::countBytes(state, 2 * kEntries);
}
BENCHMARK(hashBytes)->Name("lut_hash/libmd")->Unit(benchmark::kMicrosecond);

}  // namespace
