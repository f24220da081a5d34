// SPDX-License-Identifier: BSD-3-Clause
// The ICC profile of a picture, looked at before a file carries it: a reader may trust its lengths.
//
//   0    size of the profile, big endian, 4 bytes
//   16   colour space of the data: "RGB "
//   36   signature "acsp"
//   128  number of tags n, 4 bytes; then n times signature, offset, size: 4 bytes each
#include "zrimaging/formats/IccProfile.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zr {

namespace {

constexpr std::size_t kColourSpaceAt = 16;
constexpr std::size_t kSignatureAt = 36;
constexpr std::size_t kTagCountAt = 128;
constexpr std::size_t kTagsAt = 132;
constexpr std::size_t kTagEntryBytes = 12;
/// What the APP2 segments of a JPEG file take: 255 of 65,519 bytes. No real profile is that large.
constexpr std::size_t kMostBytes = std::size_t{255} * 65519;

std::uint32_t bigEndian32At(std::span<const unsigned char> bytes, std::size_t at) {
  return std::uint32_t{bytes[at]} << 24U | std::uint32_t{bytes[at + 1]} << 16U |
         std::uint32_t{bytes[at + 2]} << 8U | bytes[at + 3];
}

bool hasText(std::span<const unsigned char> bytes, std::size_t at, const char* text) {
  return std::memcmp(bytes.data() + at, text, std::strlen(text)) == 0;
}

bool tagsAreInside(std::span<const unsigned char> profile) {
  const std::size_t count = bigEndian32At(profile, kTagCountAt);
  if (count > (profile.size() - kTagsAt) / kTagEntryBytes) {
    return false;
  }
  for (std::size_t tag = 0; tag < count; ++tag) {
    const std::size_t offset = bigEndian32At(profile, kTagsAt + tag * kTagEntryBytes + 4);
    const std::size_t size = bigEndian32At(profile, kTagsAt + tag * kTagEntryBytes + 8);
    if (offset > profile.size() || size > profile.size() - offset) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::string faultOfIccProfile(std::span<const unsigned char> profile) {
  if (profile.size() < kTagsAt) {
    return "it is too short";
  }
  const std::size_t size = bigEndian32At(profile, 0);
  if (size < kTagsAt || size > profile.size() || profile.size() - size > 1) {
    return "it does not have the size that it states";
  }
  if (size > kMostBytes) {
    return "it is too large";
  }
  if (!hasText(profile, kSignatureAt, "acsp")) {
    return "its signature is missing";
  }
  if (!hasText(profile, kColourSpaceAt, "RGB ")) {
    return "it is not for RGB";
  }
  return tagsAreInside(profile.first(size)) ? "" : "its tags are not within it";
}

std::span<const unsigned char> iccProfileFor(const ArrayToWrite& array) {
  const std::span<const unsigned char> profile = array.description.iccProfile;
  if (profile.empty() || array.layout.channels != 3) {
    return {};
  }
  const std::string fault = faultOfIccProfile(profile);
  if (!fault.empty()) {
    remarkOnIccProfile(array, fault);
    return {};
  }
  return profile.first(bigEndian32At(profile, 0));
}

void remarkOnIccProfile(const ArrayToWrite& array, const std::string& fault) {
  if (array.remark) {
    array.remark("the ICC profile is left out: " + fault);
  }
}

}  // namespace zr
