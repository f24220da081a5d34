// SPDX-License-Identifier: BSD-3-Clause
// Datasets begin in group 0008 with short elements, whose headers have 8 bytes in either way:
//
//   with VR      group(2) element(2) VR(2) length(2)
//   without      group(2) element(2) length(4)
#include "zrimaging/files/WrittenEncoding.h"

#include "zrimaging/files/ElementHeader.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctag.h"

#include <cstddef>

namespace zr {

namespace {

constexpr std::size_t kHeader = 8;
constexpr std::size_t kLongestFirstValue = 100;
constexpr Uint16 kFirstGroup = 0x0008;
constexpr Uint16 kLastLikelyGroup = 0x0028;

bool isWrittenAs(const unsigned char* header, bool explicitVR) {
  return hasStandardVR(header) == explicitVR && DcmTag(littleEndianTag(header)).error().good();
}

std::size_t lengthOf(const unsigned char* header, bool explicitVR) {
  const std::size_t low = header[6] | static_cast<std::size_t>(header[7]) << 8U;
  const std::size_t word = header[4] | static_cast<std::size_t>(header[5]) << 8U;
  return explicitVR ? low : word | low << 16U;
}

/// Whether the first two elements are written with their VRs, or without.
bool beginsAs(HeaderBytes& bytes, bool explicitVR) {
  const unsigned char* at = bytes.peek(kHeader);
  if (at == nullptr || !isWrittenAs(at, explicitVR)) {
    return false;
  }
  const DcmTagKey first = littleEndianTag(at);
  const std::size_t length = lengthOf(at, explicitVR);
  if (first.getGroup() != kFirstGroup || length > kLongestFirstValue) {
    return false;
  }
  at = bytes.peek(kHeader + length + kHeader);
  if (at == nullptr || !isWrittenAs(at + kHeader + length, explicitVR)) {
    return false;
  }
  const DcmTagKey second = littleEndianTag(at + kHeader + length);
  return first < second && second.getGroup() <= kLastLikelyGroup;
}

}  // namespace

std::optional<E_TransferSyntax> otherWayOfWriting(HeaderBytes& bytes, E_TransferSyntax stated) {
  const DcmXfer syntax(stated);
  if (stated == EXS_Unknown || syntax.getByteOrder() != EBO_LittleEndian ||
      syntax.getStreamCompression() != ESC_none) {
    return std::nullopt;
  }
  const bool saysVR = syntax.isExplicitVR() == OFTrue;
  if (beginsAs(bytes, saysVR) || !beginsAs(bytes, !saysVR)) {
    return std::nullopt;
  }
  return saysVR ? EXS_LittleEndianImplicit : EXS_LittleEndianExplicit;
}

}  // namespace zr
