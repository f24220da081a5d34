// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

class DcmItem;

namespace zrdcm {

/// What is allowed while limitMemory() was not called: 4 GiB.
constexpr std::uint64_t kDefaultMemory = std::uint64_t{4} << 30U;

/// A number of bytes such as "4096", "512M" or "16GiB" (factors of 1024); nothing when it is none.
std::optional<std::uint64_t> parseSize(const std::string& text);

/// Bounds the memory of the program: files come from anywhere, and a few bytes can claim to be an image
/// of many gigabytes.
///
/// From now on the system refuses memory beyond `bytes` on top of what is mapped already, which shows as
/// std::bad_alloc, and requireMemoryFor() refuses images whose samples alone are larger.
void limitMemory(std::uint64_t bytes);

/// Bytes that the samples of `frames` frames take once they are decoded, as the attributes say
/// (PS3.3 C.7.6.3, Image Pixel Module); the largest number when there is no number for it.
std::uint64_t decodedBytes(DcmItem& item, std::uint64_t frames);

/// @throws Failure when all frames that Number of Frames claims, decoded together, are larger than the
///         memory that is allowed
void requireMemoryFor(DcmItem& item);
/// The same for some of them.
void requireMemoryFor(DcmItem& item, std::size_t frames);

}  // namespace zrdcm
