// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <memory>
#include <string>
#include <vector>

namespace decoding {

/// A range that stands for all frames.
constexpr int kAllFrames = -1;

/// What SliceImage::process answered, and the slice that it filled.
struct Outcome {
  bool done = false;
  std::string errorText;
  Zrg::SliceImage slice;
};

/// How the samples are wanted.
enum class Samples { Converted, Stored };

/// Decodes a range of frames into memory of the slice.
[[nodiscard]] Outcome decodeRange(DcmItem& item, int first, int last,
                                  Samples samples = Samples::Converted);

/// Decodes all frames.
[[nodiscard]] Outcome decodeAll(DcmItem& item, Samples samples = Samples::Converted);

/// Decodes a range of frames into a target; fails the running test when bytes beyond the target's
/// size were touched.
[[nodiscard]] Outcome decodeInto(std::vector<unsigned char>& target, DcmItem& item, int first,
                                 int last, Samples samples = Samples::Stored);

/// The samples of a slice as numbers, all frames.
[[nodiscard]] std::vector<int> samplesOf(const Zrg::SliceImage& slice);

/// The numbers of one frame among those of several.
[[nodiscard]] std::vector<int> frameOf(const std::vector<int>& samples, std::size_t frameSize,
                                       std::size_t frame);

/// 8-bit or 16-bit containers as numbers.
template <class Container>
std::vector<int> numbers(const std::vector<Container>& containers) {
  return {containers.begin(), containers.end()};
}

using Fragment = std::vector<Uint8>;

/// The dataset with these fragments as its pixel data, as a reader of a file finds it. The offset
/// table is empty unless it is given.
[[nodiscard]] std::unique_ptr<DcmDataset> encapsulate(const DcmDataset& dataset,
                                                      E_TransferSyntax syntax,
                                                      const std::vector<Fragment>& fragments,
                                                      const Fragment& offsetTable = {});

/// The fragments of compressed pixel data, without the offset table.
[[nodiscard]] std::vector<Fragment> fragmentsOf(DcmDataset& dataset);

/// An offset table for frames that start in the given fragments.
[[nodiscard]] Fragment offsetTable(const std::vector<Fragment>& fragments,
                                   const std::vector<std::size_t>& firstFragments);

/// A fragment cut into two at a position.
[[nodiscard]] std::vector<Fragment> cut(const Fragment& fragment, std::size_t position);

/// An RLE frame whose header says these offsets for these segments; the segments follow the header
/// back to back.
[[nodiscard]] Fragment rleFrame(const std::vector<Uint32>& offsets,
                                const std::vector<Fragment>& segments);

/// A JPEG stream of markers that have no length, and nothing else: naive readers never see its end.
[[nodiscard]] Fragment endlessMarkers();

/// The same as a plain item that belongs to no dataset.
[[nodiscard]] std::unique_ptr<DcmItem> asItem(const DcmDataset& dataset);

}  // namespace decoding
