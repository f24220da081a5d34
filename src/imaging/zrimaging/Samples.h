// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace zr {

/// Type of one sample: integers with and without a sign, of 8, 16 and 32 bits, and the
/// floating-point numbers of IEEE 754, of 32 and 64 bits.
enum class SampleType : std::uint8_t { kU8, kS8, kU16, kS16, kU32, kS32, kF32, kF64 };

/// What decoded samples are.
///
///     kSamples   the stored bits alone, with their sign: what a rescale line applies to. Colours
///                are RGB in the depth in which they are stored, palettes in that of their entries.
///     kUnsigned  as SliceImage delivers: the modality LUT applied where there is one, signed
///                samples shifted by 128, 32768 or 2147483648. Colours are RGB of 8 bits.
///     kStored    the containers as they are in the file, with overlay bits and what else is in
///                them; samples of one bit take a byte each. Colours keep their colour model, the
///                samples of a pixel side by side.
///     kModality  numbers of 32 bits with a floating point: samples through the modality LUT or the
///                rescale line of their frame, doses in Gy (PS3.3 C.11.1, C.8.8.3). Monochrome
///                only.
///     kDisplay   8 bits through the first window of each frame (PS3.3 C.11.2), else the range of
///                the values that occur; MONOCHROME1 turned round. Colours are RGB of 8 bits.
enum class Values : std::uint8_t { kSamples, kUnsigned, kStored, kModality, kDisplay };

/// The word that users choose values by: "samples", "unsigned", "stored", "modality", "display".
inline const char* valuesName(Values values) {
  switch (values) {
    case Values::kSamples:
      return "samples";
    case Values::kUnsigned:
      return "unsigned";
    case Values::kStored:
      return "stored";
    case Values::kModality:
      return "modality";
    case Values::kDisplay:
      break;
  }
  return "display";
}

/// All of them, in the order in which help texts list them.
constexpr std::array<Values, 5> kAllValues{Values::kSamples, Values::kUnsigned, Values::kStored,
                                           Values::kModality, Values::kDisplay};

inline std::size_t bytesOf(SampleType type) {
  switch (type) {
    case SampleType::kU8:
    case SampleType::kS8:
      return 1;
    case SampleType::kU16:
    case SampleType::kS16:
      return 2;
    case SampleType::kU32:
    case SampleType::kS32:
    case SampleType::kF32:
      return 4;
    case SampleType::kF64:
      break;
  }
  return 8;
}

/// Whether these are integers with a sign.
inline bool isSigned(SampleType type) {
  return type == SampleType::kS8 || type == SampleType::kS16 || type == SampleType::kS32;
}

inline bool isFloatingPoint(SampleType type) {
  return type == SampleType::kF32 || type == SampleType::kF64;
}

/// The type as NumPy calls it: "uint8", "int16", "float32".
inline const char* typeName(SampleType type) {
  switch (type) {
    case SampleType::kU8:
      return "uint8";
    case SampleType::kS8:
      return "int8";
    case SampleType::kU16:
      return "uint16";
    case SampleType::kS16:
      return "int16";
    case SampleType::kU32:
      return "uint32";
    case SampleType::kS32:
      return "int32";
    case SampleType::kF32:
      return "float32";
    case SampleType::kF64:
      break;
  }
  return "float64";
}

/// Samples that somebody else owns: frames x rows x columns x channels, contiguous, in the byte
/// order of this machine, row by row from the top, the channels of a pixel adjacent.
struct SampleArray {
  const unsigned char* bytes = nullptr;
  SampleType type = SampleType::kU8;
  std::size_t frames = 0;
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::size_t channels = 1;  ///< 1 gray, 3 RGB; of stored colours what the file has, 1 to 4

  std::size_t frameBytes() const { return rows * columns * channels * bytesOf(type); }
  std::size_t byteCount() const { return frames * frameBytes(); }

  /// The bits of sample `index`, counted over all frames; a signed one keeps its bits too. For
  /// samples of 8 and 16 bits.
  std::uint16_t sample(std::size_t index) const {
    if (bytesOf(type) == 1) {
      return bytes[index];
    }
    std::uint16_t value = 0;
    std::memcpy(&value, bytes + 2 * index, sizeof value);
    return value;
  }

  /// Frame `index` alone.
  SampleArray frame(std::size_t index) const {
    SampleArray one = *this;
    one.bytes = bytes + index * frameBytes();
    one.frames = 1;
    return one;
  }
};

/// An image of one frame that owns its samples: gray or RGB, 8 bits.
struct Picture {
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::size_t channels = 1;  ///< 1 gray, 3 RGB
  std::vector<unsigned char> samples;

  SampleArray view() const { return {samples.data(), SampleType::kU8, 1, rows, columns, channels}; }
};

}  // namespace zr
