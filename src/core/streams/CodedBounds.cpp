// SPDX-License-Identifier: BSD-3-Clause
// The fewest bits of a coded frame, one process after the other:
//
//   sequential DCT   Each 8 x 8 block of a component has a code for its DC difference and at least
//   SOF0, SOF1       one for its AC coefficients, the end of block (T.81 F.1.2.1, F.1.2.2). A
//                    Huffman code has 1 bit or more (T.81 C): 2 bits a block.
//   progressive DCT  The first scan of each component codes the DC difference of every block (T.81
//   SOF2             G.1.2.1). Its AC coefficients may all be in runs of up to 32,767 blocks that
//                    end, and may have no scan at all (T.81 G.1.2.2): 1 bit a block.
//   lossless         Each sample has a code for its difference (T.81 H.1.2.2): 1 bit a sample.
//   SOF3
//   arithmetic       No such bound: a decision that is sure takes next to nothing (T.81 D). DCMTK's
//   SOF9 to SOF11    decoders were built without arithmetic coding and fail.
//   hierarchical     Frames are differences to smaller ones (T.81 J). DCMTK's decoders fail.
//   SOF5-7, SOF13-15
//   JPEG-LS          A run of equal pixels takes a 1 for every 2^J of them and goes up one step in
//                    the table of J with each (T.87 A.7.1): 1, 1, 1, 1, 2, ... 32768. The last part
//                    of a run that reaches the end of its line takes a 1 whatever its length. Runs
//                    end with their line, the step is kept for the next line of the component.
//   RLE              2 bytes for up to 128 bytes of a segment (PS3.5 G.3.1).
//
// A component has fewer samples than the image where another is sampled more often (T.81 A.1.1);
// blocks at its edges count in full (A.2.4), those that fill up interleaved units are left out
// here, as a scan of one component does not have them.
//
// Restarts and the end of a scan fill up their last byte (T.81 F.1.2.3), stuffed bits and bytes
// come on top: all of these make a stream longer, so that nothing need be taken off for them.
#include "streams/CodedBounds.h"

#include <algorithm>
#include <array>

namespace Zrg {

namespace {

constexpr Uint8 kBaselineFrame = 0xC0;
constexpr Uint8 kSequentialFrame = 0xC1;
constexpr Uint8 kLosslessFrame = 0xC3;

constexpr unsigned int kBlockSide = 8;
constexpr unsigned int kMostSampling = 4;

/// J of T.87 A.2.1: pixels of a run that one bit stands for, as a power of two.
constexpr std::array<unsigned int, 32> kRunBits = {0, 0, 0, 0, 1,  1,  1,  1,  2,  2, 2,
                                                   2, 3, 3, 3, 3,  4,  4,  5,  5,  6, 6,
                                                   7, 7, 8, 9, 10, 11, 12, 13, 14, 15};

constexpr unsigned long long kRleHeaderSize = 64;
constexpr unsigned long long kLongestRun = 128;
constexpr unsigned long long kBytesOfARun = 2;

/// Sampling factors of one component, or the largest ones of all.
struct Sampling {
  unsigned int horizontal;
  unsigned int vertical;
};

Sampling samplingOf(Uint8 byte) {
  return {static_cast<unsigned int>(byte >> 4U), static_cast<unsigned int>(byte & 0x0FU)};
}

/// Units of so many samples each way that a component consists of.
unsigned long long unitsOf(const JpegFrameHeader& frame, const Sampling& component,
                           const Sampling& most, unsigned int side) {
  const unsigned long long across =
      dividedUp(1ULL * frame.columns * component.horizontal, 1ULL * most.horizontal * side);
  const unsigned long long down =
      dividedUp(1ULL * frame.rows * component.vertical, 1ULL * most.vertical * side);
  return across * down;
}

/// Bits of `lines` lines of `width` equal pixels.
///
/// No line takes fewer, and none leads to a higher step, than one that is a run from end to end:
/// each step that is gained needs a whole part of its length, pixels that are coded alone take a
/// bit or more each, and a run that is broken off takes at least two bits and loses a step.
unsigned long long leastRunBits(unsigned long long width, unsigned long long lines) {
  unsigned long long bits = 0;
  std::size_t step = 0;
  for (unsigned long long line = 0; line < lines; ++line) {
    unsigned long long left = width;
    while (left > 0) {
      const unsigned long long part = 1ULL << kRunBits[step];
      if (part <= left) {
        step = std::min(step + 1, kRunBits.size() - 1);
      }
      left -= std::min(part, left);
      ++bits;
    }
  }
  return bits;
}

}  // namespace

std::optional<unsigned long long> leastJpegBits(const JpegFrameHeader& frame) {
  if (frame.marker < kBaselineFrame || frame.marker > kLosslessFrame || frame.components == 0 ||
      frame.components > JpegFrameHeader::kMostComponents) {
    return std::nullopt;
  }
  Sampling most = {1, 1};
  for (unsigned int i = 0; i < frame.components; ++i) {
    const Sampling sampling = samplingOf(frame.sampling[i]);
    if (sampling.horizontal < 1 || sampling.horizontal > kMostSampling || sampling.vertical < 1 ||
        sampling.vertical > kMostSampling) {
      return std::nullopt;
    }
    most.horizontal = std::max(most.horizontal, sampling.horizontal);
    most.vertical = std::max(most.vertical, sampling.vertical);
  }
  const unsigned int side = frame.marker == kLosslessFrame ? 1 : kBlockSide;
  unsigned long long units = 0;
  for (unsigned int i = 0; i < frame.components; ++i) {
    units += unitsOf(frame, samplingOf(frame.sampling[i]), most, side);
  }
  const bool isSequential = frame.marker == kBaselineFrame || frame.marker == kSequentialFrame;
  return isSequential ? 2 * units : units;
}

unsigned long long leastJpegLsBits(const JpegFrameHeader& frame, Uint8 interleaveMode) {
  // Pixel by pixel, a run is one of all components.
  const unsigned long long runs = interleaveMode == kPixelByPixel ? 1 : frame.components;
  return runs * leastRunBits(frame.columns, frame.rows);
}

unsigned long long leastRleBytes(unsigned long long segments, unsigned long long planeSize) {
  return kRleHeaderSize + segments * kBytesOfARun * dividedUp(planeSize, kLongestRun);
}

unsigned long long leastJpegBitsOfAnyKind(Uint16 columns, Uint16 rows) {
  // A progressive frame of components that are sampled often in one direction each, and rarely in
  // the other one.
  return dividedUp(columns, kBlockSide) * dividedUp(rows, kBlockSide) / kMostSampling;
}

}  // namespace Zrg
