// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "decoding/SliceDecodingFixtures.h"
#include "streams/CodecGuard.h"
#include "streams/FragmentStream.h"
#include "streams/Fragments.h"
#include "streams/JpegMarkers.h"
#include "support/ImageBuilder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>
#include <optional>
#include <vector>

/// Coded frames, whole and spoilt, and what becomes of them.
namespace streams {

using decoding::Fragment;

// What decoding says of frames that the guard refuses: all frames of a monochrome image, some of
// them, an image that is rendered, one that the decoder delivers as RGB, one that is too large.
constexpr const char* kWholeRefused = "Pixel data can't be decompressed";
constexpr const char* kFrameRefused = "Error decompressing frames";
constexpr const char* kNothingToRender = "Uncompressed data has size 0";
constexpr const char* kDirectRefused =
    "DcmPixelData::getUncompressedFrame() failed: Pixel representation cannot be changed";
constexpr const char* kTooLarge =
    "pixel data has an unsupported uncompressed size of more than 4GB";

/// Markers that begin and end an image of JPEG and JPEG-LS.
const Fragment kStart = {0xFF, 0xD8};
const Fragment kEnd = {0xFF, 0xD9};

[[nodiscard]] Fragment joined(const std::vector<Fragment>& parts);

/// The segment of a JPEG stream under another marker.
[[nodiscard]] Fragment underMarker(Uint8 marker, Fragment segment);

/// The first marker like the given one.
[[nodiscard]] Fragment::iterator find(Fragment& stream, const Fragment& marker);

/// The first frame of an image, compressed.
[[nodiscard]] Fragment streamOf(const support::ImageBuilder& builder, E_TransferSyntax syntax);

/// A JPEG stream whose frame header is in order and which no decoder can decode: its tables are a
/// comment.
[[nodiscard]] Fragment withoutTables(Fragment stream);

/// A JPEG stream that ends behind the header of its first scan.
[[nodiscard]] Fragment upToCodedData(Fragment stream);

/// A segment of JPEG-LS presets. The largest sample is that of 12 bits, unless its low byte is
/// given.
[[nodiscard]] Fragment jpegLsPresets(Uint16 reset, Uint8 maxvalLow = 0xFF);

/// The guard of a dataset's pixel data, which must be there.
[[nodiscard]] Zrg::CodecGuard guardOf(DcmDataset& dataset);

/// The fragments of compressed pixel data, which must be there.
[[nodiscard]] Zrg::Fragments fragmentsIn(DcmDataset& dataset, E_TransferSyntax syntax);

/// A stream in fragments, and whether the frame header of these tests is found in it.
struct HeaderSearch {
  const char* name;
  std::vector<Fragment> fragments;
  bool found;
};

/// An image whose compressed frame is the stream of a search.
class SearchedImage {
public:
  SearchedImage(const HeaderSearch& search, E_TransferSyntax syntax);

  /// The stream from the first fragment on.
  [[nodiscard]] Zrg::FragmentStream& stream() { return stream_; }

private:
  std::unique_ptr<DcmDataset> dataset_;
  Zrg::Fragments fragments_;
  Zrg::FragmentStream stream_;
};

/// Fails the running test unless the header is there as the search says, with the numbers of these
/// tests: 12 bits, 0x0102 rows, 0x0304 columns, three components.
void expectHeader(const std::optional<Zrg::JpegFrameHeader>& header, const HeaderSearch& search);

/// The largest address space that the process has had, in KiB.
[[nodiscard]] long peakOfAddressSpace();

constexpr long kSixtyFourMebibytes = 64L * 1024;

}  // namespace streams
