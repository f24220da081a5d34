// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

class DcmItem;

namespace Zrg {

class Fragments;

/// Where the frames of encapsulated pixel data begin among its fragments, found in one pass over
/// the headers of all fragments: the same answers as Fragments::startOfFrame gives frame by frame,
/// and those of an Extended Offset Table besides, which DCMTK does not read.
///
/// @see PS3.5 A.4 (Basic Offset Table), PS3.3 C.7.6.3.1.8 (Extended Offset Table)
class FrameStarts {
public:
  /// Reads the tables. Nothing but the offset table is loaded.
  ///
  /// @param item      that has the pixel data; its Extended Offset Table is read
  /// @param fragments of the pixel data
  /// @param frames    Number of Frames
  FrameStarts(DcmItem& item, Fragments& fragments, std::uint64_t frames);

  /// The first fragment of a frame; nothing when no table tells.
  [[nodiscard]] std::optional<unsigned long> of(std::uint64_t frame) const;

private:
  void look(Fragments& fragments, const std::vector<std::uint64_t>& offsets);

  std::uint64_t frames_;
  unsigned long fragmentCount_;
  std::vector<unsigned long> starts_;  ///< by frame, 0 where none begins; empty without a table
};

}  // namespace Zrg
