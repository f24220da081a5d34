// SPDX-License-Identifier: BSD-3-Clause
// RLE of pixels of one bit. The frame has one segment, which unpacks to the bytes of packed pixels;
// each frame begins with a byte of its own.
//
//   header   64 bytes: the number of segments (1) and 15 offsets, each a Uint32, little endian; the
//            first offset is that of the segment
//   segment  control byte c: 0 to 127 is followed by c + 1 bytes as they are; 129 to 255 by one
//            byte that stands for 257 - c; 128 means nothing
#include "zrimaging/Error.h"
#include "zrimaging/pixels/CodedFrames.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/PackedBits.h"
#include "zrimaging/pixels/PixelDescription.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace zr {

namespace {

constexpr std::size_t kRleHeaderBytes = 64;
constexpr unsigned kNothing = 128;
constexpr std::uint64_t kMostBytesOfARun = 128;

std::uint32_t littleEndian32(const std::uint8_t* bytes) {
  return static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8U |
         static_cast<std::uint32_t>(bytes[2]) << 16U | static_cast<std::uint32_t>(bytes[3]) << 24U;
}

/// Unpacks a segment until the target is full.
/// @return whether it had bytes enough
bool unpackSegment(const std::uint8_t* segment, const std::uint8_t* end,
                   std::vector<std::uint8_t>& target) {
  std::size_t done = 0;
  while (done < target.size() && segment < end) {
    const unsigned control = *segment++;
    if (control == kNothing) {
      continue;
    }
    const bool isRun = control > kNothing;
    const std::size_t length = isRun ? 257 - control : control + 1;
    const std::size_t room = std::min(length, target.size() - done);
    if (static_cast<std::size_t>(end - segment) < (isRun ? 1 : room)) {
      return false;
    }
    if (isRun) {
      std::memset(target.data() + done, *segment, room);
      ++segment;
    } else {
      std::memcpy(target.data() + done, segment, room);
      segment += room;
    }
    done += room;
  }
  return done == target.size();
}

class BitRleContainers final : public Containers {
public:
  BitRleContainers(const File& file, const PixelDescription& pixels)
      : pixels_(pixels), coded_(file) {
    if (pixels.samplesPerPixel != 1) {
      throw Error(Reason::Unsupported, "has several samples a pixel of one bit each in RLE");
    }
  }

  void check(std::uint64_t frame) override {
    const std::uint64_t size = coded_.sizeOf(frame);
    if (size <= kRleHeaderBytes || packedBytes() / kMostBytesOfARun > size) {
      throw notWhole(frame);
    }
  }

  std::string read(std::uint64_t frame, unsigned char* target) override {
    check(frame);
    const std::vector<std::uint8_t>& bytes = coded_.bytesOf(frame);
    const std::uint32_t offset = littleEndian32(bytes.data() + sizeof(std::uint32_t));
    packed_.resize(static_cast<std::size_t>(packedBytes()));
    if (littleEndian32(bytes.data()) != 1 || offset < kRleHeaderBytes || offset > bytes.size() ||
        !unpackSegment(bytes.data() + offset, bytes.data() + bytes.size(), packed_)) {
      throw notWhole(frame);
    }
    unpackBits(packed_.data(), 0, static_cast<std::size_t>(pixels_.pixels()), target);
    return pixels_.photometricInterpretation;
  }

private:
  std::uint64_t packedBytes() const { return (pixels_.pixels() + 7) / 8; }

  static Error notWhole(std::uint64_t frame) {
    return {Reason::Damaged, "has a compressed frame (number " + std::to_string(frame) +
                                 ") that is no whole image of one bit a pixel in RLE"};
  }

  PixelDescription pixels_;
  CodedFrames coded_;
  std::vector<std::uint8_t> packed_;
};

}  // namespace

std::unique_ptr<Containers> bitRleContainers(const File& file, const PixelDescription& pixels) {
  return std::make_unique<BitRleContainers>(file, pixels);
}

}  // namespace zr
