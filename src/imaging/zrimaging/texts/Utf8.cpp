// SPDX-License-Identifier: BSD-3-Clause
// UTF-8, byte by byte: texts of files and names of files hold whatever bytes somebody put there.
#include "zrimaging/texts/Utf8.h"

#include "zrimaging/Boundary.h"

#include <algorithm>
#include <array>

namespace zr {

namespace {

/// Sequences of one length. `least` refuses the overlong forms.
struct SequenceForm {
  unsigned leadMask;
  unsigned lead;
  std::size_t bytes;
  char32_t least;
};

constexpr std::array<SequenceForm, 4> kForms = {{{0x80, 0x00, 1, 0x0},
                                                 {0xE0, 0xC0, 2, 0x80},
                                                 {0xF0, 0xE0, 3, 0x800},
                                                 {0xF8, 0xF0, 4, 0x10000}}};

constexpr char32_t kLastCharacter = 0x10FFFF;

bool isSurrogate(char32_t code) {
  return code >= 0xD800 && code <= 0xDFFF;
}

}  // namespace

std::string Utf8Text::joined() const {
  std::string text = values.front();
  for (std::size_t i = 1; i < values.size(); ++i) {
    text += "\\" + values[i];
  }
  return text;
}

std::optional<Utf8Character> utf8At(std::string_view text, std::size_t at) {
  const auto byteAt = [&text](std::size_t i) {
    return static_cast<unsigned>(static_cast<unsigned char>(text[i]));
  };
  const unsigned lead = byteAt(at);
  const auto* const form =
      std::find_if(kForms.begin(), kForms.end(), [lead](const SequenceForm& candidate) {
        return (lead & candidate.leadMask) == candidate.lead;
      });
  if (form == kForms.end() || text.size() - at < form->bytes) {
    return std::nullopt;
  }
  char32_t code = lead & ~form->leadMask & 0xFFU;
  for (std::size_t i = at + 1; i < at + form->bytes; ++i) {
    if ((byteAt(i) & 0xC0U) != 0x80U) {
      return std::nullopt;
    }
    code = code << 6U | (byteAt(i) & 0x3FU);
  }
  if (code < form->least || code > kLastCharacter || isSurrogate(code)) {
    return std::nullopt;
  }
  return Utf8Character{code, form->bytes};
}

std::string escapedByte(char byte) {
  return atBoundary([&]() -> std::string {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return {'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xFU]};
  });
}

std::string withEscapedBytes(std::string_view text) {
  return atBoundary([&] {
    std::string escaped;
    for (std::size_t i = 0; i < text.size();) {
      const std::optional<Utf8Character> character = utf8At(text, i);
      if (character) {
        escaped.append(text, i, character->bytes);
      } else {
        escaped += escapedByte(text[i]);
      }
      i += character ? character->bytes : 1;
    }
    return escaped;
  });
}

bool isUnsafeOnTerminals(char32_t code) {
  const bool control = code < 0x20 || (code >= 0x7F && code <= 0x9F);
  const bool mark = code == 0x061C || code == 0x200E || code == 0x200F;
  const bool separatorOrEmbedding = code >= 0x2028 && code <= 0x202E;
  const bool isolate = code >= 0x2066 && code <= 0x2069;
  return control || mark || separatorOrEmbedding || isolate;
}

}  // namespace zr
