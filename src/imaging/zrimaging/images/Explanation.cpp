// SPDX-License-Identifier: BSD-3-Clause
// Why an image does not decode. The library says what went wrong where it noticed; most of the time
// the cause stands in the attributes: samples that are no pixel data, a compression without a
// decoder, a stream that says something else than the dataset. Causes are looked for from the
// coarse to the fine: an object without pixels first, the compressed stream last. The first one
// that holds is told.
#include "zrimaging/images/Explanation.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/files/CodecRegistration.h"
#include "zrimaging/images/ObjectKind.h"
#include "zrimaging/pixels/OwnReaders.h"
#include "zrimaging/pixels/SegmentedPalette.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace zr {

namespace {

// libzrdcmexport answers no reason: it is known by these words.
constexpr const char* kCoreOutOfMemory = "out of memory";

/// All that tells why an image does not decode.
struct Facts {
  explicit Facts(const File& file);

  DcmItem& dataset;
  TransferSyntaxName syntax;
  const Zrg::TransferSyntax* known = nullptr;  ///< null where nobody knows it
  std::string object;                          ///< name of the SOP class; empty without one
  DcmElement* pixelData = nullptr;
  DcmPixelSequence* fragments = nullptr;  ///< compressed frames; item 0 is the offset table
  std::size_t frames = 1;                 ///< as the file names them
  std::string photometricInterpretation;  ///< with its spelling repaired; empty when it is missing
  bool isAdopted = false;                 ///< by a codec, in a syntax that DCMTK does not know

  std::optional<unsigned> number(const DcmTagKey& key) const {
    Uint16 value = 0;
    return dataset.findAndGetUint16(key, value).good() ? std::optional<unsigned>(value)
                                                       : std::nullopt;
  }
  bool says(const DcmTagKey& key, unsigned value) const { return number(key) == value; }
  bool isCompressed() const { return known != nullptr && known->encapsulated; }
  std::size_t fragmentCount() const { return fragments == nullptr ? 0 : fragments->card() - 1; }
  std::string syntaxText() const {
    return syntax.name.empty() ? syntax.uid : syntax.name + " (" + syntax.uid + ")";
  }
};

DcmPixelSequence* codedFragmentsOf(DcmElement* element) {
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr) {
    return nullptr;
  }
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  DcmPixelSequence* sequence = nullptr;
  pixelData->getOriginalRepresentationKey(syntax, parameter);
  const bool compressed =
      DcmXfer(syntax).isEncapsulated() &&
      pixelData->getEncapsulatedRepresentation(syntax, parameter, sequence).good();
  return compressed && sequence != nullptr && sequence->card() > 0 ? sequence : nullptr;
}

Facts::Facts(const File& file)
    : dataset(file.dataset()),
      syntax(transferSyntaxOf(file)),
      known(Zrg::findTransferSyntax(syntax.uid)),
      object(classNameOf(dataset)),
      frames(file.statedFrameCount()),
      photometricInterpretation(file.photometricInterpretation()),
      isAdopted(zr::isAdopted(file)) {
  (void)dataset.findAndGetElement(DCM_PixelData, pixelData);  // null tells as much
  fragments = codedFragmentsOf(pixelData);
}

// --- causes, in the order in which they are looked for
// -------------------------------------------- Each answers a text when it holds, and an empty one
// when it does not.

std::string noPixelsAtAll(const Facts& facts) {
  const std::string what = describeWithoutPixels(facts.dataset);
  return what.empty() ? "" : "is " + what + ", and has no pixels; zrdcm info describes it";
}

bool hasFloatingPointSamples(const Facts& facts) {
  return facts.dataset.tagExists(DCM_FloatPixelData) ||
         facts.dataset.tagExists(DCM_DoubleFloatPixelData);
}

std::string noPixelData(const Facts& facts) {
  if (facts.pixelData != nullptr || hasFloatingPointSamples(facts)) {
    return "";
  }
  if (facts.dataset.tagExists(DCM_PixelDataProviderURL)) {
    return "has its pixels at a server (Pixel Data Provider URL (0028,7FE0)), not in the file; "
           "fetch "
           "them first";
  }
  return facts.object.empty()
             ? "has no Pixel Data (7FE0,0010), and no SOP Class UID says what it is"
             : "has no Pixel Data (7FE0,0010), though it is an image: only its header is there";
}

std::string noDecoder(const Facts& facts) {
  if (facts.known == nullptr) {
    return "is in transfer syntax " + facts.syntaxText() + ", which is not known here";
  }
  return Zrg::isDecodable(facts.syntax.uid) || facts.isAdopted || isReadHere(facts.syntax.uid)
             ? ""
             : "is compressed as " + facts.syntaxText() +
                   ", for which there is no decoder; convert it to an uncompressed transfer syntax "
                   "first";
}

std::string vrOfBytes(const Facts& facts) {
  if (facts.pixelData == nullptr || dynamic_cast<DcmPixelData*>(facts.pixelData) != nullptr) {
    return "";
  }
  const DcmVR vr(facts.pixelData->ident());
  return std::string("has Pixel Data (7FE0,0010) with VR ") + vr.getVRName() +
         "; only OB and OW are pixels";
}

std::string missingAttributes(const Facts& facts) {
  struct Needed {
    DcmTagKey key;
    const char* name;
  };
  const std::array needed = {Needed{DCM_SamplesPerPixel, "Samples per Pixel (0028,0002)"},
                             Needed{DCM_Rows, "Rows (0028,0010)"},
                             Needed{DCM_Columns, "Columns (0028,0011)"},
                             Needed{DCM_BitsAllocated, "Bits Allocated (0028,0100)"}};
  std::string missing;
  for (const Needed& attribute : needed) {
    if (!facts.number(attribute.key)) {
      missing += std::string(missing.empty() ? "" : ", ") + attribute.name;
    }
  }
  if (facts.photometricInterpretation.empty()) {
    missing += std::string(missing.empty() ? "" : ", ") + "Photometric Interpretation (0028,0004)";
  }
  return missing.empty() ? "" : "has Pixel Data, but lacks what an image needs: " + missing;
}

std::string noSize(const Facts& facts) {
  const bool none = facts.says(DCM_Rows, 0) || facts.says(DCM_Columns, 0);
  return none ? "has an image without pixels" : "";
}

/// Floating-point samples have the width that their element has by its definition.
std::string floatingPointSize(const Facts& facts) {
  const bool isDouble = !facts.dataset.tagExists(DCM_FloatPixelData);
  const unsigned expected = isDouble ? 64 : 32;
  const std::optional<unsigned> bits = facts.number(DCM_BitsAllocated);
  if (facts.pixelData != nullptr || !hasFloatingPointSamples(facts) || !bits || *bits == expected) {
    return "";
  }
  return std::string("has ") +
         (isDouble ? "Double Float Pixel Data (7FE0,0009)" : "Float Pixel Data (7FE0,0008)") +
         ", of " + std::to_string(expected) + " bits each, but Bits Allocated (0028,0100) is " +
         std::to_string(*bits);
}

std::string sampleSize(const Facts& facts) {
  const std::optional<unsigned> bits = facts.number(DCM_BitsAllocated);
  const bool isKnown = !bits || *bits == 1 || *bits == 8 || *bits == 16 || *bits == 32;
  if (isKnown || hasFloatingPointSamples(facts)) {
    return "";
  }
  return "has samples of " + std::to_string(*bits) +
         " bits (Bits Allocated (0028,0100)); those of 1, 8, 16 and 32 bits are decoded";
}

std::string damagedPalette(const Facts& facts) {
  if (facts.photometricInterpretation != "PALETTE COLOR" || !hasSegmentedPalette(facts.dataset)) {
    return "";
  }
  const std::string fault = writePaletteInFull(facts.dataset);
  return fault.empty() ? "" : "has a palette in segments that is damaged: " + fault;
}

std::string noPalette(const Facts& facts) {
  const bool missing = facts.photometricInterpretation == "PALETTE COLOR" &&
                       !facts.dataset.tagExistsWithValue(DCM_RedPaletteColorLookupTableData);
  return missing ? "has no palette: Red Palette Color Lookup Table Data (0028,1201) is missing"
                 : "";
}

std::string noBytes(const Facts& facts) {
  if (!facts.isCompressed() && facts.pixelData != nullptr &&
      facts.pixelData->getLengthField() == 0) {
    return "has empty Pixel Data (7FE0,0010)";
  }
  return "";
}

std::string tooFewFrames(const Facts& facts) {
  // A decoder that took what there is has cut Number of Frames, and perhaps dropped the fragments.
  const std::size_t found =
      facts.fragments != nullptr ? facts.fragmentCount() : Zrg::numberOfFrames(facts.dataset);
  if (!facts.isCompressed() || found >= facts.frames) {
    return "";
  }
  return "has compressed data of " + std::to_string(found) + (found == 1 ? " frame" : " frames") +
         ", but Number of Frames (0028,0008) is " + std::to_string(facts.frames);
}

/// Streams of at most 8 bits are widened to cells of 16, where no more bits are said to be stored.
bool cellsMayBeWider(const Facts& facts) {
  const std::optional<unsigned> stored = facts.number(DCM_BitsStored);
  return facts.says(DCM_BitsAllocated, 16) && stored && *stored <= 8;
}

/// What a stream has otherwise than the dataset says, as "of 16 rows, where Rows says 17"; empty
/// where they agree.
std::string disagreement(const Facts& facts, const Zrg::CodedFrame& stream) {
  const auto differ = [](unsigned is, const char* what, const char* name, unsigned says) {
    return "of " + std::to_string(is) + what + ", where " + name + " says " + std::to_string(says);
  };
  const unsigned bits = stream.precision <= 8 && !cellsMayBeWider(facts) ? 8 : 16;
  if (!facts.says(DCM_Rows, stream.rows)) {
    return differ(stream.rows, " rows", "Rows", *facts.number(DCM_Rows));
  }
  if (!facts.says(DCM_Columns, stream.columns)) {
    return differ(stream.columns, " columns", "Columns", *facts.number(DCM_Columns));
  }
  if (!facts.says(DCM_SamplesPerPixel, stream.components)) {
    return differ(stream.components,
                  stream.components == 1 ? " sample a pixel" : " samples a pixel",
                  "Samples per Pixel", *facts.number(DCM_SamplesPerPixel));
  }
  return facts.says(DCM_BitsAllocated, bits)
             ? ""
             : differ(stream.precision, " bits a sample", "Bits Allocated",
                      *facts.number(DCM_BitsAllocated));
}

std::string otherStream(const Facts& facts) {
  if (facts.fragmentCount() != facts.frames) {
    return "";
  }
  for (std::size_t frame = 0; frame < facts.frames; ++frame) {
    const std::optional<Zrg::CodedFrame> stream = Zrg::readCodedFrame(facts.dataset, frame);
    const std::string found = stream ? disagreement(facts, *stream) : "";
    if (!found.empty()) {
      return "has a compressed frame (number " + std::to_string(frame) + ") " + found;
    }
  }
  return "";
}

std::string undecodableStream(const Facts& facts) {
  return facts.fragments == nullptr ? ""
                                    : "has " + facts.syntaxText() +
                                          " data that does not decode: it is damaged, or of a kind "
                                          "that the decoder does not "
                                          "know";
}

struct Cause {
  std::string (*describe)(const Facts&);
  Reason reason;
};

constexpr std::array<Cause, 14> kCauses = {{{noPixelsAtAll, Reason::NoPixelData},
                                            {noPixelData, Reason::NoPixelData},
                                            {noDecoder, Reason::NoDecoder},
                                            {vrOfBytes, Reason::Damaged},
                                            {missingAttributes, Reason::MissingAttribute},
                                            {noSize, Reason::NoPixelData},
                                            {floatingPointSize, Reason::Damaged},
                                            {sampleSize, Reason::Unsupported},
                                            {damagedPalette, Reason::Damaged},
                                            {noPalette, Reason::MissingAttribute},
                                            {noBytes, Reason::NoPixelData},
                                            {tooFewFrames, Reason::Damaged},
                                            {otherStream, Reason::Damaged},
                                            {undecodableStream, Reason::Undecodable}}};

}  // namespace

TransferSyntaxName transferSyntaxOf(const File& file) {
  TransferSyntaxName syntax{file.statedTransferSyntax(), ""};
  if (syntax.uid.empty()) {
    const char* const uid = DcmXfer(file.dataset().getOriginalXfer()).getXferID();
    syntax.uid = uid == nullptr ? "" : uid;
  }
  const Zrg::TransferSyntax* const known = Zrg::findTransferSyntax(syntax.uid);
  syntax.name = known == nullptr ? "" : known->name;
  return syntax;
}

Error whyNotDecoded(const File& file, const Error& found) {
  if (found.reason() == Reason::OutOfMemory) {
    return found;
  }
  const Facts facts(file);
  for (const Cause& cause : kCauses) {
    const std::string text = cause.describe(facts);
    if (!text.empty()) {
      return {cause.reason, facts.object.empty() ? text : facts.object + " " + text};
    }
  }
  return found;
}

Error decoderError(const std::string& message) {
  const bool noMemory = message.find(kCoreOutOfMemory) != std::string::npos;
  return {noMemory ? Reason::OutOfMemory : Reason::Undecodable, message};
}

}  // namespace zr
