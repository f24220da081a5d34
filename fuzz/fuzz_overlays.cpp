// SPDX-License-Identifier: BSD-3-Clause
// Overlay planes in the bits of samples, in memory of exactly the size that the slice says. A mask
// of any rectangle is held against the samples bit by bit.
#include "FuzzDataset.h"

#include <zrdcmexport/ZrSliceImage.h>

#include <cstring>
#include <memory>

namespace {

using fuzz::Input;
using fuzz::require;

/// Samples with nothing behind them, at an odd address now and then.
class Memory {
public:
  Memory(Input& input, std::size_t size, std::size_t offset)
      : bytes_(new char[offset + size]()), offset_(offset) {
    const std::vector<Uint8> given = input.rest();
    for (std::size_t i = 0; i < size && !given.empty(); ++i) {
      samples()[i] = static_cast<char>(given[i % given.size()]);
    }
  }
  char* all() { return bytes_.get(); }
  char* samples() { return bytes_.get() + offset_; }

private:
  std::unique_ptr<char[]> bytes_;
  std::size_t offset_;
};

template <typename T>
bool bitOf(const Zrg::SliceImage& slice, long long sample, unsigned bit) {
  T value = 0;
  std::memcpy(&value, Zrg::firstSample(slice) + sample * static_cast<long long>(sizeof(T)),
              sizeof(T));
  return bit < 8 * sizeof(T) && (value >> bit) % 2 != 0;
}

template <typename T>
void checkMask(Zrg::SliceImage& slice, Input& input) {
  KtVec2i origin(static_cast<int>(input.below(8)), static_cast<int>(input.below(8)));
  KtVec2i size(static_cast<int>(input.below(100)), static_cast<int>(input.below(8)));
  const int frame = static_cast<int>(input.below(4));
  const unsigned bit = input.below(40);
  const int columns = size.x;
  KtBitfield mask;
  slice.extractEmbeddedOverlay<T>(origin, size, frame, static_cast<int>(bit), mask);
  require(size.x == (columns + 31) / 32 * 32);
  require(mask.size() == static_cast<unsigned long>(size.x) * static_cast<unsigned long>(size.y));
  const bool isInside = frame < slice.extent.z && origin.x + columns <= slice.extent.x &&
                        origin.y + size.y <= slice.extent.y;
  for (int row = 0; isInside && row < size.y; ++row) {
    for (int column = 0; column < size.x; ++column) {
      const long long sample =
          (frame * slice.extent.y + origin.y + row) * slice.extent.x + origin.x + column;
      const bool wanted = column < columns && bitOf<T>(slice, sample, bit % 32);
      require(mask.test(static_cast<unsigned long>(row * size.x + column)) == wanted);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned road = input.byte();
  const unsigned bytes = road & 1U ? 2 : 1;
  const std::size_t offset = road & 2U ? 1 : 0;
  const auto columns = static_cast<int>(input.below(100));
  const auto rows = static_cast<int>(input.below(12));
  const KtVec3l extent{columns, rows, static_cast<int>(input.below(4))};
  Zrg::SliceImage slice;
  slice.setFrameOffset(static_cast<int>(offset), bytes, 1, extent, false, true);
  const auto samples = static_cast<std::size_t>(extent.x * extent.y * extent.z);
  if (road & 4U) {
    Input places(data, size);  // the samples take these bytes once more
    (void)places.bytes(input.position());
    Memory memory(input, samples * bytes, offset);
    slice.data = memory.all();
    if (bytes == 2) {
      checkMask<unsigned short>(slice, places);
    } else {
      checkMask<unsigned char>(slice, places);
    }
    return 0;
  }
  DcmDataset dataset;
  for (unsigned groups = 1 + input.below(3); groups > 0; --groups) {
    fuzz::addEmbeddedOverlay(dataset, input);
  }
  const auto first = static_cast<int>(input.below(5));
  const auto last = static_cast<int>(input.below(5));
  Memory memory(input, samples * bytes, offset);
  slice.data = memory.all();
  slice.extractEmbeddedOverlays(dataset, first, last);
  return 0;
}
