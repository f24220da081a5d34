// SPDX-License-Identifier: BSD-3-Clause
// Splitting of gated datasets with tiny frames, so that reading the three vectors and filing the
// slices is what is measured; beside DCMTK handing out the vectors and the samples. The counter
// bytes_per_slice is the heap that a split container holds.
#include "PhantomFile.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <benchmark/benchmark.h>

#include <malloc.h>
#include <vector>

namespace {

struct Gates {
  int slices;
  int timeSlots;
  int rrIntervals;
};

// The most frames that decoding counts are 65,535.
constexpr Gates kSmall{64, 8, 8};
constexpr Gates kLarge{64, 31, 33};

int framesOf(const Gates& gates) {
  return gates.slices * gates.timeSlots * gates.rrIntervals;
}

std::unique_ptr<DcmFileFormat> gatedFile(const Gates& gates) {
  const int frames = framesOf(gates);
  auto file = bench::makeHead({2, 2, static_cast<std::size_t>(frames), true});
  DcmDataset& dataset = *file->getDataset();
  std::vector<Uint16> slice;
  std::vector<Uint16> slot;
  std::vector<Uint16> interval;
  for (int frame = 0; frame < frames; ++frame) {
    slice.push_back(static_cast<Uint16>(frame % gates.slices + 1));
    slot.push_back(static_cast<Uint16>(frame / gates.slices % gates.timeSlots + 1));
    interval.push_back(static_cast<Uint16>(frame / gates.slices / gates.timeSlots + 1));
  }
  const auto putVector = [&dataset, frames](const DcmTagKey& key,
                                            const std::vector<Uint16>& values) {
    bench::check(dataset.putAndInsertUint16Array(DcmTag(key), values.data(),
                                                 static_cast<unsigned long>(frames)));
  };
  putVector(DCM_SliceVector, slice);
  putVector(DCM_TimeSlotVector, slot);
  putVector(DCM_RRIntervalVector, interval);
  const auto putCount = [&dataset](const DcmTagKey& key, int value) {
    bench::check(dataset.putAndInsertUint16(DcmTag(key), static_cast<Uint16>(value)));
  };
  putCount(DCM_NumberOfSlices, gates.slices);
  putCount(DCM_NumberOfTimeSlots, gates.timeSlots);
  putCount(DCM_NumberOfRRIntervals, gates.rrIntervals);
  bench::check(dataset.putAndInsertString(DCM_FrameIncrementPointer,
                                          "(0054,0060)\\(0054,0070)\\(0054,0080)"));
  return file;
}

/// Keeps freed memory with the process. Otherwise large containers alone would be charged with
/// pages fresh from the system, which cost more than the work on them. It changes the whole
/// process, which is why these benchmarks have a program of their own.
void keepFreedMemory() {
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
}

std::size_t heapInUse() {
  const auto information = mallinfo2();
  return information.uordblks + information.hblkhd;
}

void split(benchmark::State& state, const Gates& gates) {
  keepFreedMemory();
  const auto file = gatedFile(gates);
  std::string error;
  for (auto _ : state) {
    Zrg::MultiFrameImage image(true);
    if (!image.process(*file->getDataset(), error, true)) {
      state.SkipWithError("splitting failed");
      return;
    }
    benchmark::DoNotOptimize(image.numVolumes());
  }
  const std::size_t before = heapInUse();
  Zrg::MultiFrameImage image(true);
  if (image.process(*file->getDataset(), error, true)) {
    state.counters["bytes_per_slice"] = static_cast<double>(heapInUse() - before) / framesOf(gates);
  }
}

void readVectors(benchmark::State& state, const Gates& gates) {
  keepFreedMemory();
  const auto file = gatedFile(gates);
  DcmDataset& dataset = *file->getDataset();
  std::string error;
  for (auto _ : state) {
    for (const DcmTagKey& key : {DCM_SliceVector, DCM_TimeSlotVector, DCM_RRIntervalVector}) {
      OFString text;
      bench::check(dataset.findAndGetOFStringArray(key, text));
      benchmark::DoNotOptimize(text.data());
    }
    Zrg::SliceImage slice;
    if (!slice.process(dataset, error, -1, -1, nullptr, 0)) {
      state.SkipWithError(error.c_str());
      return;
    }
    benchmark::DoNotOptimize(slice.data);
  }
}

void splitLarge(benchmark::State& state) {
  split(state, kLarge);
}
BENCHMARK(splitLarge)->Name("split/library/64k")->Unit(benchmark::kMicrosecond);

void readLarge(benchmark::State& state) {
  readVectors(state, kLarge);
}
BENCHMARK(readLarge)->Name("split/dcmtk/64k")->Unit(benchmark::kMicrosecond);

void splitSmall(benchmark::State& state) {
  split(state, kSmall);
}
BENCHMARK(splitSmall)->Name("split/4k_frames")->Unit(benchmark::kMicrosecond);

}  // namespace
