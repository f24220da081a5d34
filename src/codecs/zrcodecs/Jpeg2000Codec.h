// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"

namespace zrcodecs {

/// JPEG 2000 of one transfer syntax as DCMTK asks for it. Decodes; has no encoder.
///
/// After decoding, YBR_RCT and YBR_ICT are RGB: OpenJPEG undoes the transform, and DCMTK's image
/// classes do not know the two. Planar Configuration stays as it is; the samples follow it.
///
/// @see PS3.5 A.4.4, 8.2.4 (JPEG 2000 Image Compression), 8.2.14 (HTJ2K)
class Jpeg2000Codec : public DcmCodec {
public:
  /// DCMTK does not say in which transfer syntax it decodes, so there is one codec for each.
  explicit Jpeg2000Codec(E_TransferSyntax syntax) : syntax_(syntax) {}

  OFCondition decode(const DcmRepresentationParameter* from, DcmPixelSequence* sequence,
                     DcmPolymorphOBOW& pixelData, const DcmCodecParameter* parameter,
                     const DcmStack& stack, OFBool& removeOldRepresentation) const override;

  OFCondition decodeFrame(const DcmRepresentationParameter* from, DcmPixelSequence* sequence,
                          const DcmCodecParameter* parameter, DcmItem* item, Uint32 frame,
                          Uint32& startFragment, void* buffer, Uint32 bufferSize,
                          OFString& colourModel) const override;

  OFCondition encode(const Uint16* pixelData, Uint32 length, const DcmRepresentationParameter* to,
                     DcmPixelSequence*& sequence, const DcmCodecParameter* parameter,
                     DcmStack& stack, OFBool& removeOldRepresentation) const override;

  OFCondition encode(E_TransferSyntax from, const DcmRepresentationParameter* fromParameter,
                     DcmPixelSequence* fromSequence, const DcmRepresentationParameter* to,
                     DcmPixelSequence*& toSequence, const DcmCodecParameter* parameter,
                     DcmStack& stack, OFBool& removeOldRepresentation) const override;

  OFBool canChangeCoding(E_TransferSyntax from, E_TransferSyntax to) const override;

  OFCondition determineDecompressedColorModel(const DcmRepresentationParameter* from,
                                              DcmPixelSequence* sequence,
                                              const DcmCodecParameter* parameter, DcmItem* item,
                                              OFString& colourModel) const override;

private:
  E_TransferSyntax syntax_;
};

}  // namespace zrcodecs
