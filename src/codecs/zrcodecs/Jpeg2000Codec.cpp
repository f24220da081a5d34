// SPDX-License-Identifier: BSD-3-Clause
// JPEG 2000 for DCMTK: which frames there are and where their samples go. Nothing of the dataset
// changes, and no memory for samples is taken, before the headers of the first frame were found to
// be harmless.
#include "zrcodecs/Jpeg2000Codec.h"

#include "dicom/FrameSize.h"
#include "streams/Fragments.h"
#include "streams/Jpeg2000Frames.h"
#include "zrcodecs/CodecParameter.h"
#include "zrcodecs/CodedImageAttributes.h"
#include "zrcodecs/Jpeg2000Decoder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <new>
#include <optional>

namespace zrcodecs {

namespace {

std::uint64_t mostSamples(const DcmCodecParameter* parameter) {
  const auto* const ours = dynamic_cast<const CodecParameter*>(parameter);
  return (ours != nullptr ? ours->options() : CodecOptions{}).mostSamplesPerFrame;
}

/// How the samples are meant once they are decoded.
OFString decodedColourModel(const OFString& photometric) {
  return photometric == "YBR_RCT" || photometric == "YBR_ICT" ? OFString("RGB") : photometric;
}

/// The item that owns the pixel data, which is on top of DCMTK's stack.
DcmItem* ownerOf(const DcmStack& stack) {
  DcmStack rest(stack);
  (void)rest.pop();
  return dynamic_cast<DcmItem*>(rest.pop());
}

OFCondition checkFirstFrame(Zrg::Fragments& fragments, const CodedImageAttributes& attributes,
                            std::uint64_t most) {
  const auto span = Zrg::Jpeg2000Frames(fragments, attributes.numberOfFrames).spanFrom(1);
  if (!span || attributes.frameBytes() > Zrg::kMostDecodedBytes / attributes.numberOfFrames) {
    return EC_CannotChangeRepresentation;
  }
  const Zrg::FrameBytes bytes(fragments, *span);
  return checkJpeg2000(bytes.data(), bytes.size(), attributes, most);
}

OFCondition decodeAllFrames(Zrg::Fragments& fragments, const CodedImageAttributes& attributes,
                            std::uint64_t most, Uint8* target) {
  Zrg::Jpeg2000Frames frames(fragments, attributes.numberOfFrames);
  unsigned long start = 1;
  for (unsigned long frame = 0; frame < attributes.numberOfFrames; ++frame) {
    const auto span = frames.spanFrom(start);
    if (!span) {
      return EC_CannotChangeRepresentation;
    }
    const Zrg::FrameBytes bytes(fragments, *span);
    const OFCondition status = decodeJpeg2000(bytes.data(), bytes.size(), attributes, most,
                                              target + frame * attributes.frameBytes());
    if (status.bad()) {
      return status;
    }
    start = span->end;
  }
  return EC_Normal;
}

OFCondition decodeInto(DcmItem& item, DcmPixelSequence& sequence, DcmPolymorphOBOW& pixelData,
                       std::uint64_t most, OFBool& removeOldRepresentation) {
  CodedImageAttributes attributes;
  OFCondition status = readCodedImageAttributes(item, attributes);
  if (status.bad()) {
    return status;
  }
  Zrg::Fragments fragments(sequence);
  status = checkFirstFrame(fragments, attributes, most);
  if (status.bad()) {
    return status;
  }
  const std::uint64_t bytes = attributes.frameBytes() * attributes.numberOfFrames;
  Uint16* words = nullptr;
  status = pixelData.createUint16Array(static_cast<Uint32>((bytes + 1) / 2), words);
  if (status.bad()) {
    return status;
  }
  if (bytes % 2 != 0) {
    words[bytes / 2] = 0;
  }
  status =
      decodeAllFrames(fragments, attributes, most, static_cast<Uint8*>(static_cast<void*>(words)));
  const OFString model = decodedColourModel(attributes.photometricInterpretation);
  if (status.good() && model != attributes.photometricInterpretation) {
    // The compressed frames would not agree with the attribute any more.
    removeOldRepresentation = OFTrue;
    status = item.putAndInsertOFStringArray(DCM_PhotometricInterpretation, model);
  }
  return status;
}

}  // namespace

OFCondition Jpeg2000Codec::decode(const DcmRepresentationParameter* /*from*/,
                                  DcmPixelSequence* sequence, DcmPolymorphOBOW& pixelData,
                                  const DcmCodecParameter* parameter, const DcmStack& stack,
                                  OFBool& removeOldRepresentation) const {
  DcmItem* const item = ownerOf(stack);
  if (item == nullptr || sequence == nullptr) {
    return EC_InvalidTag;
  }
  try {
    return decodeInto(*item, *sequence, pixelData, mostSamples(parameter), removeOldRepresentation);
  } catch (const std::bad_alloc&) {
    return EC_MemoryExhausted;
  }
}

OFCondition Jpeg2000Codec::decodeFrame(const DcmRepresentationParameter* /*from*/,
                                       DcmPixelSequence* sequence,
                                       const DcmCodecParameter* parameter, DcmItem* item,
                                       Uint32 frame, Uint32& startFragment, void* buffer,
                                       Uint32 bufferSize, OFString& colourModel) const {
  if (item == nullptr || sequence == nullptr || buffer == nullptr) {
    return EC_IllegalCall;
  }
  CodedImageAttributes attributes;
  const OFCondition status = readCodedImageAttributes(*item, attributes);
  if (status.bad()) {
    return status;
  }
  if (frame >= attributes.numberOfFrames || attributes.frameBytes() > bufferSize) {
    return EC_IllegalCall;
  }
  try {
    Zrg::Fragments fragments(*sequence);
    Zrg::Jpeg2000Frames frames(fragments, attributes.numberOfFrames);
    const std::optional<unsigned long> start =
        startFragment != 0 ? startFragment : frames.startOf(frame);
    const auto span = start ? frames.spanFrom(*start) : std::nullopt;
    if (!span) {
      return EC_CannotChangeRepresentation;
    }
    const Zrg::FrameBytes bytes(fragments, *span);
    const OFCondition decoded =
        decodeJpeg2000(bytes.data(), bytes.size(), attributes, mostSamples(parameter), buffer);
    if (decoded.good()) {
      startFragment = static_cast<Uint32>(span->end);
      colourModel = decodedColourModel(attributes.photometricInterpretation);
    }
    return decoded;
  } catch (const std::bad_alloc&) {
    return EC_MemoryExhausted;
  }
}

OFCondition Jpeg2000Codec::encode(const Uint16* /*pixelData*/, Uint32 /*length*/,
                                  const DcmRepresentationParameter* /*to*/,
                                  DcmPixelSequence*& /*sequence*/,
                                  const DcmCodecParameter* /*parameter*/, DcmStack& /*stack*/,
                                  OFBool& /*removeOldRepresentation*/) const {
  return EC_CannotChangeRepresentation;
}

OFCondition Jpeg2000Codec::encode(E_TransferSyntax /*from*/,
                                  const DcmRepresentationParameter* /*fromParameter*/,
                                  DcmPixelSequence* /*fromSequence*/,
                                  const DcmRepresentationParameter* /*to*/,
                                  DcmPixelSequence*& /*toSequence*/,
                                  const DcmCodecParameter* /*parameter*/, DcmStack& /*stack*/,
                                  OFBool& /*removeOldRepresentation*/) const {
  return EC_CannotChangeRepresentation;
}

OFBool Jpeg2000Codec::canChangeCoding(E_TransferSyntax from, E_TransferSyntax to) const {
  return from == syntax_ && DcmXfer(to).isNotEncapsulated();
}

OFCondition Jpeg2000Codec::determineDecompressedColorModel(
    const DcmRepresentationParameter* /*from*/, DcmPixelSequence* /*sequence*/,
    const DcmCodecParameter* /*parameter*/, DcmItem* item, OFString& colourModel) const {
  OFString photometric;
  const OFCondition status =
      item != nullptr ? item->findAndGetOFString(DCM_PhotometricInterpretation, photometric)
                      : EC_IllegalCall;
  if (status.good()) {
    colourModel = decodedColourModel(photometric);
  }
  return status;
}

}  // namespace zrcodecs
