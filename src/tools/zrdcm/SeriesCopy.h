// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

namespace zrdcm {

/// Path of the copy that stands at a 1-based position of `count`: 0001.dcm and so on.
std::filesystem::path copyPath(const std::filesystem::path& folder, std::size_t position,
                               std::size_t count);

/// Refuses folders where a copy would replace one of the files that are to be copied.
/// @throws Failure
void refuseToReplace(const std::vector<std::filesystem::path>& files,
                     const std::filesystem::path& folder);

/// Writes the file again with its position as Instance Number. The number that it had goes to
/// OriginalInstanceNumber, unless there is one already or another vendor owns that private block.
/// Pixel data stays as it is stored.
/// @throws Failure
void copyRenumbered(const std::filesystem::path& file, std::size_t position,
                    const std::filesystem::path& target);

}  // namespace zrdcm
