// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/output/ProtectedInputs.h"

#include <cstddef>
#include <filesystem>

namespace zr {

/// Path of the copy that stands at a 1-based position of `count`: 0001.dcm and so on.
std::filesystem::path copyPath(const std::filesystem::path& folder, std::size_t position,
                               std::size_t count);

/// Writes the file again with its position as Instance Number. The number that it had goes to
/// OriginalInstanceNumber, unless there is one already or another vendor owns that private block.
/// Pixel data stays as it is stored.
/// @throws Error
void copyRenumbered(const std::filesystem::path& file, std::size_t position,
                    const std::filesystem::path& target, const ProtectedInputs& inputs);

}  // namespace zr
