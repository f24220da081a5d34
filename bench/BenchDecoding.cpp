// SPDX-License-Identifier: BSD-3-Clause
// All frames of a native signed 12-bit file, from the file to unsigned samples, beside what DCMTK
// alone takes to hand out the same element, and beside memcpy of its bytes.
#include "BenchMemory.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

constexpr Uint16 kColumns = 512;
constexpr Uint16 kRows = 512;
constexpr int kFrames = 100;
constexpr std::size_t kSamples = std::size_t{kColumns} * kRows * kFrames;

void check(const OFCondition& condition) {
  if (condition.bad()) {
    throw std::runtime_error(condition.text());
  }
}

/// A file of 100 frames of 512 x 512 signed 12-bit samples that goes away with the program.
class NativeFile {
public:
  NativeFile()
      : path_(std::filesystem::temp_directory_path() /
              ("zrdcmexport_bench_" + std::to_string(::getpid()) + ".dcm")) {
    DcmFileFormat file;
    DcmDataset& dataset = *file.getDataset();
    check(dataset.putAndInsertString(DCM_SOPClassUID, UID_CTImageStorage));
    check(dataset.putAndInsertString(DCM_SOPInstanceUID, "2.25.1"));
    check(dataset.putAndInsertUint16(DCM_SamplesPerPixel, 1));
    check(dataset.putAndInsertString(DCM_PhotometricInterpretation, "MONOCHROME2"));
    check(dataset.putAndInsertString(DCM_NumberOfFrames, std::to_string(kFrames).c_str()));
    check(dataset.putAndInsertUint16(DCM_Rows, kRows));
    check(dataset.putAndInsertUint16(DCM_Columns, kColumns));
    check(dataset.putAndInsertUint16(DCM_BitsAllocated, 16));
    check(dataset.putAndInsertUint16(DCM_BitsStored, 12));
    check(dataset.putAndInsertUint16(DCM_HighBit, 11));
    check(dataset.putAndInsertUint16(DCM_PixelRepresentation, 1));
    const std::vector<std::uint16_t> samples = bench::twelveBitSamples(kSamples);
    check(dataset.putAndInsertUint16Array(DCM_PixelData, samples.data(), kSamples));
    check(file.saveFile(path_.c_str(), EXS_LittleEndianExplicit));
  }
  ~NativeFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }
  NativeFile(const NativeFile&) = delete;
  NativeFile& operator=(const NativeFile&) = delete;

  const char* path() const { return path_.c_str(); }

private:
  std::filesystem::path path_;
};

const NativeFile& nativeFile() {
  static const NativeFile file;
  return file;
}

void decodeAllFrames(benchmark::State& state) {
  const char* path = nativeFile().path();
  for (auto _ : state) {
    DcmFileFormat file;
    Zrg::SliceImage slice;
    std::string error;
    if (file.loadFile(path).bad() ||
        !slice.process(*file.getDataset(), error, -1, -1, nullptr, 0)) {
      state.SkipWithError("decoding failed");
      break;
    }
    benchmark::DoNotOptimize(slice.data);
  }
}
BENCHMARK(decodeAllFrames)->Name("decode/all_frames/native")->Unit(benchmark::kMillisecond);

void dcmtkAlone(benchmark::State& state) {
  const char* path = nativeFile().path();
  for (auto _ : state) {
    DcmFileFormat file;
    const Uint16* samples = nullptr;
    if (file.loadFile(path).bad() ||
        file.getDataset()->findAndGetUint16Array(DCM_PixelData, samples).bad()) {
      state.SkipWithError("reading failed");
      break;
    }
    benchmark::DoNotOptimize(samples);
  }
}
BENCHMARK(dcmtkAlone)->Name("decode/dcmtk/native")->Unit(benchmark::kMillisecond);

void decodeMemcpy(benchmark::State& state) {
  bench::memcpyOf(state, 2 * kSamples);
}
BENCHMARK(decodeMemcpy)->Name("decode/memcpy/native")->Unit(benchmark::kMillisecond);

}  // namespace
