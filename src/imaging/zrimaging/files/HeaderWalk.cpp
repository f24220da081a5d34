// SPDX-License-Identifier: BSD-3-Clause
// What closes a level is what closes it for DCMTK:
//
//   item        its delimiter, or its length used up
//   sequence    its delimiter, or its length used up
//   fragments   the same
//
// A length counts from the position behind its header, and is looked at between two elements: what
// lies within may go beyond it, and an item of undefined length within a sequence of a few bytes
// goes on until its delimiter. Everything that DCMTK reports as an error ends its reading, so that
// nothing behind it can nest.
#include "zrimaging/files/HeaderWalk.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

namespace zr {

void HeaderWalk::walkDataset(Encoding encoding) {
  open(Kind::kItem, encoding, ElementHeader::kUndefinedLength);
  (void)walk();  // nothing comes behind it
}

void HeaderWalk::walkMetaInformation(Encoding encoding) {
  const std::uint64_t begin = bytes_.position();
  std::uint32_t length = ElementHeader::kUndefinedLength;
  if (beginsLikeMetaInformation()) {
    const std::optional<std::uint32_t> groupLength = readFirstOfGroup0002(encoding);
    if (!groupLength) {
      return;
    }
    const auto own = static_cast<std::uint32_t>(bytes_.position() - begin);
    length = *groupLength == 0 ? length : *groupLength + own;
  }
  open(Kind::kMetaInformation, encoding, length);
  levels_.back().begin = begin;
  (void)walk();  // nothing comes behind it here
}

// In either byte order, whatever the tag is in the one that the stream has.
bool HeaderWalk::beginsLikeMetaInformation() {
  const unsigned char* const group = bytes_.peek(2);
  return group != nullptr &&
         ((group[0] == 0x02 && group[1] == 0x00) || (group[0] == 0x00 && group[1] == 0x02));
}

// DCMTK reads the first element before it asks whether it is the group length. If it is none,
// errors in it are forgotten and reading goes on from the place where they occurred: such a file is
// left alone.
std::optional<std::uint32_t> HeaderWalk::readFirstOfGroup0002(Encoding encoding) {
  const std::optional<ElementHeader> header = readElementHeader(bytes_, encoding, {});
  if (!header) {
    return std::nullopt;
  }
  ++scan_.headers;
  const std::optional<std::uint32_t> number = peekLongWord(bytes_, encoding);
  const bool isRead = readContent(*header, encoding) && walk();
  if (header->tag != DCM_FileMetaInformationGroupLength) {
    scan_.isDamagedMeta = !isRead;
    return isRead ? std::optional<std::uint32_t>(0) : std::nullopt;
  }
  return isRead ? number : std::nullopt;
}

bool HeaderWalk::walk() {
  while (!levels_.empty()) {
    const Level& level = levels_.back();
    if (isUsedUp(level)) {
      close();
    } else if (!(holdsItems(level.kind) ? readItem() : readElement())) {
      return false;
    }
  }
  return true;
}

// In 32 bits, as DCMTK counts.
bool HeaderWalk::isUsedUp(const Level& level) const {
  return static_cast<std::uint32_t>(bytes_.position() - level.begin) >= level.length;
}

// DCMTK looks at this in ordinary items only, not in group 0002 and not in directory records. An
// item that its last header already goes beyond is as good as endless: the difference wraps.
bool HeaderWalk::isLongerThanItem(const ElementHeader& header, const Level& item) const {
  if (item.kind == Kind::kDirectoryRecord || item.kind == Kind::kMetaInformation) {
    return false;
  }
  const auto used = static_cast<std::uint32_t>(bytes_.position() - item.begin);
  return item.length != ElementHeader::kUndefinedLength &&
         header.length != ElementHeader::kUndefinedLength && header.length > item.length - used;
}

bool HeaderWalk::readElement() {
  Level& item = levels_.back();
  if (item.kind == Kind::kMetaInformation && item.length == ElementHeader::kUndefinedLength &&
      !beginsLikeMetaInformation()) {
    return false;
  }
  const std::optional<ElementHeader> header =
      readElementHeader(bytes_, item.encoding, item.creators);
  if (!header) {
    return false;
  }
  ++scan_.headers;
  if (isLongerThanItem(*header, item)) {
    return false;
  }
  if (!item.encoding.explicitVR) {
    if (namesPrivateCreator(*header)) {
      return readCreator(*header, item.creators);
    }
    item.creators.passElement(header->tag);
  }
  return readContent(*header, item.encoding);
}

bool HeaderWalk::readCreator(const ElementHeader& header, PrivateCreators& creators) {
  std::optional<std::string> name = readPrivateCreator(bytes_, header.length);
  if (!name) {
    noteOverlong(header);
    return false;
  }
  creators.add(header.tag, std::move(*name));
  creators.passElement(header.tag);
  return true;
}

bool HeaderWalk::readContent(const ElementHeader& header, Encoding encoding) {
  constexpr Encoding kImplicitLittleEndian{false, false};
  switch (header.content()) {
    case Content::kBytes:
      return skipValue(header) && notePixelData(header);
    case Content::kSequence:
      return openSequence(header, encoding);
    case Content::kSequenceInUnknown:
      return openSequence(header, kImplicitLittleEndian);
    case Content::kFragments:
      open(Kind::kFragments, encoding, header.length);
      return true;
    case Content::kEndOfItem:
      if (levels_.empty()) {
        return false;
      }
      close();
      return true;
    case Content::kNothingThatIsRead:
      break;
  }
  return false;
}

bool HeaderWalk::readItem() {
  const Level& sequence = levels_.back();
  const std::optional<ElementHeader> header = readItemHeader(bytes_, sequence.encoding);
  if (!header) {
    return false;
  }
  ++scan_.headers;
  if (header->vr != EVR_na || header->tag == DCM_ItemDelimitationItem) {
    return false;
  }
  if (header->tag == DCM_SequenceDelimitationItem) {
    close();
    return true;
  }
  if (sequence.kind == Kind::kFragments) {
    return skipValue(*header);
  }
  open(sequence.kind == Kind::kDirectory ? Kind::kDirectoryRecord : Kind::kItem, sequence.encoding,
       header->length);
  return true;
}

bool HeaderWalk::openSequence(const ElementHeader& header, Encoding encoding) {
  ++openSequences_;
  scan_.deepest = std::max(scan_.deepest, openSequences_);
  if (openSequences_ > deepestAllowed_) {
    scan_.tooDeep = TooDeepSequence{header.tag, bytes_.position(), openSequences_};
    return false;
  }
  open(header.tag == DCM_DirectoryRecordSequence ? Kind::kDirectory : Kind::kSequence, encoding,
       header.length);
  return true;
}

void HeaderWalk::open(Kind kind, Encoding encoding, std::uint32_t length) {
  levels_.push_back({kind, encoding, bytes_.position(), length, {}});
}

void HeaderWalk::close() {
  const Kind kind = levels_.back().kind;
  openSequences_ -= kind == Kind::kSequence || kind == Kind::kDirectory ? 1 : 0;
  levels_.pop_back();
  scan_.hasWholePixelData = scan_.hasWholePixelData || (kind == Kind::kFragments && isInDataset());
}

/// @return true, as the walk goes on
bool HeaderWalk::notePixelData(const ElementHeader& header) {
  if (isInDataset() && header.tag == DCM_PixelData && header.length > 0) {
    scan_.hasNativePixelData = true;
    scan_.hasWholePixelData = true;
  }
  return true;
}

bool HeaderWalk::isInDataset() const {
  return levels_.size() == 1 && levels_.front().kind == Kind::kItem;
}

bool HeaderWalk::skipValue(const ElementHeader& header) {
  if (bytes_.skip(header.length)) {
    return true;
  }
  noteOverlong(header);
  return false;
}

void HeaderWalk::noteOverlong(const ElementHeader& header) {
  if (header.length == ElementHeader::kUndefinedLength) {
    return;
  }
  char text[64];
  (void)std::snprintf(text, sizeof text, "(%04x,%04x) claims %u bytes", header.tag.getGroup(),
                      header.tag.getElement(), header.length);  // always fits
  scan_.overlong = text;
  scan_.overlongElement = {header.tag, header.length};
}

}  // namespace zr
