// SPDX-License-Identifier: BSD-3-Clause
// The look at an ICC profile, held against the same rules written down once more, slowly: one finds
// a fault where the other does. Most inputs get the names of a real profile, and many its size, as
// else hardly one would reach the table of tags.
#include "Input.h"
#include "zrimaging/formats/IccProfile.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;

void setText(std::vector<Uint8>& profile, std::size_t at, const std::string& text) {
  if (profile.size() >= at + text.size()) {
    std::copy(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(at));
  }
}

std::uint64_t numberAt(const std::vector<Uint8>& profile, std::size_t at) {
  std::uint64_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    number = 256 * number + profile.at(at + i);
  }
  return number;
}

bool hasText(const std::vector<Uint8>& profile, std::size_t at, const std::string& text) {
  return std::equal(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(at));
}

bool isSound(const std::vector<Uint8>& profile) {
  constexpr std::uint64_t kTagsAt = 132;
  if (profile.size() < kTagsAt) {
    return false;
  }
  const std::uint64_t size = numberAt(profile, 0);
  if (size < kTagsAt || (size != profile.size() && size + 1 != profile.size()) ||
      !hasText(profile, 16, "RGB ") || !hasText(profile, 36, "acsp")) {
    return false;
  }
  const std::uint64_t tags = numberAt(profile, 128);
  if (kTagsAt + 12 * tags > size) {
    return false;
  }
  for (std::uint64_t tag = 0; tag < tags; ++tag) {
    const std::size_t at = kTagsAt + 12 * tag;
    if (numberAt(profile, at + 4) + numberAt(profile, at + 8) > size) {
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const Uint8* data, std::size_t size) {
  Input input(data, size);
  const unsigned repairs = input.byte();
  std::vector<Uint8> profile = input.rest();
  profile.shrink_to_fit();  // so that a byte behind it is nobody's
  if (repairs % 8 != 0) {
    setText(profile, 16, "RGB ");
    setText(profile, 36, "acsp");
  }
  if (repairs % 4 != 0) {
    const std::size_t stated =
        profile.size() - std::min<std::size_t>(repairs / 8 % 2, profile.size());
    setText(profile, 0,
            {static_cast<char>(stated >> 24U), static_cast<char>(stated >> 16U),
             static_cast<char>(stated >> 8U), static_cast<char>(stated)});
    setText(profile, 128, std::string(3, '\0'));  // a few tags: they fit into a small input
  }
  require(zr::faultOfIccProfile(profile).empty() == isSound(profile));
  return 0;
}
