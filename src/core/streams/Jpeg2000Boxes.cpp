// SPDX-License-Identifier: BSD-3-Clause
// A JP2 file is a row of boxes, the codestream in one of them (T.800 Annex I). A box:
//
//   Uint32 length with this header (1: a Uint64 follows the type; 0: to the end), Uint32 type,
//   content
#include "streams/Jpeg2000Headers.h"

#include <algorithm>

namespace Zrg {

namespace {

using Jpeg2000::Codestream;
using Jpeg2000::Cursor;
using std::uint32_t;
using std::uint64_t;
using std::uint8_t;

constexpr FailureText kNoCodestream{"JPEG 2000 codestream not found"};

constexpr unsigned int kStartOfCodestream = 0xFF4F;
constexpr std::array<uint8_t, 2> kEndOfCodestream = {0xFF, 0xD9};

constexpr uint32_t kCodestreamBox = 0x6A703263;  // "jp2c"
constexpr std::array<uint8_t, 12> kSignatureBox = {0,    0,    0,    12,   0x6A, 0x50,
                                                   0x20, 0x20, 0x0D, 0x0A, 0x87, 0x0A};

bool beginsWithBoxes(const uint8_t* bytes, std::size_t size) {
  return size >= kSignatureBox.size() &&
         std::equal(kSignatureBox.begin(), kSignatureBox.end(), bytes);
}

std::optional<Codestream> findInBoxes(const uint8_t* bytes, std::size_t size) {
  Cursor boxes(bytes, 0, size);
  while (true) {
    const std::size_t begin = boxes.position();
    uint64_t length = boxes.u32();
    const uint32_t type = boxes.u32();
    length = length == 1 ? boxes.u64() : length;
    length = length == 0 ? size - begin : length;
    const uint64_t header = boxes.position() - begin;
    const bool isFound = type == kCodestreamBox;
    Codestream content{boxes.position(), 0, 0};
    if (isFound && boxes.isGood() && length - header > boxes.left() && length >= header) {
      length = header + boxes.left();  // cut short, which matters only if a tile-part is
    }
    boxes.skip(length >= header ? length - header : boxes.left() + 1);
    content.end = boxes.position();
    if (!boxes.isGood()) {
      return std::nullopt;
    }
    if (isFound) {
      return content;
    }
  }
}

std::size_t endMarkerOf(const uint8_t* bytes, const Codestream& codestream) {
  for (const std::size_t padding : {0U, 1U}) {
    const std::size_t size = kEndOfCodestream.size();
    if (codestream.end - codestream.begin >= size + padding) {
      const std::size_t begin = codestream.end - padding - size;
      if (std::equal(kEndOfCodestream.begin(), kEndOfCodestream.end(), bytes + begin)) {
        return begin;
      }
    }
  }
  return codestream.end;
}

}  // namespace

Result<Codestream> Jpeg2000::findCodestream(const uint8_t* bytes, std::size_t size) {
  std::optional<Codestream> codestream =
      beginsWithBoxes(bytes, size) ? findInBoxes(bytes, size) : Codestream{0, size, size};
  if (!codestream ||
      Cursor(bytes, codestream->begin, codestream->end).u16() != kStartOfCodestream) {
    return kNoCodestream;
  }
  codestream->endMarker = endMarkerOf(bytes, *codestream);
  return *codestream;
}

bool beginsJpeg2000(const uint8_t* bytes, std::size_t size) {
  constexpr std::array<uint8_t, 4> kCodestream = {0xFF, 0x4F, 0xFF, 0x51};
  return (size >= kCodestream.size() &&
          std::equal(kCodestream.begin(), kCodestream.end(), bytes)) ||
         beginsWithBoxes(bytes, size);
}

}  // namespace Zrg
