// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/ImageBuilder.h"

#include <cstdint>
#include <string>
#include <vector>

/// Files in transfer syntaxes that DCMTK does not write, byte by byte.
namespace support {

/// The lowest bytes of a number, the lowest first.
[[nodiscard]] std::string littleEndian(std::uint32_t value, int bytes);

/// The element of compressed pixel data: these fragments behind an empty offset table.
[[nodiscard]] std::string encapsulated(const std::vector<std::string>& fragments);

/// The dataset without its pixel data as a file of any transfer syntax, with what is to follow it.
[[nodiscard]] std::string fileOf(const ImageBuilder& image, std::string syntax,
                                 const std::string& pixelData);

}  // namespace support
