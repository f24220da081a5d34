// SPDX-License-Identifier: BSD-3-Clause
// Frames that are deflated one by one. What inflates is the frame as it would stand in pixel data
// that is not compressed, little endian, padded to whole bytes where its pixels have one bit. The
// stream has no header of zlib or gzip around it. @see PS3.5 A.4.12 (Deflated Image Frame)
#include "zrimaging/Error.h"
#include "zrimaging/pixels/CodedFrames.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/PackedBits.h"
#include "zrimaging/pixels/PixelDescription.h"

#define ZLIB_CONST  // zlib only reads what it inflates
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>
#include <zlib.h>

namespace zr {

namespace {

constexpr int kRawDeflate = -MAX_WBITS;

/// Two bits of a deflate stream stand for 258 bytes at most (RFC 1951 3.2.5), one byte for 1032.
constexpr std::uint64_t kMostBytesOfAByte = 1032;

/// Fragments have an even length.
constexpr std::size_t kMostPadding = 1;

/// One deflate stream that is inflated.
class Inflation {
public:
  Inflation(const std::uint8_t* bytes, std::size_t size) {
    stream_.next_in = bytes;
    left_ = size;
    if (inflateInit2(&stream_, kRawDeflate) != Z_OK) {
      throw Error(Reason::OutOfMemory, "out of memory");
    }
  }
  ~Inflation() { (void)inflateEnd(&stream_); }  // its state is consistent
  Inflation(const Inflation&) = delete;
  Inflation& operator=(const Inflation&) = delete;

  /// Inflates until `size` bytes are there or the stream ends.
  /// @return how many bytes came
  /// @throws Error OutOfMemory
  std::size_t read(std::uint8_t* target, std::size_t size) {
    std::size_t done = 0;
    while (done < size && status_ == Z_OK) {
      const std::size_t room = std::min(size - done, kMostAtOnce);
      const std::size_t given = std::min(left_, kMostAtOnce);
      stream_.next_out = target + done;
      stream_.avail_out = static_cast<uInt>(room);
      stream_.avail_in = static_cast<uInt>(given);
      status_ = inflate(&stream_, Z_NO_FLUSH);
      left_ -= given - stream_.avail_in;
      done += room - stream_.avail_out;
    }
    if (status_ == Z_MEM_ERROR) {
      throw Error(Reason::OutOfMemory, "out of memory");
    }
    return done;
  }

  /// Whether the stream has come to its end.
  bool isAtEnd() const { return status_ == Z_STREAM_END; }
  /// Bytes behind what was read of the stream.
  std::size_t left() const { return left_; }

private:
  static constexpr std::size_t kMostAtOnce = std::numeric_limits<uInt>::max();

  z_stream stream_{};
  std::size_t left_ = 0;
  int status_ = Z_OK;
};

/// Inflates a stream that has to be as long as the target.
bool inflateWhole(const std::vector<std::uint8_t>& coded, std::uint8_t* target, std::size_t size) {
  Inflation inflation(coded.data(), coded.size());
  std::uint8_t tooMuch = 0;
  return inflation.read(target, size) == size && inflation.read(&tooMuch, 1) == 0 &&
         inflation.isAtEnd() && inflation.left() <= kMostPadding;
}

class DeflatedContainers final : public Containers {
public:
  DeflatedContainers(const File& file, const PixelDescription& pixels)
      : pixels_(pixels), coded_(file) {}

  void check(std::uint64_t frame) override {
    if (nativeBytes() / kMostBytesOfAByte > coded_.sizeOf(frame)) {
      throw notWhole(frame);
    }
  }

  std::string read(std::uint64_t frame, unsigned char* target) override {
    check(frame);
    const std::vector<std::uint8_t>& coded = coded_.bytesOf(frame);
    const auto size = static_cast<std::size_t>(nativeBytes());
    packed_.resize(isPacked() ? size : 0);
    if (!inflateWhole(coded, isPacked() ? packed_.data() : target, size)) {
      throw notWhole(frame);
    }
    if (isPacked()) {
      unpackBits(packed_.data(), 0, static_cast<std::size_t>(bits()), target);
    }
    return pixels_.photometricInterpretation;
  }

private:
  bool isPacked() const { return pixels_.bitsAllocated == 1; }
  /// Samples of one bit in a frame.
  std::uint64_t bits() const { return pixels_.pixels() * pixels_.containersPerPixel(); }
  std::uint64_t nativeBytes() const {
    return isPacked() ? (bits() + 7) / 8 : pixels_.containerBytes();
  }

  Error notWhole(std::uint64_t frame) const {
    return {Reason::Damaged, "has a deflated frame (number " + std::to_string(frame) +
                                 ") that does not inflate to the " + std::to_string(nativeBytes()) +
                                 " bytes of a frame"};
  }

  PixelDescription pixels_;
  CodedFrames coded_;
  std::vector<std::uint8_t> packed_;
};

}  // namespace

std::unique_ptr<Containers> deflatedContainers(const File& file, const PixelDescription& pixels) {
  return std::make_unique<DeflatedContainers>(file, pixels);
}

}  // namespace zr
