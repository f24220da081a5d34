// SPDX-License-Identifier: BSD-3-Clause
// Why an image does not decode. The library says what went wrong where it noticed; most of the time the
// cause stands in the attributes: samples that are no pixel data, a compression without a decoder, a stream
// that says something else than the dataset. Causes are looked for from the coarse to the fine: an object
// without pixels first, the compressed stream last. The first one that holds is told.
#include "zrimaging/images/Explanation.h"

#include "zrimaging/Error.h"
#include "zrimaging/files/DicomFile.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zr {

namespace {

struct Named {
  const char* uid;
  const char* name;
};

// PS3.6 annex A, what DCMTK 3.6.7 has not. None of them has a decoder here.
constexpr std::array kLaterSyntaxes = {
    Named{"1.2.840.10008.1.2.1.98", "Encapsulated Uncompressed Explicit VR Little Endian"},
    Named{"1.2.840.10008.1.2.4.110", "JPEG XL Lossless"},
    Named{"1.2.840.10008.1.2.4.111", "JPEG XL JPEG Recompression"},
    Named{"1.2.840.10008.1.2.4.112", "JPEG XL"},
    Named{"1.2.840.10008.1.2.4.201", "High-Throughput JPEG 2000 (Lossless Only)"},
    Named{"1.2.840.10008.1.2.4.202", "High-Throughput JPEG 2000 with RPCL Options (Lossless Only)"},
    Named{"1.2.840.10008.1.2.4.203", "High-Throughput JPEG 2000"},
    Named{"1.2.840.10008.1.2.4.204", "JPIP HTJ2K Referenced"},
    Named{"1.2.840.10008.1.2.4.205", "JPIP HTJ2K Referenced Deflate"},
    Named{"1.2.840.10008.1.2.8.1", "Deflated Image Frame Compression"},
};

// PS3.4 B.5: objects without pixels, by the UID of their class or of a family of classes.
constexpr std::array kWithoutPixels = {
    Named{"1.2.840.10008.1.3.10", "a directory of files (DICOMDIR)"},
    Named{"1.2.840.10008.5.1.4.1.1.4.2", "spectra of magnetic resonance"},
    Named{"1.2.840.10008.5.1.4.1.1.9", "waveforms"},
    Named{"1.2.840.10008.5.1.4.1.1.11", "a presentation state, how to show other objects"},
    Named{"1.2.840.10008.5.1.4.1.1.66", "raw data"},
    Named{"1.2.840.10008.5.1.4.1.1.66.1", "a spatial registration"},
    Named{"1.2.840.10008.5.1.4.1.1.66.2", "spatial fiducials"},
    Named{"1.2.840.10008.5.1.4.1.1.66.3", "a deformable spatial registration"},
    Named{"1.2.840.10008.5.1.4.1.1.66.5", "surfaces of segments"},
    Named{"1.2.840.10008.5.1.4.1.1.66.6", "tracts (tractography)"},
    Named{"1.2.840.10008.5.1.4.1.1.67", "a mapping to real world values"},
    Named{"1.2.840.10008.5.1.4.1.1.68", "a scanned surface"},
    Named{"1.2.840.10008.5.1.4.1.1.78", "measurements of an eye"},
    Named{"1.2.840.10008.5.1.4.1.1.79", "a macular grid report"},
    Named{"1.2.840.10008.5.1.4.1.1.80", "a visual field test"},
    Named{"1.2.840.10008.5.1.4.1.1.88", "a structured report"},
    Named{"1.2.840.10008.5.1.4.1.1.88.59", "a selection of key objects"},
    Named{"1.2.840.10008.5.1.4.1.1.104", "an encapsulated document"},
    Named{"1.2.840.10008.5.1.4.1.1.200", "a protocol of an acquisition"},
    Named{"1.2.840.10008.5.1.4.1.1.481.3", "a structure set, contours for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.1.1.481.4", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.5", "a radiotherapy plan"},
    Named{"1.2.840.10008.5.1.4.1.1.481.6", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.7", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.1.1.481.8", "a radiotherapy plan for ions"},
    Named{"1.2.840.10008.5.1.4.1.1.481.9", "a record of radiotherapy treatment"},
    Named{"1.2.840.10008.5.1.4.34", "an instruction for radiotherapy"},
    Named{"1.2.840.10008.5.1.4.38", "a hanging protocol"},
    Named{"1.2.840.10008.5.1.4.39", "a colour palette"},
    Named{"1.2.840.10008.5.1.4.43", "a template of an implant"},
    Named{"1.2.840.10008.5.1.4.44", "an assembly of implants"},
    Named{"1.2.840.10008.5.1.4.45", "a group of implant templates"},
};

// The library's own word for it; there is no better one.
constexpr const char* kOutOfMemory = "out of memory";

constexpr const char* kUnnamedWithoutPixels = "an object without pixels";

/// The decoders that the library registers with DCMTK.
constexpr std::array kDecoded = {EXS_JPEGProcess1,     EXS_JPEGProcess2_4, EXS_JPEGProcess6_8,
                                 EXS_JPEGProcess10_12, EXS_JPEGProcess14,  EXS_JPEGProcess14SV1,
                                 EXS_RLELossless,      EXS_JPEGLSLossless, EXS_JPEGLSLossy};

bool isOfFamily(std::string_view uid, std::string_view family) {
  return uid.substr(0, family.size()) == family &&
         (uid.size() == family.size() || uid[family.size()] == '.');
}

/// The entry with the longest UID that `uid` is or begins with.
const char* meaningOf(const std::string& uid) {
  const Named* best = nullptr;
  for (const Named& entry : kWithoutPixels) {
    if (isOfFamily(uid, entry.uid) && (best == nullptr || std::string_view(entry.uid).size() >
                                                              std::string_view(best->uid).size())) {
      best = &entry;
    }
  }
  return best == nullptr ? nullptr : best->name;
}

bool holdsPixels(DcmItem& item) {
  return item.tagExists(DCM_PixelData) || item.tagExists(DCM_FloatPixelData) ||
         item.tagExists(DCM_DoubleFloatPixelData) || item.tagExists(DCM_PixelDataProviderURL);
}

/// SOP Class UID; empty also when it is no UID, as an element of unknown VR is shown in digits.
std::string classOf(DcmItem& item) {
  const std::string uid = textOf(item, DCM_SOPClassUID);
  return uid.find('.') != std::string::npos ? uid : std::string();
}

std::string nameOfClass(const std::string& uid) {
  const char* const name = uid.empty() ? nullptr : dcmFindNameOfUID(uid.c_str());
  return name == nullptr ? uid : name;
}

/// The start of a compressed frame: what its JPEG or JPEG-LS stream says of it.
struct StreamHeader {
  unsigned bits = 0;
  unsigned rows = 0;
  unsigned columns = 0;
  unsigned components = 0;
};

/// Reads as far as the start of frame: marker FFC0 to FFCF but for tables, FFF7 for JPEG-LS; then length,
/// precision (1 byte), rows (2), columns (2), components (1). Nothing where it is not among the bytes.
std::optional<StreamHeader> headerIn(const std::vector<Uint8>& bytes) {
  const auto number = [&bytes](std::size_t at) { return bytes[at] * 256U + bytes[at + 1]; };
  std::size_t at = 2;  // behind the start of image
  while (at + 10 <= bytes.size() && bytes[at] == 0xFF) {
    const unsigned marker = bytes[at + 1];
    const bool isTable = marker == 0xC4 || marker == 0xC8 || marker == 0xCC;
    if ((marker >= 0xC0 && marker <= 0xCF && !isTable) || marker == 0xF7) {
      return StreamHeader{bytes[at + 4], number(at + 5), number(at + 7), bytes[at + 9]};
    }
    at += 2 + number(at + 2);
  }
  return std::nullopt;
}

/// All that tells why an image does not decode.
struct Facts {
  explicit Facts(const DicomFile& file);

  DcmItem& dataset;
  TransferSyntaxName syntax;
  E_TransferSyntax known = EXS_Unknown;  ///< the same as DCMTK knows it
  std::string object;                    ///< name of the SOP class; empty without one
  DcmElement* pixelData = nullptr;
  DcmPixelSequence* fragments = nullptr;  ///< compressed frames; item 0 is the offset table
  std::size_t frames = 1;                 ///< as the file names them
  std::string photometricInterpretation;  ///< with its spelling repaired; empty when it is missing

  std::optional<unsigned> number(const DcmTagKey& key) const {
    Uint16 value = 0;
    return dataset.findAndGetUint16(key, value).good() ? std::optional<unsigned>(value)
                                                       : std::nullopt;
  }
  bool says(const DcmTagKey& key, unsigned value) const { return number(key) == value; }
  std::size_t fragmentCount() const { return fragments == nullptr ? 0 : fragments->card() - 1; }
  std::string syntaxText() const {
    return syntax.name.empty() ? syntax.uid : syntax.name + " (" + syntax.uid + ")";
  }
};

DcmPixelSequence* fragmentsOf(DcmElement* element) {
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

Facts::Facts(const DicomFile& file)
    : dataset(file.dataset()),
      syntax(transferSyntaxOf(file)),
      known(DcmXfer(syntax.uid.c_str()).getXfer()),
      object(nameOfClass(classOf(dataset))),
      frames(file.statedFrameCount()),
      photometricInterpretation(zr::photometricInterpretation(file)) {
  (void)dataset.findAndGetElement(DCM_PixelData, pixelData);  // null tells as much
  fragments = fragmentsOf(pixelData);
}

// --- causes, in the order in which they are looked for --------------------------------------------
// Each answers a text when it holds, and an empty one when it does not.

std::string noPixelsAtAll(const Facts& facts) {
  const std::string what = describeWithoutPixels(facts.dataset);
  return what.empty() ? "" : "is " + what + ", and has no pixels; zrdcm info describes it";
}

std::string otherSamples(const Facts& facts) {
  constexpr const char* kOnly = "; Pixel Data (7FE0,0010) alone is decoded";
  if (facts.pixelData != nullptr) {
    return "";
  }
  if (facts.dataset.tagExists(DCM_FloatPixelData)) {
    return std::string("has its samples in Float Pixel Data (7FE0,0008), 32 bits each") + kOnly;
  }
  if (facts.dataset.tagExists(DCM_DoubleFloatPixelData)) {
    return std::string("has its samples in Double Float Pixel Data (7FE0,0009), 64 bits each") +
           kOnly;
  }
  return "";
}

std::string noPixelData(const Facts& facts) {
  if (facts.pixelData != nullptr) {
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
  const bool later = facts.known == EXS_Unknown && !facts.syntax.name.empty();
  if (facts.known == EXS_Unknown && !later) {
    return "is in transfer syntax " + facts.syntaxText() + ", which is not known here";
  }
  const bool native = !later && !DcmXfer(facts.known).isEncapsulated();
  if (native || std::find(kDecoded.begin(), kDecoded.end(), facts.known) != kDecoded.end()) {
    return "";
  }
  return "is compressed as " + facts.syntaxText() +
         ", for which there is no decoder; convert it to an uncompressed transfer syntax first";
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

std::string sampleSize(const Facts& facts) {
  const std::optional<unsigned> bits = facts.number(DCM_BitsAllocated);
  if (!bits || *bits == 8 || *bits == 16) {
    return "";
  }
  return "has samples of " + std::to_string(*bits) + (*bits == 1 ? " bit" : " bits") +
         " (Bits Allocated (0028,0100)); those of 8 and 16 bits are decoded";
}

std::string segmentedPalette(const Facts& facts) {
  if (facts.photometricInterpretation == "PALETTE COLOR" &&
      !facts.dataset.tagExistsWithValue(DCM_RedPaletteColorLookupTableData) &&
      facts.dataset.tagExists(DCM_SegmentedRedPaletteColorLookupTableData)) {
    return "has a segmented palette (Segmented Red Palette Color Lookup Table Data (0028,1221)), "
           "which is not decoded; write the palette in full first";
  }
  return "";
}

std::string noPalette(const Facts& facts) {
  const bool missing = facts.photometricInterpretation == "PALETTE COLOR" &&
                       !facts.dataset.tagExistsWithValue(DCM_RedPaletteColorLookupTableData);
  return missing ? "has no palette: Red Palette Color Lookup Table Data (0028,1201) is missing"
                 : "";
}

std::string noBytes(const Facts& facts) {
  const bool native = !DcmXfer(facts.known).isEncapsulated();
  if (native && facts.pixelData->getLengthField() == 0) {
    return "has empty Pixel Data (7FE0,0010)";
  }
  return "";
}

std::string tooFewFrames(const Facts& facts) {
  // A decoder that took what there is has cut Number of Frames, and perhaps dropped the fragments.
  const std::size_t found =
      facts.fragments != nullptr ? facts.fragmentCount() : Zrg::numberOfFrames(facts.dataset);
  if (!DcmXfer(facts.known).isEncapsulated() || found >= facts.frames) {
    return "";
  }
  return "has compressed data of " + std::to_string(found) + (found == 1 ? " frame" : " frames") +
         ", but Number of Frames (0028,0008) is " + std::to_string(facts.frames);
}

std::optional<StreamHeader> headerOfFragment(const Facts& facts, std::size_t index) {
  constexpr std::size_t kMostBytes = 65536;  // what an application put before the frame may be long
  DcmPixelItem* item = nullptr;
  if (facts.fragments->getItem(item, static_cast<unsigned long>(index + 1)).bad()) {
    return std::nullopt;
  }
  std::vector<Uint8> bytes(std::min<std::size_t>(item->getLength(), kMostBytes));
  const bool read =
      !bytes.empty() &&
      item->getPartialValue(bytes.data(), 0, static_cast<Uint32>(bytes.size())).good();
  return read ? headerIn(bytes) : std::nullopt;
}

/// Streams of at most 8 bits are widened to cells of 16, where no more bits are said to be stored.
bool cellsMayBeWider(const Facts& facts) {
  const std::optional<unsigned> stored = facts.number(DCM_BitsStored);
  return facts.says(DCM_BitsAllocated, 16) && stored && *stored <= 8;
}

/// What a stream has otherwise than the dataset says, as "of 16 rows, where Rows says 17"; empty where
/// they agree.
std::string disagreement(const Facts& facts, const StreamHeader& stream) {
  const auto differ = [](unsigned is, const char* what, const char* name, unsigned says) {
    return "of " + std::to_string(is) + what + ", where " + name + " says " + std::to_string(says);
  };
  const unsigned bits = stream.bits <= 8 && !cellsMayBeWider(facts) ? 8 : 16;
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
             : differ(stream.bits, " bits a sample", "Bits Allocated",
                      *facts.number(DCM_BitsAllocated));
}

std::string otherStream(const Facts& facts) {
  if (facts.known == EXS_RLELossless || facts.fragmentCount() != facts.frames) {
    return "";
  }
  for (std::size_t frame = 0; frame < facts.frames; ++frame) {
    const std::optional<StreamHeader> stream = headerOfFragment(facts, frame);
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
                                            {otherSamples, Reason::Unsupported},
                                            {noPixelData, Reason::NoPixelData},
                                            {noDecoder, Reason::NoDecoder},
                                            {vrOfBytes, Reason::Damaged},
                                            {missingAttributes, Reason::MissingAttribute},
                                            {noSize, Reason::NoPixelData},
                                            {sampleSize, Reason::Unsupported},
                                            {segmentedPalette, Reason::Unsupported},
                                            {noPalette, Reason::MissingAttribute},
                                            {noBytes, Reason::NoPixelData},
                                            {tooFewFrames, Reason::Damaged},
                                            {otherStream, Reason::Damaged},
                                            {undecodableStream, Reason::Undecodable}}};

}  // namespace

TransferSyntaxName transferSyntaxOf(const DicomFile& file) {
  TransferSyntaxName syntax{file.statedTransferSyntax(), ""};
  if (syntax.uid.empty()) {
    const char* const uid = DcmXfer(file.transferSyntax()).getXferID();
    syntax.uid = uid == nullptr ? "" : uid;
  }
  const DcmXfer known(syntax.uid.c_str());
  if (known.getXfer() != EXS_Unknown) {
    syntax.name = known.getXferName();
  }
  for (const Named& later : kLaterSyntaxes) {
    if (syntax.uid == later.uid) {
      syntax.name = later.name;
    }
  }
  return syntax;
}

std::string describeWithoutPixels(DcmItem& dataset) {
  const std::string uid = classOf(dataset);
  if (uid.empty() || holdsPixels(dataset)) {
    return "";
  }
  if (const char* const meaning = meaningOf(uid)) {
    return meaning;
  }
  const bool isImage =
      nameOfClass(uid).find("Image") != std::string::npos || dataset.tagExists(DCM_Rows);
  return isImage ? "" : kUnnamedWithoutPixels;
}

Error whyNotDecoded(const DicomFile& file, const Error& found) {
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
  const bool noMemory = message.find(kOutOfMemory) != std::string::npos;
  return {noMemory ? Reason::OutOfMemory : Reason::Undecodable, message};
}

void refusePackedPixels(const DicomFile& file) {
  Uint16 bits = 0;
  if (file.dataset().findAndGetUint16(DCM_BitsAllocated, bits).good() && bits == 1) {
    throw whyNotDecoded(file, Error(Reason::Unsupported, "has samples of 1 bit"));
  }
}

}  // namespace zr
