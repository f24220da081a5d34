// SPDX-License-Identifier: BSD-3-Clause
// A frame of JPEG 2000 from its headers to its samples, as the codec decodes it: bytes in memory of
// exactly their length, an image of the size that the stream itself says as long as that is small.
// What passes the headers must be decoded or refused without a memory error, within the limits of
// time and memory; what they refuse must not be decoded.
#include "Input.h"
#include "streams/Jpeg2000Stream.h"
#include "zrcodecs/Jpeg2000Decoder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/oflog/oflog.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace {

using fuzz::require;
using zrcodecs::CodedImageAttributes;

constexpr std::uint64_t kMostSamples = 1U << 16U;
constexpr std::size_t kFromEndToBegin = 8;  ///< bytes between the two corners in a SIZ segment
constexpr Uint8 kCanary = 0xA5;

Uint16 extent(const Uint8* end, const Uint8* begin) {
  const auto number = [](const Uint8* at) {
    unsigned int value = 0;
    for (int i = 0; i < 4; ++i) {
      value = value << 8U | at[i];
    }
    return value;
  };
  return static_cast<Uint16>(number(end) - number(begin));
}

/// The attributes that a SIZ segment at the usual place asks for, with some that `choice` makes
/// disagree.
CodedImageAttributes attributesFor(const std::vector<Uint8>& stream, Uint8 choice) {
  CodedImageAttributes attributes;
  attributes.bitsAllocated = (choice & 1U) != 0 ? 16 : 8;
  attributes.bitsStored = attributes.bitsAllocated;
  attributes.pixelRepresentation = (choice >> 1U) & 1U;
  attributes.planarConfiguration = (choice >> 2U) & 1U;
  attributes.samplesPerPixel = 1;
  constexpr std::array<Uint8, 4> kBegin = {0xFF, 0x4F, 0xFF, 0x51};
  const auto at = std::search(stream.begin(), stream.end(), kBegin.begin(), kBegin.end());
  if (stream.end() - at >= 42) {
    const Uint8* const siz = &*at + 4;  // length, capabilities, then the sizes
    attributes.columns = extent(siz + 4, siz + 4 + kFromEndToBegin);
    attributes.rows = extent(siz + 8, siz + 8 + kFromEndToBegin);
    attributes.samplesPerPixel = static_cast<Uint16>(siz[36] << 8U | siz[37]);
  }
  return attributes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const Uint8* data, std::size_t size) {
  static const bool kSilent = [] {
    OFLog::configure(OFLogger::OFF_LOG_LEVEL);
    return true;
  }();
  (void)kSilent;
  fuzz::Input input(data, size);
  const Uint8 choice = input.byte();
  std::vector<Uint8> stream = input.rest();
  stream.shrink_to_fit();
  const CodedImageAttributes attributes = attributesFor(stream, choice);
  const auto headers =
      Zrg::readJpeg2000Image(stream.data(), stream.size(),
                             {attributes.columns, attributes.rows, attributes.samplesPerPixel,
                              attributes.bitsAllocated, kMostSamples});
  if (headers) {
    require(headers->begin < headers->end && headers->end <= stream.size());
    require(attributes.samples() <= kMostSamples);
    require(headers->components.size() == attributes.samplesPerPixel);
  }
  const std::size_t bytes =
      headers ? static_cast<std::size_t>(attributes.frameBytes()) : std::size_t{0};
  std::vector<Uint8> samples(bytes, kCanary);
  const OFCondition decoded = zrcodecs::decodeJpeg2000(stream.data(), stream.size(), attributes,
                                                       kMostSamples, samples.data());
  require(headers || decoded.bad());
  if (decoded.good()) {
    // The same again: no sample depends on what memory held before.
    std::vector<Uint8> again(bytes, static_cast<Uint8>(~kCanary));
    require(zrcodecs::decodeJpeg2000(stream.data(), stream.size(), attributes, kMostSamples,
                                     again.data())
                .good());
    require(samples == again);
  }
  return 0;
}
