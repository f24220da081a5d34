// SPDX-License-Identifier: BSD-3-Clause
// Walks over the element headers of a file without building anything.
//
//   explicit VR   group(2) element(2) VR(2) length(2)              short form
//                 group(2) element(2) VR(2) reserved(2) length(4)  OB OD OF OL OV OW SQ SV UC UN UR UT UV
//   implicit VR   group(2) element(2) length(4)
//   items         (FFFE,E000) length(4); ends (FFFE,E00D) and (FFFE,E0DD), length 0
//
// A sequence is open from its header until its defined length is used up or its delimiter comes.
// See PS3.5 section 7.1 and 7.5.
#include "NestingGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmf.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zrdcm {

namespace {

constexpr std::uint32_t kUndefinedLength = 0xFFFFFFFFU;
constexpr std::uint64_t kUntilDelimiter = ~std::uint64_t{0};

struct OpenSequence {
  std::uint64_t end;    // position after it, or kUntilDelimiter
  bool implicitInside;  // content of UN with undefined length is always implicit VR little endian
  bool fragments;       // encapsulated pixel data: items hold bytes, not elements
};

struct ElementHeader {
  std::uint16_t group;
  std::uint16_t element;
  std::array<char, 2> vr;  // blanks for implicit VR and delimiters
  std::uint32_t length;

  bool isDelimiting() const { return group == 0xFFFE; }
  bool hasVR(std::string_view wanted) const { return std::string_view(vr.data(), 2) == wanted; }
};

class Walker {
public:
  explicit Walker(const std::filesystem::path& file) : file_(file) { open(); }

  HeaderScan scan() {
    if (!readPrologue()) {
      return scan_;
    }
    while (sequences_.size() <= kDeepestNesting) {
      closeFinished();
      const std::optional<ElementHeader> header = readHeader();
      if (!header || !enterOrSkip(*header)) {
        return scan_;
      }
    }
    scan_.nestsTooDeeply = true;
    return scan_;
  }

private:
  void open() { stream_ = std::make_unique<DcmInputFileStream>(OFFilename(file_.c_str())); }
  bool readPrologue();
  bool readMetaInformation();
  bool startInflating(std::uint64_t begin);
  bool guessEncoding();
  std::optional<ElementHeader> readHeader();
  bool readLength(ElementHeader& header);
  bool enterOrSkip(const ElementHeader& header);
  bool handleDelimiter(const ElementHeader& header);
  bool holdsItems(const ElementHeader& header);
  bool itemFollows();
  void closeFinished();
  bool read(void* bytes, std::size_t count);
  template <std::size_t N>
  void putBack(const std::array<unsigned char, N>& bytes);
  bool skip(std::uint64_t count);
  bool skipValue(const ElementHeader& header);
  template <typename T>
  bool readNumber(T& value);

  std::filesystem::path file_;
  std::unique_ptr<DcmInputFileStream> stream_;
  std::vector<unsigned char> pending_;  // bytes that were looked at and belong to the dataset
  std::uint64_t position_ = 0;
  bool bigEndian_ = false;
  bool implicit_ = false;
  std::string transferSyntax_;
  std::vector<OpenSequence> sequences_;
  HeaderScan scan_;
};

bool Walker::read(void* bytes, std::size_t count) {
  auto* target = static_cast<unsigned char*>(bytes);
  while (count > 0) {
    std::size_t got = 0;
    if (!pending_.empty()) {
      got = std::min(count, pending_.size());
      std::copy_n(pending_.begin(), got, target);
      pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(got));
    } else {
      const offile_off_t taken = stream_->read(target, static_cast<offile_off_t>(count));
      if (taken <= 0) {
        return false;
      }
      got = static_cast<std::size_t>(taken);
    }
    target += got;
    count -= got;
    position_ += got;
  }
  return true;
}

template <std::size_t N>
void Walker::putBack(const std::array<unsigned char, N>& bytes) {
  pending_.insert(pending_.begin(), bytes.begin(), bytes.end());
  position_ -= N;
}

bool Walker::skip(std::uint64_t count) {
  while (count > 0 && !pending_.empty()) {
    pending_.erase(pending_.begin());
    --count;
    ++position_;
  }
  while (count > 0) {
    const offile_off_t skipped = stream_->skip(static_cast<offile_off_t>(count));
    if (skipped <= 0) {
      return false;
    }
    count -= static_cast<std::uint64_t>(skipped);
    position_ += static_cast<std::uint64_t>(skipped);
  }
  return true;
}

bool Walker::skipValue(const ElementHeader& header) {
  if (skip(header.length)) {
    return true;
  }
  char text[64];
  (void)std::snprintf(text, sizeof text, "(%04x,%04x) claims %u bytes", header.group,
                      header.element, header.length);  // always fits
  scan_.overlong = text;
  return false;
}

template <typename T>
bool Walker::readNumber(T& value) {
  std::array<unsigned char, sizeof(T)> bytes{};
  if (!read(bytes.data(), bytes.size())) {
    return false;
  }
  value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::size_t shift = 8 * (bigEndian_ ? bytes.size() - 1 - i : i);
    value = static_cast<T>(value | (static_cast<T>(bytes[i]) << shift));
  }
  return true;
}

bool Walker::readPrologue() {
  std::array<unsigned char, 132> start{};
  if (!read(start.data(), start.size())) {
    return false;
  }
  const std::string_view magic(reinterpret_cast<const char*>(start.data()) + 128, 4);
  if (magic != "DICM") {
    putBack(start);
    return guessEncoding();
  }
  if (!readMetaInformation()) {
    return false;
  }
  const bool deflated = transferSyntax_ == UID_DeflatedExplicitVRLittleEndianTransferSyntax;
  return (!deflated || startInflating(position_)) && guessEncoding();
}

// Everything behind the meta information is one deflated stream, so it is read from there anew.
bool Walker::startInflating(std::uint64_t begin) {
  open();
  pending_.clear();
  position_ = 0;
  return skip(begin) && stream_->installCompressionFilter(ESC_zlib).good();
}

// Group 0002 is explicit VR little endian. The header that no longer belongs to it is put back.
bool Walker::readMetaInformation() {
  for (;;) {
    std::array<unsigned char, 2> group{};
    if (!read(group.data(), group.size())) {
      return false;
    }
    putBack(group);
    if (group[0] != 0x02 || group[1] != 0x00) {
      return true;
    }
    const std::optional<ElementHeader> header = readHeader();
    if (!header || header->length == kUndefinedLength) {
      return false;
    }
    constexpr std::uint32_t kLongestUid = 64;
    if (header->element == 0x0010 && header->length <= kLongestUid) {
      transferSyntax_.resize(header->length);
      if (!read(transferSyntax_.data(), transferSyntax_.size())) {
        return false;
      }
      transferSyntax_.erase(transferSyntax_.find_last_not_of(std::string("\0 ", 2)) + 1);
    } else if (!skip(header->length)) {
      return false;
    }
  }
}

// Looks at the first element rather than trusting the meta information, as the reader does.
bool Walker::guessEncoding() {
  std::array<unsigned char, 6> first{};
  if (!read(first.data(), first.size())) {
    return false;
  }
  bigEndian_ = first[0] == 0 && first[1] != 0;
  implicit_ = std::isupper(first[4]) == 0 || std::isupper(first[5]) == 0;
  putBack(first);
  return true;
}

std::optional<ElementHeader> Walker::readHeader() {
  ElementHeader header{0, 0, {' ', ' '}, 0};
  if (!readNumber(header.group) || !readNumber(header.element) || !readLength(header)) {
    return std::nullopt;
  }
  return header;
}

bool Walker::readLength(ElementHeader& header) {
  const bool implicitHere = implicit_ || (!sequences_.empty() && sequences_.back().implicitInside);
  if (header.isDelimiting() || implicitHere) {
    return readNumber(header.length);
  }
  if (!read(header.vr.data(), header.vr.size())) {
    return false;
  }
  constexpr std::string_view kLongForms[] = {"OB", "OD", "OF", "OL", "OV", "OW", "SQ",
                                             "SV", "UC", "UN", "UR", "UT", "UV"};
  for (const std::string_view longForm : kLongForms) {
    if (header.hasVR(longForm)) {
      std::uint16_t reserved = 0;
      return readNumber(reserved) && readNumber(header.length);
    }
  }
  std::uint16_t length = 0;
  if (!readNumber(length)) {
    return false;
  }
  header.length = length;
  return true;
}

void Walker::closeFinished() {
  while (!sequences_.empty() && sequences_.back().end != kUntilDelimiter &&
         sequences_.back().end <= position_) {
    sequences_.pop_back();
  }
}

bool Walker::handleDelimiter(const ElementHeader& header) {
  constexpr std::uint16_t kItem = 0xE000;
  constexpr std::uint16_t kSequenceEnd = 0xE0DD;
  if (header.element == kItem && !sequences_.empty() && sequences_.back().fragments) {
    return skipValue(header);
  }
  if (header.element == kSequenceEnd && !sequences_.empty()) {
    sequences_.pop_back();
  }
  return true;
}

bool Walker::holdsItems(const ElementHeader& header) {
  if (header.length == kUndefinedLength || header.hasVR("SQ")) {
    return true;
  }
  // Implicit VR does not tell sequences from other values; the dictionary would, but not for every
  // private element. The item at the beginning is a mark that both have in common.
  return header.hasVR("  ") && header.length >= 8 && itemFollows();
}

bool Walker::itemFollows() {
  std::array<unsigned char, 4> tag{};
  if (!read(tag.data(), tag.size())) {
    return false;
  }
  putBack(tag);
  return tag == std::array<unsigned char, 4>{0xFE, 0xFF, 0x00, 0xE0};
}

bool Walker::enterOrSkip(const ElementHeader& header) {
  if (header.isDelimiting()) {
    return handleDelimiter(header);
  }
  if (!holdsItems(header)) {
    return skipValue(header);
  }
  const bool undefined = header.length == kUndefinedLength;
  const bool implicitOutside = !sequences_.empty() && sequences_.back().implicitInside;
  sequences_.push_back({undefined ? kUntilDelimiter : position_ + header.length,
                        implicitOutside || header.hasVR("UN"),
                        header.hasVR("OB") || header.hasVR("OW")});
  return true;
}

}  // namespace

HeaderScan scanHeaders(const std::filesystem::path& file) {
  return Walker(file).scan();
}

}  // namespace zrdcm
