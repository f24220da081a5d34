// SPDX-License-Identifier: BSD-3-Clause
// The table of transfer syntaxes (PS3.6 Annex A). Who asks for a property of one asks here; a new
// one is a row. Those that DCMTK 3.6.7 knows come first, in the order of its enumeration, which
// makes the number of a syntax its place.
#include "streams/TransferSyntaxes.h"

#include "streams/Inspector.h"
#include "streams/Jpeg.h"
#include "streams/Jpeg2000.h"
#include "streams/JpegLs.h"
#include "streams/Rle.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Zrg {

namespace {

constexpr bool kFragments = true;  // encapsulated
constexpr bool kNative = false;
constexpr bool kLossless = true;
constexpr bool kLossy = false;  // or either
// Deliberate: deflated data counts as lossy, like everything but nine syntaxes, although no sample
// is lost. Test: SliceDecodingLossyFlag
constexpr bool kCounts = true;
constexpr bool kNot = false;

constexpr std::size_t kInDcmtk = 42;

// clang-format off
constexpr std::array<SyntaxRow, 62> kSyntaxRows = {{
    // uid, name, encapsulated, lossless; in DCMTK, who decodes, who inspects, counts as lossy
    {{"1.2.840.10008.1.2", "Little Endian Implicit", kNative, kLossless},
     EXS_LittleEndianImplicit, DecodedBy::NotNeeded, nullptr, kNot},
    {{"", "Virtual Big Endian Implicit", kNative, kLossless},
     EXS_BigEndianImplicit, DecodedBy::NotNeeded, nullptr, kNot},
    {{"1.2.840.10008.1.2.1", "Little Endian Explicit", kNative, kLossless},
     EXS_LittleEndianExplicit, DecodedBy::NotNeeded, nullptr, kNot},
    {{"1.2.840.10008.1.2.2", "Big Endian Explicit", kNative, kLossless},
     EXS_BigEndianExplicit, DecodedBy::NotNeeded, nullptr, kNot},
    {{"1.2.840.10008.1.2.4.50", "JPEG Baseline", kFragments, kLossy},
     EXS_JPEGProcess1, DecodedBy::Dcmtk, baselineJpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.51", "JPEG Extended, Process 2+4", kFragments, kLossy},
     EXS_JPEGProcess2_4, DecodedBy::Dcmtk, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.52", "JPEG Extended, Process 3+5", kFragments, kLossy},
     EXS_JPEGProcess3_5, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.53",
      "JPEG Spectral Selection, Non-hierarchical, Process 6+8", kFragments, kLossy},
     EXS_JPEGProcess6_8, DecodedBy::Dcmtk, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.54",
      "JPEG Spectral Selection, Non-hierarchical, Process 7+9", kFragments, kLossy},
     EXS_JPEGProcess7_9, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.55",
      "JPEG Full Progression, Non-hierarchical, Process 10+12", kFragments, kLossy},
     EXS_JPEGProcess10_12, DecodedBy::Dcmtk, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.56",
      "JPEG Full Progression, Non-hierarchical, Process 11+13", kFragments, kLossy},
     EXS_JPEGProcess11_13, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.57",
      "JPEG Lossless, Non-hierarchical, Process 14", kFragments, kLossless},
     EXS_JPEGProcess14, DecodedBy::Dcmtk, jpegInspector, kNot},
    {{"1.2.840.10008.1.2.4.58",
      "JPEG Lossless, Non-hierarchical, Process 15", kFragments, kLossless},
     EXS_JPEGProcess15, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.59", "JPEG Extended, Hierarchical, Process 16+18", kFragments, kLossy},
     EXS_JPEGProcess16_18, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.60", "JPEG Extended, Hierarchical, Process 17+19", kFragments, kLossy},
     EXS_JPEGProcess17_19, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.61",
      "JPEG Spectral Selection, Hierarchical, Process 20+22", kFragments, kLossy},
     EXS_JPEGProcess20_22, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.62",
      "JPEG Spectral Selection, Hierarchical, Process 21+23", kFragments, kLossy},
     EXS_JPEGProcess21_23, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.63",
      "JPEG Full Progression, Hierarchical, Process 24+26", kFragments, kLossy},
     EXS_JPEGProcess24_26, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.64",
      "JPEG Full Progression, Hierarchical, Process 25+27", kFragments, kLossy},
     EXS_JPEGProcess25_27, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.65", "JPEG Lossless, Hierarchical, Process 28", kFragments, kLossless},
     EXS_JPEGProcess28, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.66", "JPEG Lossless, Hierarchical, Process 29", kFragments, kLossless},
     EXS_JPEGProcess29, DecodedBy::Nobody, jpegInspector, kCounts},
    {{"1.2.840.10008.1.2.4.70",
      "JPEG Lossless, Non-hierarchical, 1st Order Prediction", kFragments, kLossless},
     EXS_JPEGProcess14SV1, DecodedBy::Dcmtk, jpegInspector, kNot},
    {{"1.2.840.10008.1.2.5", "RLE Lossless", kFragments, kLossless},
     EXS_RLELossless, DecodedBy::Dcmtk, rleInspector, kNot},
    {{"1.2.840.10008.1.2.1.99", "Deflated Explicit VR Little Endian", kNative, kLossless},
     EXS_DeflatedLittleEndianExplicit, DecodedBy::NotNeeded, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.80", "JPEG-LS Lossless", kFragments, kLossless},
     EXS_JPEGLSLossless, DecodedBy::Dcmtk, jpegLsInspector, kNot},
    {{"1.2.840.10008.1.2.4.81", "JPEG-LS Lossy (Near-lossless)", kFragments, kLossy},
     EXS_JPEGLSLossy, DecodedBy::Dcmtk, jpegLsInspector, kCounts},
    {{"1.2.840.10008.1.2.4.90", "JPEG 2000 (Lossless only)", kFragments, kLossless},
     EXS_JPEG2000LosslessOnly, DecodedBy::Codec, jpeg2000Inspector, kNot},
    {{"1.2.840.10008.1.2.4.91", "JPEG 2000 (Lossless or Lossy)", kFragments, kLossy},
     EXS_JPEG2000, DecodedBy::Codec, jpeg2000Inspector, kCounts},
    {{"1.2.840.10008.1.2.4.92",
      "JPEG 2000 Part 2 Multicomponent Image Compression (Lossless only)", kFragments, kLossless},
     EXS_JPEG2000MulticomponentLosslessOnly, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.93",
      "JPEG 2000 Part 2 Multicomponent Image Compression (Lossless or Lossy)", kFragments, kLossy},
     EXS_JPEG2000Multicomponent, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.94", "JPIP Referenced", kNative, kLossy},
     EXS_JPIPReferenced, DecodedBy::NotNeeded, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.95", "JPIP Referenced Deflate", kNative, kLossy},
     EXS_JPIPReferencedDeflate, DecodedBy::NotNeeded, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.100", "MPEG2 Main Profile @ Main Level", kFragments, kLossy},
     EXS_MPEG2MainProfileAtMainLevel, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.101", "MPEG2 Main Profile @ High Level", kFragments, kLossy},
     EXS_MPEG2MainProfileAtHighLevel, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.102", "MPEG-4 AVC/H.264 High Profile / Level 4.1", kFragments, kLossy},
     EXS_MPEG4HighProfileLevel4_1, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.103",
      "MPEG-4 AVC/H.264 BD-compatible High Profile / Level 4.1", kFragments, kLossy},
     EXS_MPEG4BDcompatibleHighProfileLevel4_1, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.104",
      "MPEG-4 AVC/H.264 High Profile / Level 4.2 For 2D Video", kFragments, kLossy},
     EXS_MPEG4HighProfileLevel4_2_For2DVideo, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.105",
      "MPEG-4 AVC/H.264 High Profile / Level 4.2 For 3D Video", kFragments, kLossy},
     EXS_MPEG4HighProfileLevel4_2_For3DVideo, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.106",
      "MPEG-4 AVC/H.264 Stereo High Profile / Level 4.2", kFragments, kLossy},
     EXS_MPEG4StereoHighProfileLevel4_2, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.107", "HEVC/H.265 Main Profile / Level 5.1", kFragments, kLossy},
     EXS_HEVCMainProfileLevel5_1, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.108", "HEVC/H.265 Main 10 Profile / Level 5.1", kFragments, kLossy},
     EXS_HEVCMain10ProfileLevel5_1, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.113619.5.2",
      "Private GE Little Endian Implicit with big endian pixel data", kNative, kLossless},
     EXS_PrivateGE_LEI_WithBigEndianPixelData, DecodedBy::NotNeeded, nullptr, kCounts},

    // What DCMTK 3.6.7 does not know, in the order of UIDs.
    {{"1.2.840.10008.1.2.1.98",
      "Encapsulated Uncompressed Explicit VR Little Endian", kFragments, kLossless},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.100.1",
      "Fragmentable MPEG2 Main Profile / Main Level", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.101.1",
      "Fragmentable MPEG2 Main Profile / High Level", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.102.1",
      "Fragmentable MPEG-4 AVC/H.264 High Profile / Level 4.1", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.103.1",
      "Fragmentable MPEG-4 AVC/H.264 BD-compatible High Profile / Level 4.1", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.104.1",
      "Fragmentable MPEG-4 AVC/H.264 High Profile / Level 4.2 For 2D Video", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.105.1",
      "Fragmentable MPEG-4 AVC/H.264 High Profile / Level 4.2 For 3D Video", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.106.1",
      "Fragmentable MPEG-4 AVC/H.264 Stereo High Profile / Level 4.2", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.110", "JPEG XL Lossless", kFragments, kLossless},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.111", "JPEG XL JPEG Recompression", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.112", "JPEG XL", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.201",
      "High-Throughput JPEG 2000 (Lossless Only)", kFragments, kLossless},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.202",
      "High-Throughput JPEG 2000 with RPCL Options (Lossless Only)", kFragments, kLossless},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.203", "High-Throughput JPEG 2000", kFragments, kLossy},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.204", "JPIP HTJ2K Referenced", kNative, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.4.205", "JPIP HTJ2K Referenced Deflate", kNative, kLossy},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.7.1",
      "SMPTE ST 2110-20 Uncompressed Progressive Active Video", kNative, kLossless},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.7.2",
      "SMPTE ST 2110-20 Uncompressed Interlaced Active Video", kNative, kLossless},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.7.3", "SMPTE ST 2110-30 PCM Digital Audio", kNative, kLossless},
     EXS_Unknown, DecodedBy::Nobody, nullptr, kCounts},
    {{"1.2.840.10008.1.2.8.1", "Deflated Image Frame Compression", kFragments, kLossless},
     EXS_Unknown, DecodedBy::Codec, nullptr, kCounts},
}};
// clang-format on

constexpr bool isInOrderOfDcmtk() {
  for (std::size_t i = 0; i < kSyntaxRows.size(); ++i) {
    if (kSyntaxRows[i].inDcmtk != (i < kInDcmtk ? static_cast<E_TransferSyntax>(i) : EXS_Unknown)) {
      return false;
    }
  }
  return true;
}
static_assert(isInOrderOfDcmtk());

}  // namespace

const SyntaxRow* findSyntaxRow(E_TransferSyntax syntax) noexcept {
  const auto place = static_cast<std::size_t>(syntax);  // beyond the table when it is not known
  return place < kInDcmtk ? &kSyntaxRows[place] : nullptr;
}

const SyntaxRow* findSyntaxRow(const std::string& uid) noexcept {
  const auto* const row = std::find_if(
      kSyntaxRows.begin(), kSyntaxRows.end(),
      [&](const SyntaxRow& candidate) { return !uid.empty() && uid == candidate.syntax.uid; });
  return row != kSyntaxRows.end() ? row : nullptr;
}

bool hasCodec(E_TransferSyntax syntax) {
  return DcmCodecList::canChangeCoding(syntax, kExplicitLittleEndian);
}

bool countsAsLossy(E_TransferSyntax syntax) noexcept {
  const SyntaxRow* const row = findSyntaxRow(syntax);
  return row == nullptr || row->countsAsLossy;
}

const Inspector* inspectorOf(E_TransferSyntax syntax) {
  const SyntaxRow* const row = findSyntaxRow(syntax);
  const auto inspector = row != nullptr ? row->inspector : nullptr;
  if (inspector != nullptr && row->decoder != DecodedBy::Codec) {
    return &inspector();
  }
  // A message about a stream that nobody can decode says so, whatever is in the stream.
  if (!hasCodec(syntax)) {
    return nullptr;
  }
  return inspector != nullptr ? &inspector() : &inspectorOfUnknownCoding();
}

}  // namespace Zrg
