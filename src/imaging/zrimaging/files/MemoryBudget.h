// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <string>

class DcmItem;

namespace zr {

/// Memory that a run may take. Files come from anywhere, and a few bytes can claim to be an image of many
/// gigabytes: who is about to decode asks the budget first.
struct MemoryBudget {
  std::uint64_t bytes = std::uint64_t{4} << 30U;

  /// Refuses what takes more, as Zrg::decodedBytes reckons it.
  /// @throws Error when decoding all frames that Number of Frames claims takes more than `bytes`;
  ///         it names both sizes
  void requireFor(DcmItem& item) const;
  /// The same for the frames `first` to `last`, 0-based.
  void requireFor(DcmItem& item, std::uint64_t first, std::uint64_t last) const;
};

/// A number of bytes such as "4096", "512M" or "16GiB" (factors of 1024); nothing when it is none.
std::optional<std::uint64_t> parseSize(const std::string& text);

/// From now on the system refuses the program memory beyond the budget on top of what is mapped already,
/// which shows as std::bad_alloc: a net below what no attribute tells.
void limitAddressSpace(const MemoryBudget& budget);

}  // namespace zr
