// SPDX-License-Identifier: BSD-3-Clause
// Overlay planes. Cropping works on whole 32-bit words: one pass ORs all rows into a single row of
// words and notes the first and last row with a set bit, which gives the tight box; a second pass
// shifts each row of the box to its new beginning.

#include <ktlib/KtBitfield.h>
#include <zrvolren/ZrOverlayData.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

constexpr int kBadIndex = 1;  // code of the results made here

std::size_t wordsOfRow(std::size_t columns) {
  return (columns + KtBitfield::kWordBits - 1) / KtBitfield::kWordBits;
}

// A mask seen as rows of whole words.
struct MaskRows {
  std::size_t columns;
  std::size_t count;
  std::size_t words;  // of each row

  // The bits of word `word` that are columns: all, but for those behind the last column.
  [[nodiscard]] std::uint32_t columnsOfWord(std::size_t word) const {
    const std::size_t unused = word + 1 == words ? words * KtBitfield::kWordBits - columns : 0;
    return ~std::uint32_t{0} >> unused;
  }
};

// Makes the mask hold exactly the words of its rows, clear where it was too short, and drops the
// columns and rows that lie wholly beyond it: a size that promises far more than there is costs no
// memory. Both size components and the mask's length are above 0.
MaskRows fitToRows(const KtVec2i& size, KtBitfield& mask) {
  MaskRows rows{};
  rows.columns = std::min<std::size_t>(static_cast<std::size_t>(size.x), mask.size());
  rows.words = wordsOfRow(rows.columns);
  const std::size_t rowsHeld = (mask.wordCount() + rows.words - 1) / rows.words;
  rows.count = std::min(static_cast<std::size_t>(size.y), rowsHeld);
  mask.resize(rows.count * rows.words * KtBitfield::kWordBits, KtBitfield::KEEP);
  return rows;
}

// The tight box around set bits, in columns and rows of the mask.
struct BitBox {
  std::size_t column = 0;
  std::size_t row = 0;
  std::size_t width = 0;  // 0: no bit is set
  std::size_t height = 0;
};

// Columns that have a set bit in any row, as one row of words; notes first row and height in `box`.
std::vector<std::uint32_t> mergeRows(const MaskRows& rows, const KtBitfield& mask, BitBox& box) {
  std::vector<std::uint32_t> merged(rows.words, 0);
  const std::uint32_t* words = mask.words();
  for (std::size_t row = 0; row < rows.count; ++row, words += rows.words) {
    std::uint32_t any = 0;
    for (std::size_t i = 0; i < rows.words; ++i) {
      const std::uint32_t bits = words[i] & rows.columnsOfWord(i);
      merged[i] |= bits;
      any |= bits;
    }
    if (any != 0) {
      box.row = box.height == 0 ? row : box.row;
      box.height = row - box.row + 1;
    }
  }
  return merged;
}

BitBox findBox(const MaskRows& rows, const KtBitfield& mask) {
  BitBox box;
  const std::vector<std::uint32_t> merged = mergeRows(rows, mask, box);
  const auto isSet = [](std::uint32_t word) { return word != 0; };
  const auto first = std::find_if(merged.begin(), merged.end(), isSet);
  if (first == merged.end()) {
    return box;
  }
  const auto last = std::find_if(merged.rbegin(), merged.rend(), isSet).base() - 1;
  const auto bitOf = [&merged](auto word) {
    return static_cast<std::size_t>(word - merged.begin()) * KtBitfield::kWordBits;
  };
  box.column = bitOf(first) + static_cast<std::size_t>(std::countr_zero(*first));
  const std::size_t end = bitOf(last) + static_cast<std::size_t>(std::bit_width(*last));
  box.width = end - box.column;
  return box;
}

// The box alone, as rows of whole words of its own width.
KtBitfield cutOut(const MaskRows& rows, const KtBitfield& mask, const BitBox& box) {
  const std::size_t boxWords = wordsOfRow(box.width);
  const MaskRows boxRows{box.width, box.height, boxWords};
  KtBitfield packed;
  packed.resize(box.height * boxWords * KtBitfield::kWordBits, KtBitfield::CLEARED);

  const std::size_t firstWord = box.column / KtBitfield::kWordBits;
  const auto shift = static_cast<unsigned>(box.column % KtBitfield::kWordBits);
  const std::uint32_t* source = mask.words() + box.row * rows.words;
  std::uint32_t* target = packed.words();
  for (std::size_t row = 0; row < box.height; ++row) {
    for (std::size_t i = 0; i < boxWords; ++i) {
      const std::size_t word = firstWord + i;
      const std::uint64_t next = word + 1 < rows.words ? source[word + 1] : 0;
      const std::uint64_t pair = next << KtBitfield::kWordBits | source[word];
      target[i] = static_cast<std::uint32_t>(pair >> shift) & boxRows.columnsOfWord(i);
    }
    source += rows.words;
    target += boxWords;
  }
  return packed;
}

}  // namespace

ZrOverlayData::ZrOverlayData(const ZrMeta* meta)
    : meta_(meta == nullptr ? ZrMeta(false, false) : *meta) {}

ZrOverlayData::~ZrOverlayData() = default;

void ZrOverlayData::cropOverlayData(KtVec2i& origin, KtVec2i& size, KtBitfield& mask) {
  BitBox box;
  if (size.x > 0 && size.y > 0 && mask.size() > 0) {
    const MaskRows rows = fitToRows(size, mask);
    box = findBox(rows, mask);
    if (box.width > 0) {
      mask = cutOut(rows, mask, box);
      // No wider than the size that came in, so both fit; unsigned, since an origin may be
      // anything.
      origin.x = static_cast<int>(static_cast<unsigned>(origin.x) + box.column);
      origin.y = static_cast<int>(static_cast<unsigned>(origin.y) + box.row);
    }
  }
  if (box.width == 0) {
    mask.resize(0, KtBitfield::CLEARED);
  }
  size = KtVec2i(static_cast<int>(box.width), static_cast<int>(box.height));
}

int ZrOverlayData::addOverlayData(const KtVec2i& origin, const KtVec2i& size,
                                  const KtBitfield& mask, int frame) {
  overlays_.push_back(Overlay{origin, size, mask, frame, 0});
  return count() - 1;
}

KtResult ZrOverlayData::setOverlayGroup(int index, int frame, unsigned short group) {
  if (find(index) == nullptr || find(index)->frame != frame) {
    return KtResult::makeBad(kBadIndex);
  }
  overlays_[static_cast<std::size_t>(index)].group = group;
  return {};
}

int ZrOverlayData::count() const {
  return static_cast<int>(overlays_.size());
}

const ZrOverlayData::Overlay* ZrOverlayData::find(int index) const {
  return index >= 0 && index < count() ? &overlays_[static_cast<std::size_t>(index)] : nullptr;
}

KtVec2i ZrOverlayData::origin(int index) const {
  const Overlay* const overlay = find(index);
  return overlay == nullptr ? KtVec2i() : overlay->origin;
}

KtVec2i ZrOverlayData::size(int index) const {
  const Overlay* const overlay = find(index);
  return overlay == nullptr ? KtVec2i() : overlay->size;
}

const KtBitfield& ZrOverlayData::mask(int index) const {
  static const KtBitfield kNoMask;
  const Overlay* const overlay = find(index);
  return overlay == nullptr ? kNoMask : overlay->mask;
}

int ZrOverlayData::frame(int index) const {
  const Overlay* const overlay = find(index);
  return overlay == nullptr ? -1 : overlay->frame;
}

unsigned short ZrOverlayData::group(int index) const {
  const Overlay* const overlay = find(index);
  return overlay == nullptr ? static_cast<unsigned short>(0) : overlay->group;
}

bool ZrOverlayData::test(int index, int column, int row) const {
  const Overlay* const overlay = find(index);
  if (overlay == nullptr) {
    return false;
  }
  const long long x = static_cast<long long>(column) - overlay->origin.x;
  const long long y = static_cast<long long>(row) - overlay->origin.y;
  if (x < 0 || y < 0 || x >= overlay->size.x || y >= overlay->size.y) {
    return false;
  }
  const std::size_t rowBits =
      wordsOfRow(static_cast<std::size_t>(overlay->size.x)) * KtBitfield::kWordBits;
  return overlay->mask.test(static_cast<std::size_t>(y) * rowBits + static_cast<std::size_t>(x));
}
