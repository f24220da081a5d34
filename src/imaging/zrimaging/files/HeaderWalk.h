// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/files/ElementHeader.h"
#include "zrimaging/files/HeaderBytes.h"
#include "zrimaging/files/NestingGuard.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace zr {

/// Goes from header to header as DCMTK does, and keeps a stack of what is open instead of calling
/// itself. What DCMTK stops at, ends the walk.
class HeaderWalk {
public:
  /// @param scan what is found is added to it.
  HeaderWalk(HeaderBytes& bytes, std::size_t deepestAllowed, HeaderScan& scan)
      : bytes_(bytes), deepestAllowed_(deepestAllowed), scan_(scan) {}

  /// Walks over a dataset.
  void walkDataset(Encoding encoding);
  /// Walks over group 0002: as much as its group length says, or until another group begins.
  void walkMetaInformation(Encoding encoding);

private:
  enum class Kind { kItem, kMetaInformation, kDirectoryRecord, kSequence, kDirectory, kFragments };
  struct Level {
    Kind kind;
    Encoding encoding;
    std::uint64_t begin;
    std::uint32_t length;
    PrivateCreators creators;
  };

  static bool holdsItems(Kind kind) { return kind >= Kind::kSequence; }

  /// Until everything is closed; false where DCMTK stops before.
  bool walk();
  bool beginsLikeMetaInformation();
  std::optional<std::uint32_t> readFirstOfGroup0002(Encoding encoding);
  // Each of these is false where the walk ends.
  bool readElement();
  bool readCreator(const ElementHeader& header, PrivateCreators& creators);
  bool readContent(const ElementHeader& header, Encoding encoding);
  bool readItem();
  bool openSequence(const ElementHeader& header, Encoding encoding);
  bool skipValue(const ElementHeader& header);
  bool notePixelData(const ElementHeader& header);

  void open(Kind kind, Encoding encoding, std::uint32_t length);
  void close();
  [[nodiscard]] bool isInDataset() const;
  [[nodiscard]] bool isUsedUp(const Level& level) const;
  [[nodiscard]] bool isLongerThanItem(const ElementHeader& header, const Level& item) const;
  void noteOverlong(const ElementHeader& header);

  HeaderBytes& bytes_;
  std::size_t deepestAllowed_;
  HeaderScan& scan_;
  std::vector<Level> levels_;
  std::size_t openSequences_ = 0;
};

}  // namespace zr
