// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctagkey.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>

namespace zr {

/// Sequences inside sequences that we are willing to read. Real objects nest below ten.
constexpr std::size_t kDeepestNesting = 64;

/// The sequence that is one too many.
struct TooDeepSequence {
  DcmTagKey tag;
  /// Where its items begin, in bytes from the beginning of the meta information or of the dataset;
  /// a deflated dataset is counted as it is inflated.
  std::uint64_t position = 0;
  /// 1 for a sequence of the dataset itself.
  std::size_t level = 0;
};

/// What the headers of the elements tell before anything is built of them.
struct HeaderScan {
  /// Set when sequences nest deeper than allowed; the rest of the file was not looked at then.
  /// DCMTK reads nested sequences by recursion, so a small file made for it exhausts the stack.
  std::optional<TooDeepSequence> tooDeep;
  /// The most sequences that were open at a time. Encapsulated pixel data is none.
  std::size_t deepest = 0;
  /// Headers that were read: of elements, items and delimiters.
  std::uint64_t headers = 0;
  /// A deflated dataset inflates to more bytes than were allowed; the rest was not looked at.
  bool inflatesBeyondLimit = false;
  /// The meta information begins with an element that cannot be read. What DCMTK makes of the rest
  /// is not foreseen; the rest was not looked at.
  bool isDamagedMeta = false;
  /// The first element that is longer than the rest of the file, and how long it claims to be;
  /// empty when there is none.
  std::string overlong;
  /// Its tag and that length.
  std::optional<std::pair<DcmTagKey, std::uint32_t>> overlongElement;
  /// How the dataset is written, where that is plainly another way than the meta information says.
  std::optional<E_TransferSyntax> actualSyntax;
  /// Pixel Data (7FE0,0010) of the dataset itself is there to its last byte.
  bool hasWholePixelData = false;
  /// It is not in fragments.
  bool hasNativePixelData = false;
};

/// How much is looked at.
struct ScanLimits {
  std::size_t deepest = kDeepestNesting;
  /// Bytes of a deflated dataset once it is inflated.
  std::uint64_t mostInflated = std::numeric_limits<std::uint64_t>::max();
};

/// Looks at the headers of a DICOM file as readAsScanned() has DCMTK read them, when DCMTK's
/// switches for the parser are as they are by default: with or without preamble and meta
/// information, in any transfer syntax, deflated ones too. Takes constant stack, and time and
/// memory that grow no faster than the file. Where DCMTK would stop it stops, and leaves the
/// complaint to the real reader; so it does when the file cannot be opened.
HeaderScan scanHeaders(const std::filesystem::path& file, const ScanLimits& limits = {});

/// The same for bytes in memory.
HeaderScan scanHeaders(std::span<const unsigned char> file, const ScanLimits& limits = {});

}  // namespace zr
