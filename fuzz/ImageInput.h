// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "Input.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <vector>

namespace fuzz {

/// An image as the fuzzer's bytes describe it: a head of fixed places, then the parts that the head
/// asks for, then the pixels or the compressed stream up to the end. Not a builder of the tests or
/// the phantoms: those throw where an image makes no sense, and this one has to make it.
///
///     0  road: what the target does with the image
///     1  transfer syntax      2  photometric interpretation     3  parts, see Part
///     4  rows, 16 bits        6  columns                        8  frames
///    10  samples per pixel   11  bits allocated                12  bits stored     13  high bit
///    14  first frame         15  last frame                    16  attribute that is missing
///    17  trust: kTakeSizes leaves the sizes as they are, all else makes them small
///    18  lengths of the first three fragments, 16 bits each; 0 ends the list
///    24  parts, then the payload
///
/// The places are what the mutator knows; so does the writer of seeds.
struct ImageInput {
  enum Part : unsigned {
    kSigned = 1,
    kPlanar = 2,
    kNumberOfFrames = 4,
    kOverlay = 8,
    kModalityLut = 16,
    kTexts = 32,
    kFrameAttributes = 64,
    kPalette = 128
  };

  static constexpr std::size_t kRowsAt = 4;
  static constexpr std::size_t kFramesAt = 8;
  static constexpr std::size_t kSamplesAt = 10;
  static constexpr std::size_t kTrustAt = 17;
  static constexpr std::size_t kCutsAt = 18;
  static constexpr std::size_t kHeadSize = 24;
  static constexpr unsigned kTakeSizes = 0xA5;

  unsigned road = 0;
  unsigned syntax = 0;
  unsigned photometric = 0;
  unsigned parts = 0;
  Uint16 rows = 0;
  Uint16 columns = 0;
  Uint16 frames = 0;
  Uint8 samplesPerPixel = 1;
  Uint8 bitsAllocated = 8;
  Uint8 bitsStored = 8;
  Uint8 highBit = 7;
  int first = 0;
  int last = 0;
  unsigned missing = 0;
  unsigned trust = 0;
  std::array<Uint16, 3> cuts{};

  static ImageInput read(Input& input);
  void write(Output& output) const;

  [[nodiscard]] bool has(Part part) const { return (parts & part) != 0; }
  [[nodiscard]] E_TransferSyntax transferSyntax() const;
  [[nodiscard]] const char* photometricInterpretation() const;

  /// Puts the attributes and parts into a dataset or item; the input is at the payload then.
  void addAttributes(DcmItem& item, Input& input) const;
  /// Puts the payload into the item: samples, or fragments behind an empty offset table.
  void addPixelData(DcmItem& item, const std::vector<Uint8>& payload) const;

  /// The fragments that the payload is cut into, each of even length.
  [[nodiscard]] std::vector<std::vector<Uint8>> fragmentsOf(
      const std::vector<Uint8>& payload) const;

  /// Numbers by which `syntax` and `photometric` name what is wanted.
  static unsigned indexOf(E_TransferSyntax syntax);
  static unsigned indexOf(const std::string& photometric);
};

/// Where the payload of an image begins.
std::size_t payloadPosition(const Uint8* data, std::size_t size);

}  // namespace fuzz
