// SPDX-License-Identifier: BSD-3-Clause
#include "ElementStream.h"

#include <array>
#include <cstring>
#include <string_view>

using namespace std::string_view_literals;

namespace fuzz {

namespace {

constexpr std::size_t kUndefined = 0xFFFFFFFFU;

constexpr std::array<const char*, 40> kVRs = {
    "LO", "CS", "UI", "US", "DS", "PN",  "SQ", "OB", "OW", "UN", "UT", "UC",   "UR", "OF",
    "OD", "OL", "OV", "SV", "UV", "AT",  "ZZ", "OX", "AA", "??", "zz", "\1\2", "na", "ox",
    "px", "xs", "lt", "up", "pi", "A\0", "Z1", "IS", "UL", "SS", "FD", "sq"};

/// Whether `header` writes a length of four bytes, as DCMTK reads one.
bool hasLongLength(const char* vr) {
  constexpr std::string_view kShort =
      "AE AS AT CS DA DS DT FD FL IS LO LT PN SH SL SS ST TM UI UL US";
  const auto isCapital = [](char character) { return character >= 'A' && character <= 'Z'; };
  const std::string_view name(vr, 2);
  if (name == "ox" || name == "px" || name == "lt") {
    return true;
  }
  return isCapital(vr[0]) && isCapital(vr[1]) && kShort.find(name) == std::string_view::npos;
}

}  // namespace

void ElementStream::number(std::size_t value, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t shift = 8 * (bigEndian_ ? count - 1 - i : i);
    bytes_ += static_cast<char>(value >> shift & 0xFFU);
  }
}

void ElementStream::tag(Tag tag) {
  number(tag.group, 2);
  number(tag.element, 2);
}

void ElementStream::header(Tag tag, const char* vr, std::size_t length) {
  this->tag(tag);
  if (!explicitVR_) {
    number(length, 4);
    return;
  }
  bytes_.append(vr, 2);
  if (hasLongLength(vr)) {
    number(0, 2);
    number(length, 4);
  } else {
    number(length, 2);
  }
}

void ElementStream::open(bool defined) {
  open_.push_back({defined ? bytes_.size() - 4 : 0, bytes_.size(), explicitVR_, bigEndian_});
}

void ElementStream::close() {
  if (open_.empty()) {
    return;
  }
  const Open last = open_.back();
  open_.pop_back();
  explicitVR_ = last.explicitVR;
  bigEndian_ = last.bigEndian;
  if (last.lengthAt != 0) {
    const std::size_t content = bytes_.size() - last.contentAt;
    for (std::size_t i = 0; i < 4; ++i) {
      const std::size_t shift = 8 * (bigEndian_ ? 3 - i : i);
      bytes_[last.lengthAt + i] = static_cast<char>(content >> shift & 0xFFU);
    }
  }
}

void ElementStream::value(Input& input) {
  constexpr std::array<Tag, 24> kTags = {
      {{0x0008, 0x0005}, {0x0008, 0x0016}, {0x0008, 0x1140}, {0x0009, 0x0010}, {0x0009, 0x1001},
       {0x0009, 0x1040}, {0x0010, 0x0010}, {0x0020, 0x0013}, {0x0028, 0x0106}, {0x0028, 0x3006},
       {0x0028, 0x3010}, {0x0040, 0xA730}, {0x5400, 0x1010}, {0x6000, 0x3000}, {0x7FE0, 0x0010},
       {0x7FE1, 0x1010}, {0xFFFE, 0x1234}, {0xFFFE, 0xE000}, {0xFFFF, 0xFFFF}, {0x0002, 0x0010},
       {0x0001, 0x0010}, {0x0004, 0x1220}, {0x7FE0, 0x0008}, {0x0088, 0x0200}}};
  const Tag chosen = kTags.at(input.below(kTags.size()));
  const char* const vr = kVRs.at(input.below(kVRs.size()));
  const unsigned kind = input.below(16);
  const std::size_t length = kind < 14 ? kind : kind == 14 ? kUndefined : input.byte() * 257U;
  header(chosen, vr, length);
  if (kind < 14) {
    bytes_.append(length, '\x20');
  }
}

void ElementStream::sequence(Input& input, bool defined) {
  constexpr std::array<Tag, 6> kTags = {{{0x0040, 0xA730},
                                         {0x0008, 0x1140},
                                         {0x0028, 0x3010},
                                         {0x0004, 0x1220},
                                         {0x0088, 0x0200},
                                         {0x5200, 0x9230}}};
  const unsigned chosen = input.byte();
  // Before what else may be a sequence comes what mostly is one.
  const char* const vr = chosen / 8 < 24 ? "SQ" : kVRs.at(chosen % kVRs.size());
  header(kTags.at(chosen % 8 % kTags.size()), vr, defined ? input.byte() : kUndefined);
  open(defined && chosen % 2 == 0);
}

void ElementStream::unknown(Input& input) {
  header({0x0009, 0x1001U + input.below(4)}, input.flag() ? "UN" : "ZZ", kUndefined);
  open(false);
  explicitVR_ = false;
  bigEndian_ = false;
}

void ElementStream::item(bool defined) {
  tag({0xFFFE, 0xE000});
  number(defined ? 0 : kUndefined, 4);
  open(defined);
}

void ElementStream::delimiter(unsigned element) {
  tag({0xFFFE, element});
  number(0, 4);
}

void ElementStream::fragments(Input& input) {
  header({0x7FE0, 0x0010}, input.flag() ? "OB" : "OW", kUndefined);
  for (unsigned left = input.below(4); left > 0; --left) {
    const unsigned length = input.below(8);
    tag({0xFFFE, 0xE000});
    number(length, 4);
    bytes_.append(length, '\x7F');
  }
  delimiter(0xE0DD);
}

/// A sequence that only its creator makes one.
void ElementStream::privateSequence(Input& input) {
  constexpr std::array<std::string_view, 6> kCreators = {
      "CARDIO-D.R. 1.0 "sv, "CARDIO-D.R. 1.0"sv, "CARDIO-D.R. 1.0\0"sv,
      " CARDIO-D.R. 1.0"sv, "FDMS 1.0"sv,        "NOBODY"sv};
  const unsigned block = 0x10 + input.below(2);
  const std::string_view creator = kCreators.at(input.below(kCreators.size()));
  header({0x0009, block}, "LO", creator.size());
  bytes_ += creator;
  header({0x0009, (0x10U + input.below(2)) << 8U | 0x40U}, "SQ", kUndefined);
  open(false);
}

void ElementStream::repeat(std::size_t from, std::size_t times) {
  const std::string part = bytes_.substr(from);
  for (; times > 0; --times) {
    bytes_ += part;
  }
}

void ElementStream::step(Input& input) {
  constexpr unsigned kItemEnd = 0xE00D;
  constexpr unsigned kSequenceEnd = 0xE0DD;
  switch (input.below(20)) {
    case 0:
    case 1:
    case 2:
      return value(input);
    case 3:
    case 4:
      sequence(input, false);
      return item(false);
    case 5:
      return sequence(input, true);
    case 6:
      sequence(input, true);
      return item(true);
    case 7:
      return item(false);
    case 8:
      return item(true);
    case 9:
      return delimiter(kItemEnd);
    case 10:
      return delimiter(kSequenceEnd);
    case 11:
      delimiter(kItemEnd);
      close();
      delimiter(kSequenceEnd);
      return close();
    case 12:
    case 13:
      return close();
    case 14:
      unknown(input);
      return item(false);
    case 15:
      return fragments(input);
    case 16:
      privateSequence(input);
      return item(false);
    case 17: {
      const std::vector<Uint8> raw = input.bytes(input.below(16));
      bytes_.append(raw.begin(), raw.end());
      return;
    }
    case 18:
      return repeat(lastStep_, input.below(80));
    default:
      explicitVR_ = input.flag();
      bigEndian_ = input.flag();
  }
}

void ElementStream::fill(Input& input, std::size_t inputSize, std::size_t most) {
  while (input.position() < inputSize && bytes_.size() < most) {
    const std::size_t begin = bytes_.size();
    step(input);
    lastStep_ = begin < bytes_.size() ? begin : lastStep_;
  }
  while (!open_.empty()) {
    close();
  }
}

}  // namespace fuzz
