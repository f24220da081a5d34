// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/Result.h"

#include <cstddef>
#include <memory>

/// The memory that samples are decoded to.
namespace Zrg::Decoding {

/// Message of every allocation that fails, and of every failed sample conversion.
inline constexpr char kOutOfMemory[] = "out of memory";

/// Whether `required` bytes fit into the target of a caller.
[[nodiscard]] Result<void> fitsTarget(std::size_t targetSize, std::size_t required);

/// Whether pixel data of so many bytes has all that are required.
[[nodiscard]] Result<void> holdsSamples(std::size_t found, std::size_t required);

/// Zeroed memory for `size` bytes of samples, so that no byte which a decoder leaves out shows
/// something else. Never null, also of no bytes.
[[nodiscard]] Result<std::shared_ptr<char>> allocateSamples(std::size_t size);

}  // namespace Zrg::Decoding
