// SPDX-License-Identifier: BSD-3-Clause
// Headers as DCMTK reads them, which is not always as they should be written:
//
//   explicit VR   group(2) element(2) VR(2) length(2)              short form
//                 group(2) element(2) VR(2) reserved(2) length(4)  VRs that DcmVR says are
//                                                                  extended, unknown ones of
//                                                                  capitals too
//   implicit VR   group(2) element(2) length(4)                    the dictionary tells the VR
//   items         (FFFE,E000) length(4); ends (FFFE,E00D) and (FFFE,E0DD); length(4)
//
// Any other element of group FFFE is an ordinary one. See PS3.5 section 7.1 and 7.5.
#include "zrimaging/files/ElementHeader.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace zr {

namespace {

constexpr std::size_t kTagBytes = 4;
constexpr std::size_t kVRBytes = 2;

/// A name of more characters is in no dictionary.
constexpr std::size_t kLongestCreator = 1024;

std::uint16_t word(const unsigned char* bytes, bool bigEndian) {
  const unsigned first = bytes[0];
  const unsigned second = bytes[1];
  return static_cast<std::uint16_t>(bigEndian ? first << 8U | second : second << 8U | first);
}

std::uint32_t longWord(const unsigned char* bytes, bool bigEndian) {
  const std::uint32_t first = word(bytes, bigEndian);
  const std::uint32_t second = word(bytes + 2, bigEndian);
  return bigEndian ? first << 16U | second : second << 16U | first;
}

DcmTagKey tagAt(const unsigned char* bytes, bool bigEndian) {
  return {word(bytes, bigEndian), word(bytes + 2, bigEndian)};
}

DcmVR vrAt(const unsigned char* bytes) {
  const std::array<char, 3> name = {static_cast<char>(bytes[0]), static_cast<char>(bytes[1]), '\0'};
  return {name.data()};
}

DcmEVR vrInDictionary(const DcmTagKey& tag, const PrivateCreators& creators) {
  constexpr Uint16 kFirstPrivateValue = 0x1000;
  DcmTag known(tag);
  if (tag.getGroup() % 2 != 0 && tag.getElement() >= kFirstPrivateValue) {
    if (const std::string* const creator = creators.find(tag)) {
      known.setPrivateCreator(creator->c_str());
      (void)known.lookupVRinDictionary();  // without an entry it stays as it is
    }
  }
  return known.getEVR();
}

/// Whether the dictionary knows the tag as an item or a delimiter, which have no VR.
bool hasNoVR(const DcmTagKey& tag) {
  constexpr Uint16 kGroupOfItems = 0xFFFE;
  return tag.getGroup() == kGroupOfItems && DcmTag(tag).getEVR() == EVR_na;
}

bool isStandardVR(const unsigned char* bytes) {
  return std::isalpha(bytes[0]) != 0 && std::isalpha(bytes[1]) != 0 && vrAt(bytes).isStandard();
}

bool isKnown(const DcmTagKey& tag) {
  return DcmTag(tag).error().good();
}

}  // namespace

std::optional<Encoding> Encoding::of(E_TransferSyntax syntax) {
  const DcmXfer properties(syntax);
  if (properties.getByteOrder() == EBO_unknown) {
    return std::nullopt;
  }
  return Encoding{properties.isExplicitVR() == OFTrue, properties.getByteOrder() == EBO_BigEndian};
}

std::optional<Encoding> Encoding::guess(HeaderBytes& bytes) {
  const unsigned char* const first = bytes.peek(kTagBytes + kVRBytes);
  if (first == nullptr) {
    return std::nullopt;
  }
  constexpr Uint16 kLastLikelyGroup = 0xFF;
  const DcmTagKey little = tagAt(first, false);
  const DcmTagKey big = tagAt(first, true);
  const bool littleIsKnown = isKnown(little);
  const bool bigIsLikelier =
      littleIsKnown ? little.getGroup() > kLastLikelyGroup && big.getGroup() <= kLastLikelyGroup
                    : true;
  const bool bigEndian = isKnown(big) && bigIsLikelier;
  return Encoding{isStandardVR(first + kTagBytes), bigEndian};
}

void PrivateCreators::add(const DcmTagKey& tag, std::string name) {
  const std::int64_t here = place(tag);
  const auto [creator, isNew] = creators_.try_emplace(here, Creator{std::move(name), here > last_});
  if (!isNew) {
    creator->second.isKnown = true;  // with the value that came first
  }
}

const std::string* PrivateCreators::find(const DcmTagKey& tag) const {
  constexpr unsigned kBlock = 8;
  const DcmTagKey reserved(tag.getGroup(), static_cast<Uint16>(tag.getElement() >> kBlock));
  const auto found = creators_.find(place(reserved));
  const bool isKnown = found != creators_.end() && found->second.isKnown;
  return isKnown && !found->second.name.empty() ? &found->second.name : nullptr;
}

std::optional<ElementHeader> readElementHeader(HeaderBytes& bytes, Encoding encoding,
                                               const PrivateCreators& creators) {
  constexpr std::size_t kShortForm = 8;
  constexpr std::size_t kLongForm = 12;
  const bool bigEndian = encoding.bigEndian;
  const unsigned char* at = bytes.peek(kShortForm);
  if (at == nullptr) {
    return std::nullopt;
  }
  ElementHeader header{tagAt(at, bigEndian)};
  std::size_t size = kShortForm;
  if (!encoding.explicitVR) {
    header.vr = vrInDictionary(header.tag, creators);
    header.length = longWord(at + kTagBytes, bigEndian);
  } else if (hasNoVR(header.tag)) {
    header.vr = EVR_na;
    header.length = longWord(at + kTagBytes, bigEndian);
  } else {
    const DcmVR vr = vrAt(at + kTagBytes);
    header.vr = vr.getEVR();
    if (vr.usesExtendedLengthEncoding()) {
      size = kLongForm;
      at = bytes.peek(size);
      if (at == nullptr) {
        return std::nullopt;
      }
      header.length = longWord(at + kShortForm, bigEndian);
    } else {
      header.length = word(at + kTagBytes + kVRBytes, bigEndian);
    }
    // Some writers name the VR of pixel data as the dictionary does.
    const bool isOX = at[kTagBytes] == 'O' && at[kTagBytes + 1] == 'X';
    if (isOX && header.tag == DCM_PixelData) {
      header.vr = EVR_px;
    }
  }
  (void)bytes.skip(size);  // they were looked at, so they are there
  return header;
}

std::optional<ElementHeader> readItemHeader(HeaderBytes& bytes, Encoding encoding) {
  constexpr std::size_t kSize = 8;
  const unsigned char* const at = bytes.peek(kSize);
  if (at == nullptr) {
    return std::nullopt;
  }
  ElementHeader header{tagAt(at, encoding.bigEndian)};
  header.vr = hasNoVR(header.tag) ? EVR_na : EVR_UNKNOWN;
  header.length = longWord(at + kTagBytes, encoding.bigEndian);
  (void)bytes.skip(kSize);  // likewise
  return header;
}

DcmTagKey littleEndianTag(const unsigned char* header) {
  return tagAt(header, false);
}

bool hasStandardVR(const unsigned char* header) {
  return isStandardVR(header + kTagBytes);
}

std::optional<std::uint32_t> peekLongWord(HeaderBytes& bytes, Encoding encoding) {
  const unsigned char* const at = bytes.peek(sizeof(std::uint32_t));
  return at == nullptr ? std::nullopt : std::optional(longWord(at, encoding.bigEndian));
}

Content ElementHeader::content() const {
  const bool undefined = length == kUndefinedLength;
  switch (vr) {
    case EVR_SQ:
      return Content::kSequence;
    case EVR_na:
      return tag == DCM_ItemDelimitationItem ? Content::kEndOfItem : Content::kNothingThatIsRead;
    case EVR_pixelItem:
      return Content::kNothingThatIsRead;
    case EVR_UN:
    case EVR_UNKNOWN:
      return undefined ? Content::kSequenceInUnknown : Content::kBytes;
    case EVR_px:
      return undefined ? Content::kFragments : Content::kBytes;
    case EVR_OB:
    case EVR_OW:
      if (tag == DCM_VOILUTSequence) {
        return Content::kNothingThatIsRead;
      }
      [[fallthrough]];
    case EVR_ox:
      return undefined && tag == DCM_PixelData ? Content::kFragments : Content::kBytes;
    default:
      return Content::kBytes;
  }
}

bool namesPrivateCreator(const ElementHeader& header) {
  return header.vr == EVR_LO && header.tag.isPrivateReservation();
}

std::optional<std::string> readPrivateCreator(HeaderBytes& bytes, std::uint32_t length) {
  std::string name;
  bool goesOn = false;  // behind what is kept
  for (std::uint32_t left = length; left > 0;) {
    const std::size_t count = std::min<std::size_t>(left, HeaderBytes::kLongestPeek);
    const unsigned char* const piece = bytes.peek(count);
    if (piece == nullptr) {
      return std::nullopt;
    }
    const std::size_t kept = std::min(count, kLongestCreator - name.size());
    name.append(reinterpret_cast<const char*>(piece), kept);
    goesOn = goesOn || std::any_of(piece + kept, piece + count,
                                   [](unsigned char character) { return character != ' '; });
    (void)bytes.skip(count);  // they were looked at
    left -= static_cast<std::uint32_t>(count);
  }
  if (!goesOn) {
    name.erase(name.find_last_not_of(' ') + 1);
  }
  return name.substr(0, name.find('\0'));
}

}  // namespace zr
