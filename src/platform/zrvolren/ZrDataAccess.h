// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtAllocator.h>
#include <ktlib/KtHandable.h>
#include <ktlib/KtHandle.h>
#include <ktlib/KtLibMD5.h>
#include <ktlib/KtPrimType.h>
#include <ktlib/KtVec3l.h>
#include <zrvolren/ZrvolrenApi.h>

/// A block of samples of one type: frames of rows of pixels, each pixel with one or more values.
///
/// Dimensions are (columns, rows, frames) in pixels, strides (pixel, row, frame) in bytes. The
/// values of one pixel are always side by side. A container either wraps memory of its caller,
/// with any strides, or owns memory of its own, which is contiguous: pixel after pixel, row after
/// row, frame after frame, without gaps.
///
/// A container holds no samples (hasData() is false) when a dimension or the number of values is
/// below 1, when the number of bytes does not fit into an unsigned 64-bit number, when there is no
/// memory for it, or when it wraps a null pointer. Nothing is thrown for these.
///
/// Containers are counted by reference and held by KtHandle. One object is used by one thread at a
/// time; only the count is thread-safe.
class ZRVOLREN_API ZrDataAccess : public KtHandableThreaded {
public:
  /// Wraps samples that the caller keeps and frees.
  /// @param allocator not asked: nothing is allocated here
  /// @param dims columns, rows, frames
  /// @param strides bytes from one pixel, row and frame to the next. They may leave gaps, come in
  ///        any order, be 0 (the same samples again) or negative (mirrored); nothing is checked.
  /// @param data the first value of pixel (0, 0, 0), not necessarily the lowest address; aligned
  ///        for the type if it is to be read through typed pointers. It must outlive this object.
  /// @param type type of every value
  /// @param nDataVar values of one pixel
  ZrDataAccess(const KtVec3l& dims, const KtVec3l& strides, void* data, KtPrimType type,
               unsigned nDataVar, const KtAllocator& allocator);

  /// Allocates contiguous samples, all zero, and owns them.
  ///
  /// With an allocator of type 0 (memory that others own) there is nothing to allocate from: the
  /// container has no data.
  ZrDataAccess(const KtVec3l& dims, KtPrimType type, unsigned nDataVar,
               const KtAllocator& allocator);

  ~ZrDataAccess() override;
  ZrDataAccess(const ZrDataAccess&) = delete;
  ZrDataAccess& operator=(const ZrDataAccess&) = delete;

  /// Columns, rows and frames as given at construction, also when there is no data.
  [[nodiscard]] const KtVec3l& dims() const { return dims_; }
  /// Bytes from pixel to pixel, row to row and frame to frame; (0, 0, 0) in a container of its own
  /// memory whose size is 0 or more than pointers can span.
  [[nodiscard]] const KtVec3l& strides() const { return strides_; }
  /// Pixel (0, 0) of frame `z`; null when there is no data or no such frame.
  [[nodiscard]] void* dataPtr(long long z);
  [[nodiscard]] const void* dataPtr(long long z) const;
  /// Whether there are samples that can be read.
  [[nodiscard]] bool hasData() const;
  /// Bytes of all samples without gaps: columns x rows x frames x values x bytes of the type. 0
  /// when a factor is below 1 or the product overflows. It is not 0 just because memory ran out:
  /// ask hasData().
  [[nodiscard]] unsigned long long size() const;
  /// Values of one pixel.
  [[nodiscard]] unsigned nDataVar() const { return nDataVar_; }
  [[nodiscard]] KtPrimType primType() const { return type_; }

  /// Relabels the samples as another type; not one byte is converted or moved.
  ///
  /// The strides stay, so that only a type of the same size means the same layout. A smaller type
  /// reads the first bytes of each pixel. A larger one reads beyond the pixel: a container of its
  /// own memory has no data until it is relabelled back, for a wrapping one the caller must know
  /// what lies there.
  void setPrimType(KtPrimType type);

  /// Puts a deep copy with contiguous samples into `copy`, whatever the strides here.
  ///
  /// A copy that finds no memory, or the copy of a container without data, has no data; dimensions,
  /// type and number of values are copied all the same.
  /// @param copy receives the new container; may be the handle that holds this one
  /// @param allocator as for an owning container: type 1
  void clone(KtHandle<ZrDataAccess>& copy, const KtAllocator& allocator) const;

  /// MD5 over type code, dimensions, number of values and all samples row by row.
  ///
  /// Strides and ownership do not enter: a view and its clone have the same hash. Stable within
  /// one process only.
  [[nodiscard]] KtLib::MD5 hash() const;

private:
  KtVec3l dims_;
  KtVec3l strides_;
  KtPrimType type_;
  unsigned nDataVar_;
  unsigned char* data_ = nullptr;
  unsigned long long ownedBytes_ = 0;  // 0: data_ belongs to somebody else
};
