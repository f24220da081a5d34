// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrcodecs/CodedImageAttributes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"
#include "dcmtk/ofstd/ofcond.h"

#include <cstddef>
#include <cstdint>

namespace zrcodecs {

/// Decodes one JPEG 2000 or HTJ2K image through OpenJPEG, after its headers were found to be
/// harmless.
///
/// Samples become native samples of the image: 8 or 16 bits, in the planar configuration of the
/// attributes, subsampled components in full size. Their sign is that of the stream. Where the
/// stream is unsigned and Pixel Representation is not, the bits are left as they are, with the sign
/// in the highest of the stored bits; a stream of fewer bits than those has its sign extended.
///
/// @param bytes       all fragments of a frame
/// @param mostSamples a frame of more samples is refused
/// @param target      receives attributes.frameBytes() bytes; after a failure some may be written
/// @return why there is no frame
[[nodiscard]] OFCondition decodeJpeg2000(const Uint8* bytes, std::size_t size,
                                         const CodedImageAttributes& attributes,
                                         std::uint64_t mostSamples, void* target);

/// Whether decodeJpeg2000() would hand these bytes to OpenJPEG.
[[nodiscard]] OFCondition checkJpeg2000(const Uint8* bytes, std::size_t size,
                                        const CodedImageAttributes& attributes,
                                        std::uint64_t mostSamples);

}  // namespace zrcodecs
