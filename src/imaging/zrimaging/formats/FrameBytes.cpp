// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/formats/FrameBytes.h"

#include "zrimaging/Output.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <vector>

namespace zr {

namespace {

void writeSamples(const ByteSink& sink, const SampleArray& array) {
  const std::size_t sampleBytes = bytesOf(array.type);
  if (sampleBytes == 1 || std::endian::native == std::endian::little) {
    sink(array.bytes, array.byteCount());
    return;
  }
  std::vector<unsigned char> row(array.columns * array.channels * sampleBytes);
  for (std::size_t at = 0; at < array.byteCount(); at += row.size()) {
    for (std::size_t i = 0; i < row.size(); i += sampleBytes) {
      std::reverse_copy(array.bytes + at + i, array.bytes + at + i + sampleBytes, row.data() + i);
    }
    sink(row.data(), row.size());
  }
}

}  // namespace

ByteSink sinkInto(OutputFile& file) {
  return [&file](const void* bytes, std::size_t count) { file.write(bytes, count); };
}

void writeFrames(const ByteSink& sink, const ArrayToWrite& array) {
  for (std::size_t index = 0; index < array.layout.frames; ++index) {
    writeSamples(sink, array.frameAt(index));
  }
}

}  // namespace zr
