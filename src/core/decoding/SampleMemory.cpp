// SPDX-License-Identifier: BSD-3-Clause
#include "decoding/SampleMemory.h"

#include <ktlib/KtString.h>

#include <cstdlib>

namespace Zrg::Decoding {

namespace {

constexpr char kInvalidTargetSize[] = "Invalid target size: buffer %zu bytes, required %zu bytes";
constexpr char kIncomplete[] = "Pixel data incomplete, expected %zu bytes, found %zu bytes";

}  // namespace

Result<void> fitsTarget(std::size_t targetSize, std::size_t required) {
  if (required <= targetSize) {
    return {};
  }
  return Message(KtString::printf(kInvalidTargetSize, targetSize, required).str());
}

Result<void> holdsSamples(std::size_t found, std::size_t required) {
  if (required <= found) {
    return {};
  }
  return Message(KtString::printf(kIncomplete, required, found).str());
}

Result<std::shared_ptr<char>> allocateSamples(std::size_t size) {
  // An image without pixels still gets an address: calloc may answer null for no bytes.
  auto* const memory = static_cast<char*>(std::calloc(size > 0 ? size : 1, 1));
  if (memory == nullptr) {
    return FailureText{kOutOfMemory};
  }
  return std::shared_ptr<char>(memory, [](char* samples) { std::free(samples); });
}

}  // namespace Zrg::Decoding
