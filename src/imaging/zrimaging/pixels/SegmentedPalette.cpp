// SPDX-License-Identifier: BSD-3-Clause
// A palette in segments, one behind the other. Each begins with two numbers, its kind and a length;
// all numbers have the bits of an entry, and are little endian:
//
//   0  discrete   length entries, which follow
//   1  linear     length entries on a line from the entry before to the one that follows
//   2  indirect   length segments from elsewhere, once more; the offset of the first of them in
//                 bytes follows, in 32 bits with the lower half first
//
// Indirect segments lead to discrete and linear ones alone, so that nothing goes round in circles.
#include "zrimaging/pixels/SegmentedPalette.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

namespace zr {

namespace {

constexpr unsigned kDiscrete = 0;
constexpr unsigned kLinear = 1;
constexpr unsigned kIndirect = 2;

constexpr const char* kCutShort = "its segments end too early";

/// Numbers of one width in bytes.
class Numbers {
public:
  Numbers(const std::vector<std::uint8_t>& bytes, unsigned bits, std::size_t position)
      : bytes_(bytes), size_(bits / 8), position_(position) {}

  bool atEnd() const { return bytes_.size() - position_ < size_; }
  std::optional<std::uint16_t> next() { return read<std::uint16_t>(size_); }
  std::optional<std::uint32_t> nextOffset() { return read<std::uint32_t>(sizeof(std::uint32_t)); }

private:
  template <class Number>
  std::optional<Number> read(std::size_t size) {
    if (bytes_.size() - position_ < size) {
      return std::nullopt;
    }
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < size; ++i) {
      number |= static_cast<std::uint32_t>(bytes_[position_++]) << (8 * i);
    }
    return static_cast<Number>(number);
  }

  const std::vector<std::uint8_t>& bytes_;
  std::size_t size_;
  std::size_t position_;  // at most the number of bytes
};

class Expansion {
public:
  Expansion(const std::vector<std::uint8_t>& segments, unsigned bits, std::size_t size)
      : segments_(segments), bits_(bits), size_(size) {}

  ExpandedColour run() {
    Numbers numbers(segments_, bits_, 0);
    while (fault_.empty() && entries_.size() < size_ && !numbers.atEnd()) {
      expandSegment(numbers, true);
    }
    if (fault_.empty() && entries_.size() != size_) {
      fault_ = "its segments make " + std::to_string(entries_.size()) + " of " +
               std::to_string(size_) + " entries";
    }
    return fault_.empty() ? ExpandedColour{std::move(entries_), ""} : ExpandedColour{{}, fault_};
  }

private:
  void expandSegment(Numbers& numbers, bool mayBeIndirect) {
    const auto kind = numbers.next();
    const auto length = numbers.next();
    if (!kind || !length) {
      fault_ = kCutShort;
    } else if (*kind == kDiscrete) {
      expandDiscrete(numbers, *length);
    } else if (*kind == kLinear) {
      expandLinear(numbers, *length);
    } else if (*kind == kIndirect && mayBeIndirect) {
      expandIndirect(numbers, *length);
    } else {
      fault_ = *kind == kIndirect ? "it has an indirect segment that leads to another one"
                                  : "it has a segment of unknown kind " + std::to_string(*kind);
    }
  }

  bool hasRoomFor(std::size_t count) {
    if (count > size_ - entries_.size()) {
      fault_ = "its segments make more than " + std::to_string(size_) + " entries";
    }
    return fault_.empty();
  }

  void expandDiscrete(Numbers& numbers, std::size_t length) {
    if (!hasRoomFor(length)) {
      return;
    }
    for (std::size_t i = 0; i < length; ++i) {
      const auto entry = numbers.next();
      if (!entry) {
        fault_ = kCutShort;
        return;
      }
      entries_.push_back(*entry);
    }
  }

  void expandLinear(Numbers& numbers, std::size_t length) {
    const auto end = numbers.next();
    if (!end) {
      fault_ = kCutShort;
    } else if (entries_.empty()) {
      fault_ = "it begins with a linear segment, which needs an entry before";
    } else if (hasRoomFor(length)) {
      const long long begin = entries_.back();
      const auto steps = static_cast<long long>(length);
      for (long long i = 1; i <= steps; ++i) {
        const long long rise = 2 * (*end - begin) * i;  // rounded to the nearest entry
        entries_.push_back(
            static_cast<std::uint16_t>(begin + (rise + (rise < 0 ? -steps : steps)) / (2 * steps)));
      }
    }
  }

  void expandIndirect(Numbers& numbers, std::size_t segments) {
    const auto offset = numbers.nextOffset();
    if (!offset || *offset >= segments_.size()) {
      fault_ = offset ? "it has an indirect segment that leads out of it" : kCutShort;
      return;
    }
    Numbers elsewhere(segments_, bits_, *offset);
    for (std::size_t i = 0; i < segments && fault_.empty(); ++i) {
      expandSegment(elsewhere, false);
    }
  }

  const std::vector<std::uint8_t>& segments_;
  unsigned bits_;
  std::size_t size_;
  std::vector<std::uint16_t> entries_;
  std::string fault_;
};

struct ColourTags {
  const char* name;
  DcmTagKey descriptor;
  DcmTagKey segments;
  DcmTagKey data;
};

std::array<ColourTags, 3> colourTags() {
  return {{{"red", DCM_RedPaletteColorLookupTableDescriptor,
            DCM_SegmentedRedPaletteColorLookupTableData, DCM_RedPaletteColorLookupTableData},
           {"green", DCM_GreenPaletteColorLookupTableDescriptor,
            DCM_SegmentedGreenPaletteColorLookupTableData, DCM_GreenPaletteColorLookupTableData},
           {"blue", DCM_BluePaletteColorLookupTableDescriptor,
            DCM_SegmentedBluePaletteColorLookupTableData, DCM_BluePaletteColorLookupTableData}}};
}

/// A number of the descriptor, whose VR depends on Pixel Representation.
std::optional<std::uint16_t> descriptorValue(DcmItem& item, const DcmTagKey& key,
                                             unsigned long place) {
  Uint16 value = 0;
  Sint16 signedValue = 0;
  if (item.findAndGetUint16(key, value, place).good()) {
    return value;
  }
  return item.findAndGetSint16(key, signedValue, place).good()
             ? std::optional(static_cast<std::uint16_t>(signedValue))
             : std::nullopt;
}

std::vector<std::uint8_t> littleEndianBytes(DcmItem& item, const DcmTagKey& key) {
  const Uint16* words = nullptr;
  const Uint8* bytes = nullptr;
  unsigned long count = 0;
  if (item.findAndGetUint16Array(key, words, &count).good() && words != nullptr) {
    std::vector<std::uint8_t> result;
    result.reserve(2 * count);
    for (unsigned long i = 0; i < count; ++i) {
      result.push_back(static_cast<std::uint8_t>(words[i] & 0xFFU));
      result.push_back(static_cast<std::uint8_t>(words[i] >> 8U));
    }
    return result;
  }
  if (item.findAndGetUint8Array(key, bytes, &count).good() && bytes != nullptr) {
    return {bytes, bytes + count};
  }
  return {};
}

ExpandedColour expandColour(DcmItem& item, const ColourTags& tags) {
  constexpr unsigned long kBitsPlace = 2;
  constexpr std::size_t kMostEntries = 65536;  // for which the descriptor has 0
  const auto size = descriptorValue(item, tags.descriptor, 0);
  const auto bits = descriptorValue(item, tags.descriptor, kBitsPlace);
  if (!size || !bits || (*bits != 8 && *bits != 16)) {
    return {{}, "its descriptor does not say how many entries of 8 or 16 bits there are"};
  }
  return expandSegments(littleEndianBytes(item, tags.segments), *bits,
                        *size == 0 ? kMostEntries : *size);
}

}  // namespace

ExpandedColour expandSegments(const std::vector<std::uint8_t>& segments, unsigned bits,
                              std::size_t size) {
  return Expansion(segments, bits, size).run();
}

bool hasSegmentedPalette(DcmItem& item) {
  const std::array<ColourTags, 3> colours = colourTags();
  return std::none_of(colours.begin(), colours.end(),
                      [&](const ColourTags& tags) {
                        return item.tagExistsWithValue(tags.data) == OFTrue;
                      }) &&
         std::any_of(colours.begin(), colours.end(), [&](const ColourTags& tags) {
           return item.tagExists(tags.segments) == OFTrue;
         });
}

std::string writePaletteInFull(DcmItem& item) {
  const std::array<ColourTags, 3> colours = colourTags();
  std::array<ExpandedColour, 3> expanded;
  for (std::size_t i = 0; i < colours.size(); ++i) {
    expanded[i] = expandColour(item, colours[i]);
    if (!expanded[i].fault.empty()) {
      return std::string("of ") + colours[i].name + ", " + expanded[i].fault;
    }
  }
  for (std::size_t i = 0; i < colours.size(); ++i) {
    const std::vector<std::uint16_t>& entries = expanded[i].entries;
    if (item.putAndInsertUint16Array(DcmTag(colours[i].data, EVR_OW), entries.data(),
                                     static_cast<unsigned long>(entries.size()))
            .bad()) {
      return "out of memory";
    }
  }
  return "";
}

}  // namespace zr
