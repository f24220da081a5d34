// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/FrameAttributes.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

class DcmItem;
class DcmTagKey;

namespace zr {

/// A code or number as it is written, at most 256 bytes; empty when it is missing.
std::string textAt(DcmItem& item, const DcmTagKey& key, unsigned long position = 0);

/// The values of an attribute as people read them, at most 256 bytes each.
std::vector<ValueText> namesAt(DcmItem& item, const DcmTagKey& key);

/// The first of them; empty when there is none.
ValueText nameAt(DcmItem& item, const DcmTagKey& key);

/// A number of VR DS, IS or FD; nothing when it is missing, is no number or is not finite.
std::optional<double> numberAt(DcmItem& item, const DcmTagKey& key, unsigned long position = 0);

/// The items of a sequence, which are the dataset's; none where it is missing or no sequence.
std::vector<DcmItem*> itemsAt(DcmItem& item, const DcmTagKey& key);

/// The numbers that an attribute begins with; nothing unless all of them are there.
template <std::size_t Count>
std::optional<std::array<double, Count>> numbersAt(DcmItem& item, const DcmTagKey& key) {
  std::array<double, Count> numbers{};
  for (std::size_t i = 0; i < Count; ++i) {
    const std::optional<double> number = numberAt(item, key, i);
    if (!number) {
      return std::nullopt;
    }
    numbers.at(i) = *number;
  }
  return numbers;
}

}  // namespace zr
