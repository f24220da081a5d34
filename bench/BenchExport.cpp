// SPDX-License-Identifier: BSD-3-Clause
// New files of 512 x 512 samples of 16 bits in memory (/dev/shm where there is one), beside DCMTK's
// saveFile of the same attributes and beside a writev of the same bytes.
#include "PhantomFile.h"

#include <zrdcmexport/ZrDcmExport.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <fcntl.h>
#include <sys/uio.h>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kColumns = 512;
constexpr int kRows = 512;
constexpr std::size_t kSamples = std::size_t{kColumns} * kRows;

struct BenchAttribute {
  Uint16 group;
  Uint16 element;
  const char* value;
};

// In the order of their tags.
constexpr BenchAttribute kAttributes[] = {
    {0x0008, 0x0008, "DERIVED\\SECONDARY"},
    {0x0008, 0x0016, UID_CTImageStorage},
    {0x0008, 0x0018, "2.25.7"},
    {0x0008, 0x0020, "20200102"},
    {0x0008, 0x0060, "CT"},
    {0x0010, 0x0010, "Phantom^Head"},
    {0x0010, 0x0020, "1"},
    {0x0018, 0x0050, "1.25"},
    {0x0020, 0x000d, "2.25.2"},
    {0x0020, 0x000e, "2.25.3"},
    {0x0020, 0x0013, "1"},
    {0x0020, 0x0032, "-120\\-120\\10"},
    {0x0028, 0x0002, "1"},
    {0x0028, 0x0004, "MONOCHROME2"},
    {0x0028, 0x0010, "512"},
    {0x0028, 0x0011, "512"},
    {0x0028, 0x0030, "0.5\\0.5"},
    {0x0028, 0x0100, "16"},
    {0x0028, 0x0101, "16"},
    {0x0028, 0x0102, "15"},
    {0x0028, 0x0103, "0"},
};

class Folder {
public:
  Folder() {
    const fs::path memory("/dev/shm");
    path_ = (fs::is_directory(memory) ? memory : fs::temp_directory_path()) /
            ("zrdcmexport_bench_" + std::to_string(getpid()));
    fs::create_directory(path_);
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  [[nodiscard]] fs::path file() const { return path_ / "image.dcm"; }
  [[nodiscard]] const fs::path& path() const { return path_; }

private:
  fs::path path_;
};

std::vector<Uint16> samples() {
  std::vector<Uint16> values(kSamples);
  for (std::size_t i = 0; i < kSamples; ++i) {
    values[i] = static_cast<Uint16>(i * 25173);
  }
  return values;
}

bool exportImage(const Folder& folder, std::vector<Uint16>& pixels) {
  ZrDcmExport writer;
  for (const BenchAttribute& attribute : kAttributes) {
    if (!writer.setDicomTag(attribute.group, attribute.element, attribute.value)) {
      return false;
    }
  }
  return writer.setOutputBaseDirectory(folder.path().c_str()) && writer.setFilename("image.dcm") &&
         writer.writeImageAsIs(kColumns, kRows, pixels.data());
}

void exportByLibrary(benchmark::State& state) {
  const Folder folder;
  std::vector<Uint16> pixels = samples();
  for (auto _ : state) {
    if (!exportImage(folder, pixels)) {
      state.SkipWithError("the export failed");
      break;
    }
  }
}
BENCHMARK(exportByLibrary)->Name("export/library")->Unit(benchmark::kMicrosecond);

void saveFile(benchmark::State& state) {
  const Folder folder;
  const std::vector<Uint16> pixels = samples();
  for (auto _ : state) {
    DcmFileFormat file;
    for (const BenchAttribute& attribute : kAttributes) {
      bench::check(file.getDataset()->putAndInsertString(DcmTag(attribute.group, attribute.element),
                                                         attribute.value));
    }
    bench::check(
        file.getDataset()->putAndInsertUint16Array(DCM_PixelData, pixels.data(), kSamples));
    bench::check(file.saveFile(folder.file().c_str(), EXS_LittleEndianExplicit));
  }
}
BENCHMARK(saveFile)->Name("export/dcmtk")->Unit(benchmark::kMicrosecond);

void writeBytes(benchmark::State& state) {
  const Folder folder;
  std::vector<Uint16> pixels = samples();
  std::vector<char> header(1000, 'x');
  for (auto _ : state) {
    const int file = open(folder.file().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    std::array<iovec, 2> parts = {iovec{header.data(), header.size()},
                                  iovec{pixels.data(), 2 * kSamples}};
    const ssize_t written = writev(file, parts.data(), static_cast<int>(parts.size()));
    if (close(file) != 0 || written != static_cast<ssize_t>(header.size() + 2 * kSamples)) {
      state.SkipWithError("the file could not be written");
      break;
    }
  }
}
BENCHMARK(writeBytes)->Name("export/writev")->Unit(benchmark::kMicrosecond);

}  // namespace
