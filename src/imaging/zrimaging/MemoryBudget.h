// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <zrimaging/ZrimagingApi.h>

class DcmItem;

namespace zr {

/// Memory that reading and decoding one file may take. Files come from anywhere, and a few bytes
/// can claim to be an image of many gigabytes: who is about to decode asks the budget first.
struct ZRIMAGING_API MemoryBudget {
  std::uint64_t bytes = std::uint64_t{4} << 30U;
  /// What errors call it: the name of the option that a user sets it by.
  const char* name = "the memory budget";

  /// Refuses what takes more, as Zrg::decodedBytes reckons it.
  /// @throws Error (TooLarge) when decoding all frames that Number of Frames claims takes more than
  ///         `bytes`; it names both sizes
  void requireFor(DcmItem& item) const;
  /// The same for the frames `first` to `last`, 0-based.
  void requireFor(DcmItem& item, std::uint64_t first, std::uint64_t last) const;

  /// Refuses decoded samples of more bytes.
  /// @throws Error (TooLarge)
  void requireBytes(std::uint64_t decoded) const;
};

/// A number of bytes such as "4096", "512M" or "16GiB" (factors of 1024); nothing for other texts.
ZRIMAGING_API std::optional<std::uint64_t> parseSize(const std::string& text);

/// A number of bytes in words: "512 bytes", "16 MiB".
ZRIMAGING_API std::string sizeText(std::uint64_t bytes);

}  // namespace zr
