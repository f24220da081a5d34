// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/images/SampleArray.h"
#include "zrimaging/output/ProtectedInputs.h"

#include <array>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace zr {

/// The type as NumPy and NRRD call it: "uint8", "int16".
const char* typeName(SampleType type);

/// Yields one frame of an array; its samples are used before the next one is asked for.
using FrameAt = std::function<SampleArray(std::size_t index)>;

/// Writes the samples alone: all frames in order, row by row, little endian, colour interleaved.
/// @throws Error when the file cannot be written or is an input.
void writeRaw(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& array);

/// Writes NumPy's .npy format, version 1.0, in C order.
///
/// Shape: (frames, rows, columns), for colour (frames, rows, columns, 3); the frame axis is there
/// for a single frame too, so that a script need not tell the cases apart.
/// @throws Error when the file cannot be written or is an input.
/// @see https://numpy.org/doc/stable/reference/generated/numpy.lib.format.html
void writeNpy(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& array);

/// The same with frames 0 to `layout.frames` - 1 from `frameAt`; the bytes of `layout` are not used.
void writeNpy(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const SampleArray& layout, const FrameAt& frameAt);

/// What a NRRD header says about the samples, besides their layout.
struct NrrdHeader {
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

  /// Millimetres between columns, rows and frames, positive; NaN where unknown. The field is left
  /// out when none is known.
  std::array<double, 3> spacingMm{kUnknown, kUnknown, kUnknown};
  std::string content;                                          ///< one line about the image
  std::vector<std::pair<std::string, std::string>> attributes;  ///< further keys and values
};

/// Writes NRRD with an attached header (NRRD0004, encoding raw): axes columns, rows, frames, and
/// in front of them the three channels of colour.
/// @throws Error when the file cannot be written or is an input.
/// @see https://teem.sourceforge.net/nrrd/format.html
void writeNrrd(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const SampleArray& array, const NrrdHeader& header);

/// The same with frames 0 to `layout.frames` - 1 from `frameAt`; the bytes of `layout` are not used.
void writeNrrd(const std::filesystem::path& target, const ProtectedInputs& inputs,
               const SampleArray& layout, const NrrdHeader& header, const FrameAt& frameAt);

}  // namespace zr
