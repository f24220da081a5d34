// SPDX-License-Identifier: BSD-3-Clause
#include "streams/StreamFixtures.h"

#include "support/Compression.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace streams {

namespace {

DcmPixelData& pixelDataOf(DcmDataset& dataset) {
  DcmElement* element = nullptr;
  if (dataset.findAndGetElement(DCM_PixelData, element).bad()) {
    throw std::logic_error("no pixel data");
  }
  return dynamic_cast<DcmPixelData&>(*element);
}

}  // namespace

Fragment joined(const std::vector<Fragment>& parts) {
  Fragment all;
  for (const Fragment& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

Fragment underMarker(Uint8 marker, Fragment segment) {
  segment[1] = marker;
  return segment;
}

Fragment::iterator find(Fragment& stream, const Fragment& marker) {
  const auto found = std::search(stream.begin(), stream.end(), marker.begin(), marker.end());
  if (found == stream.end()) {
    throw std::logic_error("no such marker");
  }
  return found;
}

Fragment streamOf(const support::ImageBuilder& builder, E_TransferSyntax syntax) {
  return decoding::fragmentsOf(*support::compress(*builder.build(), syntax))[0];
}

Fragment withoutTables(Fragment stream) {
  *std::next(find(stream, {0xFF, 0xC4})) = 0xFE;
  return stream;
}

Fragment upToCodedData(Fragment stream) {
  const auto scan = find(stream, {0xFF, 0xDA});
  stream.erase(scan + 2 + scan[3], stream.end());
  return stream;
}

Fragment jpegLsPresets(Uint16 reset, Uint8 maxvalLow) {
  const auto high = static_cast<Uint8>(reset >> 8);
  const auto low = static_cast<Uint8>(reset & 0xFF);
  return {0xFF, 0xF8, 0, 13, 1, 0x0F, maxvalLow, 0, 18, 0, 67, 1, 20, high, low};
}

Zrg::CodecGuard guardOf(DcmDataset& dataset) {
  return {dataset, pixelDataOf(dataset)};
}

Zrg::Fragments fragmentsIn(DcmDataset& dataset, E_TransferSyntax syntax) {
  DcmPixelSequence* sequence = nullptr;
  if (pixelDataOf(dataset).getEncapsulatedRepresentation(syntax, nullptr, sequence).bad()) {
    throw std::logic_error("no compressed frames");
  }
  return Zrg::Fragments(*sequence);
}

SearchedImage::SearchedImage(const HeaderSearch& search, E_TransferSyntax syntax)
    : dataset_(decoding::encapsulate(*support::monochromeImage(24, 24).unsigned8().build(), syntax,
                                     search.fragments)),
      fragments_(fragmentsIn(*dataset_, syntax)),
      stream_(fragments_, 1, fragments_.count()) {}

void expectHeader(const std::optional<Zrg::JpegFrameHeader>& header, const HeaderSearch& search) {
  ASSERT_EQ(header.has_value(), search.found);
  if (header) {
    EXPECT_EQ(header->precision, 12);
    EXPECT_EQ(header->rows, 0x0102);
    EXPECT_EQ(header->columns, 0x0304);
    EXPECT_EQ(header->components, 3);
  }
}

long peakOfAddressSpace() {
  std::ifstream status("/proc/self/status");
  std::string word;
  long kibibytes = 0;
  while (status >> word && word != "VmPeak:") {
  }
  status >> kibibytes;
  EXPECT_GT(kibibytes, 0);
  return kibibytes;
}

}  // namespace streams
