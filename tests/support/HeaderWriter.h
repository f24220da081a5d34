// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>

namespace support {

inline constexpr std::size_t kUndefined = 0xFFFFFFFFU;

/// Headers in one encoding.
class HeaderWriter {
public:
  HeaderWriter(bool explicitVR, bool bigEndian) : explicitVR_(explicitVR), bigEndian_(bigEndian) {}

  [[nodiscard]] std::string number(std::size_t value, std::size_t count) const {
    std::string bytes;
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t shift = 8 * (bigEndian_ ? count - 1 - i : i);
      bytes += static_cast<char>(value >> shift & 0xFFU);
    }
    return bytes;
  }
  [[nodiscard]] std::string tag(unsigned group, unsigned element) const {
    return number(group, 2) + number(element, 2);
  }
  /// With a length of four bytes in explicit VR.
  [[nodiscard]] std::string longHeader(const std::string& tag, const std::string& vr,
                                       std::size_t length) const {
    return tag + (explicitVR_ ? vr + std::string(2, '\0') : std::string()) + number(length, 4);
  }
  [[nodiscard]] std::string text(const std::string& tag, const std::string& vr,
                                 const std::string& value) const {
    return tag + (explicitVR_ ? vr + number(value.size(), 2) : number(value.size(), 4)) + value;
  }
  [[nodiscard]] std::string sequence(std::size_t length = kUndefined) const {
    return longHeader(tag(0x0040, 0xA730), "SQ", length);
  }
  [[nodiscard]] std::string item(std::size_t length = kUndefined) const {
    return tag(0xFFFE, 0xE000) + number(length, 4);
  }
  [[nodiscard]] std::string itemEnd() const { return tag(0xFFFE, 0xE00D) + number(0, 4); }
  [[nodiscard]] std::string sequenceEnd() const { return tag(0xFFFE, 0xE0DD) + number(0, 4); }

  /// What opens a sequence, as often, and what closes it again.
  [[nodiscard]] std::string nested(const std::string& opening, std::size_t depth) const {
    return times(opening, depth) + times(itemEnd() + sequenceEnd(), depth);
  }
  [[nodiscard]] std::string nested(std::size_t depth) const {
    return nested(sequence() + item(), depth);
  }
  static std::string times(const std::string& part, std::size_t count) {
    std::string bytes;
    for (; count > 0; --count) {
      bytes += part;
    }
    return bytes;
  }

private:
  bool explicitVR_;
  bool bigEndian_;
};

inline const HeaderWriter kExplicit(true, false);
inline const HeaderWriter kImplicit(false, false);
inline const HeaderWriter kBig(true, true);

/// Preamble and group 0002 that names a transfer syntax.
inline std::string metaInformation(std::string syntax, const std::string& more = "") {
  syntax.resize((syntax.size() + 1) / 2 * 2, '\0');
  const std::string group = more + kExplicit.text(kExplicit.tag(2, 0x10), "UI", syntax);
  return std::string(128, '\0') + "DICM" +
         kExplicit.text(kExplicit.tag(2, 0), "UL", kExplicit.number(group.size(), 4)) + group;
}

inline std::string characterSet(const HeaderWriter& writer) {
  return writer.text(writer.tag(0x0008, 0x0005), "CS", "ISO_IR 100");
}

}  // namespace support
