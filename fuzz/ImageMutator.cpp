// SPDX-License-Identifier: BSD-3-Clause
// Mutations that keep an image an image: one field of its head, of an RLE header or of a JPEG
// marker segment at a time, so that inputs get past the first check. Every other mutation is
// libFuzzer's own.
#include "ImageInput.h"

#include <cstdint>
#include <cstring>
#include <random>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using fuzz::ImageInput;
using Random = std::minstd_rand;

constexpr std::size_t kRleHeaderSize = 64;

/// The bytes of an input; changes what does not fit no further than `limit`.
class Bytes {
public:
  Bytes(Uint8* data, std::size_t size, std::size_t limit, unsigned seed)
      : data_(data), size_(size), limit_(limit), random_(seed) {}

  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool holds(std::size_t at, std::size_t count) const {
    return at <= size_ && count <= size_ - at;
  }
  Uint8& operator[](std::size_t at) { return data_[at]; }

  /// A number from 0 to `bound` - 1; 0 where there is none.
  std::size_t below(std::size_t bound) { return bound == 0 ? 0 : random_() % bound; }

  void putLittle16(std::size_t at, unsigned value) {
    if (holds(at, 2)) {
      data_[at] = static_cast<Uint8>(value);
      data_[at + 1] = static_cast<Uint8>(value >> 8U);
    }
  }
  void putLittle32(std::size_t at, std::uint32_t value) {
    putLittle16(at, value & 0xFFFFU);
    putLittle16(at + 2, value >> 16U);
  }
  void putBig16(std::size_t at, unsigned value) {
    if (holds(at, 2)) {
      data_[at] = static_cast<Uint8>(value >> 8U);
      data_[at + 1] = static_cast<Uint8>(value);
    }
  }
  [[nodiscard]] unsigned little16(std::size_t at) const {
    return holds(at, 2) ? static_cast<unsigned>(data_[at] | data_[at + 1] << 8) : 0U;
  }
  [[nodiscard]] unsigned big16(std::size_t at) const {
    return holds(at, 2) ? static_cast<unsigned>(data_[at] << 8 | data_[at + 1]) : 0U;
  }
  [[nodiscard]] std::uint32_t little32(std::size_t at) const {
    return little16(at) | static_cast<std::uint32_t>(little16(at + 2)) << 16U;
  }

  /// Makes room for `count` bytes, which are those that stood there; false when there is none.
  bool open(std::size_t at, std::size_t count) {
    if (at > size_ || count > limit_ - size_) {
      return false;
    }
    std::memmove(data_ + at + count, data_ + at, size_ - at);
    size_ += count;
    return true;
  }
  void cut(std::size_t at, std::size_t count) {
    if (holds(at, count)) {
      std::memmove(data_ + at, data_ + at + count, size_ - at - count);
      size_ -= count;
    }
  }
  void truncate(std::size_t at) { size_ = std::min(size_, at); }

private:
  Uint8* data_;
  std::size_t size_;
  std::size_t limit_;
  Random random_;
};

/// A value near a border, for a field of 16 bits.
unsigned interesting16(Bytes& bytes, unsigned old) {
  static constexpr std::array<unsigned, 12> kValues = {0,  1,   2,   3,   8,      15,
                                                       16, 255, 256, 257, 0x7FFF, 0xFFFF};
  switch (bytes.below(4)) {
    case 0:
      return old + 1;
    case 1:
      return old - 1;
    case 2:
      return kValues.at(bytes.below(kValues.size()));
    default:
      return static_cast<unsigned>(bytes.below(33));
  }
}

void mutateHead(Bytes& bytes) {
  static constexpr std::array<Uint8, 9> kBits = {1, 7, 8, 9, 12, 15, 16, 32, 40};
  switch (bytes.below(6)) {
    case 0:
    case 1: {
      const std::size_t at = ImageInput::kRowsAt + 2 * bytes.below(3);
      bytes.putLittle16(at, interesting16(bytes, bytes.little16(at)));
      break;
    }
    case 2:
      bytes[ImageInput::kSamplesAt + 1 + bytes.below(3)] = kBits.at(bytes.below(kBits.size()));
      break;
    case 3:
      bytes[ImageInput::kSamplesAt] = static_cast<Uint8>(1 + bytes.below(4));
      break;
    case 4: {
      const std::size_t at = ImageInput::kCutsAt + 2 * bytes.below(3);
      bytes.putLittle16(at, interesting16(bytes, bytes.little16(at)));
      break;
    }
    default:
      bytes[ImageInput::kTrustAt] =
          static_cast<Uint8>(bytes.below(8) == 0 ? ImageInput::kTakeSizes : 0);
      break;
  }
}

/// Bytes of a plane in the small form of the sizes; what the library makes of them is its matter.
std::size_t pixelsOf(const Bytes& bytes) {
  return static_cast<std::size_t>(bytes.little16(ImageInput::kRowsAt)) *
         bytes.little16(ImageInput::kRowsAt + 2);
}

/// A header and runs that fill every segment of the image that the head describes.
void writeRleFrame(Bytes& bytes, std::size_t payload) {
  const std::size_t segments =
      1 + bytes.below(2) + (bytes[ImageInput::kSamplesAt] > 1 ? bytes.below(5) : 0);
  const std::size_t runs = (std::min<std::size_t>(pixelsOf(bytes), 4096) + 127) / 128;
  const std::size_t size = kRleHeaderSize + segments * 2 * runs;
  bytes.truncate(payload);
  if (!bytes.open(payload, size)) {
    return;
  }
  for (std::size_t i = 0; i < size; ++i) {
    bytes[payload + i] = 0;
  }
  bytes.putLittle32(payload, static_cast<std::uint32_t>(segments));
  for (std::size_t segment = 0; segment < segments; ++segment) {
    const std::size_t begin = kRleHeaderSize + segment * 2 * runs;
    bytes.putLittle32(payload + 4 * (1 + segment), static_cast<std::uint32_t>(begin));
    for (std::size_t run = 0; run < runs; ++run) {
      bytes[payload + begin + 2 * run] = 129;  // the next byte 128 times
      bytes[payload + begin + 2 * run + 1] = static_cast<Uint8>(bytes.below(256));
    }
  }
}

void mutateRle(Bytes& bytes, std::size_t payload) {
  const std::size_t frame = payload + bytes.below(2) * bytes.little16(ImageInput::kCutsAt);
  if (!bytes.holds(frame, kRleHeaderSize) || bytes.below(8) == 0) {
    writeRleFrame(bytes, payload);
    return;
  }
  const std::size_t field = frame + 4 * bytes.below(5);
  const std::uint32_t old = bytes.little32(field);
  switch (bytes.below(6)) {
    case 0:
      bytes.putLittle32(field, old + 1);
      break;
    case 1:
      bytes.putLittle32(field, old - 1);
      break;
    case 2:
      bytes.putLittle32(field, static_cast<std::uint32_t>(bytes.size() - frame));
      break;
    case 3:
      bytes.putLittle32(field,
                        static_cast<std::uint32_t>(bytes.below(2) == 0 ? 0 : ~std::size_t{0}));
      break;
    case 4: {  // a control byte behind the header
      const std::size_t at = frame + kRleHeaderSize + bytes.below(bytes.size() - frame);
      if (bytes.holds(at, 1)) {
        static constexpr std::array<Uint8, 6> kControls = {0, 1, 127, 128, 129, 255};
        bytes[at] = kControls.at(bytes.below(kControls.size()));
      }
      break;
    }
    default:
      bytes.truncate(frame + kRleHeaderSize + bytes.below(8));
      break;
  }
}

/// One of the places where a marker of the given kind begins; the payload's begin where none does.
template <class Wanted>
std::size_t findMarker(Bytes& bytes, std::size_t payload, Wanted wanted) {
  std::size_t found = payload;
  std::size_t seen = 0;
  for (std::size_t at = payload; bytes.holds(at, 2); ++at) {
    if (bytes[at] == 0xFF && wanted(bytes[at + 1]) && bytes.below(++seen) == 0) {
      found = at;
    }
  }
  return found;
}

bool isMarker(Uint8 code) {
  return code >= 0xC0 && code != 0xFF;
}

bool isFrameHeader(Uint8 code) {
  return (code >= 0xC0 && code <= 0xCF && code != 0xC4 && code != 0xC8 && code != 0xCC) ||
         code == 0xF7;
}

/// Makes the size in a frame header that of the head, or the other way round, or strange.
///
///     FF Cn | length | precision | rows | columns | components | ...
void mutateFrameHeader(Bytes& bytes, std::size_t payload) {
  const std::size_t at = findMarker(bytes, payload, isFrameHeader);
  if (!bytes.holds(at, 10) || !isFrameHeader(bytes[at + 1])) {
    return;
  }
  switch (bytes.below(5)) {
    case 0:
      bytes.putBig16(at + 5, bytes.little16(ImageInput::kRowsAt));
      bytes.putBig16(at + 7, bytes.little16(ImageInput::kRowsAt + 2));
      break;
    case 1:
      bytes.putLittle16(ImageInput::kRowsAt, bytes.big16(at + 5));
      bytes.putLittle16(ImageInput::kRowsAt + 2, bytes.big16(at + 7));
      bytes[ImageInput::kSamplesAt] = bytes[at + 9];
      break;
    case 2: {
      const std::size_t field = at + 5 + 2 * bytes.below(2);
      bytes.putBig16(field, interesting16(bytes, bytes.big16(field)));
      break;
    }
    case 3:
      bytes[at + 4] = static_cast<Uint8>(bytes.below(18));  // precision
      break;
    default:
      bytes[at + 9] = static_cast<Uint8>(bytes.below(5));  // components
      break;
  }
}

/// Coding parameters of JPEG-LS before a segment, usual but for RESET and now and then MAXVAL.
///
///     FF F8 | length | 1 | MAXVAL | T1 | T2 | T3 | RESET
void insertPresets(Bytes& bytes, std::size_t payload, std::size_t at) {
  constexpr std::size_t kSize = 15;
  static constexpr std::array<Uint16, 8> kResets = {0, 1, 3, 31, 63, 64, 255, 256};
  const std::size_t header = findMarker(bytes, payload, isFrameHeader);
  const unsigned int precision = bytes.holds(header, 10) ? bytes[header + 4] % 17U : 8;
  const auto maximum = static_cast<Uint16>((1U << precision) - 1);
  if (!bytes.open(at, kSize)) {
    return;
  }
  bytes[at] = 0xFF;
  bytes[at + 1] = 0xF8;
  bytes.putBig16(at + 2, kSize - 2);
  bytes[at + 4] = 1;
  bytes.putBig16(at + 5, bytes.below(4) == 0 ? interesting16(bytes, maximum) : maximum);
  for (std::size_t threshold = 0; threshold < 3; ++threshold) {
    bytes.putBig16(at + 7 + 2 * threshold, 0);  // the usual one
  }
  bytes.putBig16(at + 13, kResets.at(bytes.below(kResets.size())));
}

void mutateMarkers(Bytes& bytes, std::size_t payload) {
  static constexpr std::array<Uint8, 10> kCodes = {0x01, 0x00, 0xD0, 0xD7, 0xD8,
                                                   0xD9, 0xDA, 0xFF, 0xC4, 0xF8};
  const std::size_t at = findMarker(bytes, payload, isMarker);
  if (!bytes.holds(at, 4)) {
    return;
  }
  const std::size_t length = 2U + bytes.big16(at + 2);
  switch (bytes.below(7)) {
    case 0:  // a marker of its own
      if (bytes.open(at, 2)) {
        bytes[at] = 0xFF;
        bytes[at + 1] = kCodes.at(bytes.below(kCodes.size()));
      }
      break;
    case 1:  // the segment twice
      if (bytes.holds(at, length)) {
        (void)bytes.open(at, length);  // too long to be doubled: it stays
      }
      break;
    case 2:  // no segment
      bytes.cut(at, length);
      break;
    case 3:
      bytes.putBig16(at + 2, interesting16(bytes, bytes.big16(at + 2)));
      break;
    case 4:
      bytes.truncate(at + bytes.below(length + 1));
      break;
    case 5:
      insertPresets(bytes, payload, at);
      break;
    default:
      bytes[at + 1] = kCodes.at(bytes.below(kCodes.size()));
      break;
  }
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
  Bytes bytes(data, size, maxSize, seed);
  const std::size_t way = bytes.below(8);
  if (way < 4 || size < ImageInput::kHeadSize || maxSize < size) {
    return LLVMFuzzerMutate(data, size, maxSize);
  }
  const std::size_t payload = std::min(size, fuzz::payloadPosition(data, size));
  switch (way) {
    case 4:
      mutateHead(bytes);
      break;
    case 5:
      mutateRle(bytes, payload);
      break;
    case 6:
      mutateFrameHeader(bytes, payload);
      break;
    default:
      mutateMarkers(bytes, payload);
      break;
  }
  return bytes.size() > 0 ? bytes.size() : LLVMFuzzerMutate(data, size, maxSize);
}
