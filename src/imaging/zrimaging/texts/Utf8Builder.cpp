// SPDX-License-Identifier: BSD-3-Clause
// Characters go to DCMTK's converter (iconv) many at a time; when it refuses them, one by one.
#include "zrimaging/texts/Utf8Builder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/ofstd/ofchrenc.h"

#include <cstddef>
#include <map>
#include <optional>
#include <utility>

namespace zr {

namespace {

/// Bytes in UTF-8; nothing when some of them are no characters of the encoding.
std::optional<std::string> convert(const char* encoding, const std::string& bytes) {
  static std::map<std::string, OFCharacterEncoding> converters;  // opening one reads files
  OFCharacterEncoding& converter = converters[encoding];
  if (!converter && converter.selectEncoding(encoding, "UTF-8").bad()) {
    return std::nullopt;
  }
  OFString text;
  if (converter.convertString(bytes.data(), bytes.size(), text).bad()) {
    return std::nullopt;
  }
  return text;
}

}  // namespace

void Utf8Builder::add(std::string_view utf8) {
  convertPending();
  result_.values.back() += utf8;
}

void Utf8Builder::addEscaped(std::string_view bytes) {
  convertPending();
  for (const char byte : bytes) {
    result_.values.back() += escapedByte(byte);
  }
  result_.escaped = true;
}

void Utf8Builder::add(const char* encoding, std::string_view bytes, std::string_view encoded) {
  if (encoding != encoding_) {
    convertPending();
    encoding_ = encoding;
  }
  pending_.push_back({std::string(bytes), std::string(encoded)});
  constexpr std::size_t kMostAtOnce = 4096;  // long texts are not to take many times their size
  if (pending_.size() == kMostAtOnce) {
    convertPending();
  }
}

void Utf8Builder::endValue() {
  convertPending();
  result_.values.emplace_back();
}

Utf8Text Utf8Builder::take() {
  convertPending();
  return std::move(result_);
}

void Utf8Builder::convertPending() {
  if (pending_.empty()) {
    return;
  }
  const std::vector<Character> characters = std::move(pending_);
  pending_.clear();
  std::string all;
  for (const Character& character : characters) {
    all += character.encoded;
  }
  if (const std::optional<std::string> text = convert(encoding_, all)) {
    result_.values.back() += *text;
    return;
  }
  for (const Character& character : characters) {
    if (const std::optional<std::string> text = convert(encoding_, character.encoded)) {
      result_.values.back() += *text;
    } else {
      addEscaped(character.bytes);
    }
  }
}

}  // namespace zr
