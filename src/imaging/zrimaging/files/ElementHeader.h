// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/files/HeaderBytes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctagkey.h"
#include "dcmtk/dcmdata/dcvr.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace zr {

/// How the headers of a dataset, or of a sequence within it, are written.
struct Encoding {
  bool explicitVR = true;
  bool bigEndian = false;

  /// The encoding of a transfer syntax; nothing when DCMTK does not know its byte order.
  static std::optional<Encoding> of(E_TransferSyntax syntax);
  /// What DCMTK takes the encoding for when nothing names it: judged by the first tag and the two
  /// characters behind it, which are left in place. Nothing when there are none.
  static std::optional<Encoding> guess(HeaderBytes& bytes);
};

/// What stands behind a header.
enum class Content {
  kBytes,              ///< a value, to be skipped
  kSequence,           ///< items, encoded as the element itself
  kSequenceInUnknown,  ///< items in implicit VR little endian, PS3.5 section 6.2.2 note 2
  kFragments,          ///< items that hold bytes
  kEndOfItem,          ///< the delimiter of an item
  kNothingThatIsRead,  ///< DCMTK stops here with an error
};

/// The header of an element, an item or a delimiter.
struct ElementHeader {
  DcmTagKey tag;
  DcmEVR vr = EVR_UNKNOWN;
  std::uint32_t length = 0;

  static constexpr std::uint32_t kUndefinedLength = 0xFFFFFFFFU;

  [[nodiscard]] Content content() const;
};

/// The private creators of one item in implicit VR, where they decide what a private element is.
/// DCMTK looks at the element that it has just put into the item, and misses one that belongs
/// further to the front, unless it comes once more.
class PrivateCreators {
public:
  /// Every element of the item is announced here, in the order of the file.
  void passElement(const DcmTagKey& tag) { last_ = std::max(last_, place(tag)); }
  /// The value of an element that `namesPrivateCreator`; before it is passed.
  void add(const DcmTagKey& tag, std::string name);
  /// Whose element it is; null when DCMTK knows of nobody who reserved the block.
  [[nodiscard]] const std::string* find(const DcmTagKey& tag) const;

private:
  struct Creator {
    std::string name;
    bool isKnown;
  };
  /// Where the tag stands in a sorted item.
  static std::int64_t place(const DcmTagKey& tag) {
    return tag.getGroup() * 0x10000L + tag.getElement();
  }

  std::map<std::int64_t, Creator> creators_;
  std::int64_t last_ = -1;
};

/// Reads the header of an element in an item; nothing when the stream ends within it.
std::optional<ElementHeader> readElementHeader(HeaderBytes& bytes, Encoding encoding,
                                               const PrivateCreators& creators);
/// Reads the header of what stands in a sequence: always a tag and a length of four bytes.
std::optional<ElementHeader> readItemHeader(HeaderBytes& bytes, Encoding encoding);

/// The tag of a header in little endian.
DcmTagKey littleEndianTag(const unsigned char* header);
/// Whether the two characters behind a tag name a VR of the standard.
bool hasStandardVR(const unsigned char* header);

/// The number that comes next; nothing when fewer than four bytes are left.
std::optional<std::uint32_t> peekLongWord(HeaderBytes& bytes, Encoding encoding);

/// Whether an element of implicit VR reserves a block of private elements.
bool namesPrivateCreator(const ElementHeader& header);
/// Reads the value of such an element; nothing when the stream ends within it.
std::optional<std::string> readPrivateCreator(HeaderBytes& bytes, std::uint32_t length);

}  // namespace zr
