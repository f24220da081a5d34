// SPDX-License-Identifier: BSD-3-Clause
// Walks over the headers of a JPEG 2000 image, never into its packets. All numbers are big endian.
//
// The codestream (T.800 Annex A) is alone or in a box of a JP2 file (Jpeg2000Boxes.cpp): SOC
// (FF4F), SIZ and other segments of the main header (Jpeg2000Segments.cpp), tile-parts
// (Jpeg2000TileParts.cpp), EOC (FFD9). What they promise is counted at the end
// (Jpeg2000Counts.cpp).
//
// What each check keeps away from OpenJPEG:
//
//   other size, components, precision   samples that do not fill the frame, or fill it twice
//   tiles                               a structure of 7 KB for each, 65,535 of them in a header of
//                                       100 bytes
//   tiles that are missing              "decoded" to zeros without a word
//   packets                             each takes a byte at least; those of 1 x 1 precincts take
//                                       gigabytes
//   positions                           precincts narrow in one resolution and flat in another are
//                                       looked for at each pixel
//   code-blocks                         half a KB for each, coded or not
#include "streams/Jpeg2000Stream.h"

#include "streams/Jpeg2000Headers.h"

#include <algorithm>
#include <utility>

namespace Zrg {

Result<Jpeg2000Image> readJpeg2000Image(const std::uint8_t* bytes, std::size_t size,
                                        const Jpeg2000Frame& frame) {
  const Result<Jpeg2000::Codestream> codestream = Jpeg2000::findCodestream(bytes, size);
  if (!codestream) {
    return codestream.reason();
  }
  Jpeg2000::Cursor stream(bytes, codestream->begin, codestream->end);
  (void)stream.u16();  // SOC
  Jpeg2000::Headers headers;
  std::optional<FailureText> failure = readSizes(stream, frame, headers);
  if (!failure) {
    failure =
        readSegments(stream, Jpeg2000::kStartOfTilePart, headers.components.size(), headers.coding);
  }
  if (failure) {
    return *failure;
  }
  const Result<std::size_t> end = readTileParts(stream, *codestream, frame, headers);
  if (!end) {
    return end.reason();
  }
  if ((failure = checkCounts(headers, frame, size))) {
    return *failure;
  }
  const auto& components = headers.coding.components;
  const bool isHighThroughput = std::any_of(components.begin(), components.end(),
                                            [](const auto& how) { return how.isHighThroughput; });
  return Jpeg2000Image{codestream->begin, *end, std::move(headers.components), isHighThroughput};
}

}  // namespace Zrg
