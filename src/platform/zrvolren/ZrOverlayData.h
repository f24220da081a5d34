// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtBitfield.h>
#include <ktlib/KtHandable.h>
#include <ktlib/KtResult.h>
#include <ktlib/KtVec2i.h>
#include <zrvolren/ZrMeta.h>
#include <zrvolren/ZrvolrenApi.h>

#include <vector>

/// The overlay planes of an image: one-bit masks, each with its place, frame and overlay group.
///
/// A mask of w columns and h rows holds h rows of w bits, each row beginning at a new 32-bit word;
/// the first pixel of a word is its least significant bit. Places are 0-based image coordinates
/// (x = column, y = row).
///
/// Getters take the index that addOverlayData() gave; for any other index they answer a neutral
/// value, named with each of them.
/// @see PS3.3 C.9.2 (Overlay Plane Module)
class ZRVOLREN_API ZrOverlayData : public KtHandableThreaded {
public:
  /// @param meta copied, may be destroyed right after; null means neither stored nor derived
  explicit ZrOverlayData(const ZrMeta* meta);
  ~ZrOverlayData() override;
  ZrOverlayData(const ZrOverlayData&) = delete;
  ZrOverlayData& operator=(const ZrOverlayData&) = delete;

  /// Shrinks a mask to the tight box around its set bits.
  ///
  /// @param origin moved to the box's first column and row; left alone when no bit is set
  /// @param size columns and rows of the mask at entry, of the box at return; (0, 0) when no bit is
  ///        set or a component is below 1. A width that is not a multiple of 32 is fine: the bits
  ///        between it and the next whole word do not count.
  /// @param mask repacked to rows of whole words of the new width, empty when no bit is set. Rows
  ///        that it is too short to hold count as clear.
  static void cropOverlayData(KtVec2i& origin, KtVec2i& size, KtBitfield& mask);

  /// Stores a copy of a mask with its place, overlay group 0 and the 0-based frame that it lies on.
  /// See origin(), size(), mask() and frame() for the units.
  /// @return its index: 0, 1, 2, ... in order of adding
  int addOverlayData(const KtVec2i& origin, const KtVec2i& size, const KtBitfield& mask, int frame);

  /// Records the DICOM overlay group (0x6000, 0x6002, ..., 0x601E) of a stored mask.
  /// @return bad, with nothing changed, when there is no such index or its mask is on another
  ///         frame. Not [[nodiscard]]: who has just added the mask knows that both are right.
  KtResult setOverlayGroup(int index, int frame, unsigned short group);

  [[nodiscard]] int count() const;
  /// Column and row of the mask's first pixel; (0, 0) for a wrong index.
  [[nodiscard]] KtVec2i origin(int index) const;
  /// Columns and rows; (0, 0) for a wrong index.
  [[nodiscard]] KtVec2i size(int index) const;
  /// The mask, valid until the next one is added; an empty one for a wrong index.
  [[nodiscard]] const KtBitfield& mask(int index) const;
  /// Frame; -1 for a wrong index.
  [[nodiscard]] int frame(int index) const;
  /// Overlay group; 0 while none is set and for a wrong index.
  [[nodiscard]] unsigned short group(int index) const;
  /// Whether the overlay covers this pixel of the image; false outside of the mask and for a wrong
  /// index.
  [[nodiscard]] bool test(int index, int column, int row) const;

  [[nodiscard]] const ZrMeta& meta() const { return meta_; }

private:
  struct Overlay {
    KtVec2i origin;
    KtVec2i size;
    KtBitfield mask;
    int frame;
    unsigned short group;
  };
  [[nodiscard]] const Overlay* find(int index) const;

  ZrMeta meta_;
  std::vector<Overlay> overlays_;
};
