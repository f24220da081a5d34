// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/formats/FrameBytes.h"

#include "zrimaging/Output.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <vector>

namespace zr {

namespace {

void writeSamples(OutputFile& file, const SampleArray& array) {
  const std::size_t sampleBytes = bytesOf(array.type);
  if (sampleBytes == 1 || std::endian::native == std::endian::little) {
    file.write(array.bytes, array.byteCount());
    return;
  }
  std::vector<unsigned char> row(array.columns * array.channels * sampleBytes);
  for (std::size_t at = 0; at < array.byteCount(); at += row.size()) {
    for (std::size_t i = 0; i < row.size(); i += sampleBytes) {
      std::reverse_copy(array.bytes + at + i, array.bytes + at + i + sampleBytes, row.data() + i);
    }
    file.write(row.data(), row.size());
  }
}

}  // namespace

void writeFrames(OutputFile& file, const ArrayToWrite& array) {
  for (std::size_t index = 0; index < array.layout.frames; ++index) {
    writeSamples(file, array.frameAt(index));
  }
}

}  // namespace zr
