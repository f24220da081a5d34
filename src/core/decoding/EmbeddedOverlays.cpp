// SPDX-License-Identifier: BSD-3-Clause
// Overlay planes that old images keep in the bits of their samples above Bits Stored. For each of
// the sixteen overlay groups: read its attributes, hold them against the image, pull the plane's
// bit out of every sample of every frame, crop the mask and file it. How masks are cropped and kept
// belongs to ZrOverlayData.
//
// A mask of w x h pixels, P = w rounded up to a multiple of 32:
//
//   word 0            word 1            ...  word P/32 - 1     | word P/32 ...
//   row 0, 0 .. 31    row 0, 32 .. 63   ...  row 0, .. w - 1   | row 1, 0 .. 31
//   bit 0 = leftmost pixel of its word; the bits beyond w - 1 are clear
#include "dicom/ItemValues.h"

#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Zrg {

namespace {

constexpr Uint16 kFirstOverlayGroup = 0x6000;
constexpr Uint16 kLastOverlayGroup = 0x601E;
/// Bits of a word of a mask.
constexpr int kMaskWordBits = std::numeric_limits<
    std::remove_pointer_t<decltype(std::declval<KtBitfield&>().words())>>::digits;

/// What an overlay group says of a plane without data of its own; places and frames from 0.
struct EmbeddedPlane {
  KtVec2i origin;
  KtVec2i size;
  int bitPosition;
  long long firstFrame;
  long long lastFrame;
};

int countOfFrames(DcmItem& item, Uint16 group) {
  return std::max(readInt(item, DcmTagKey(group, 0x0015)).value_or(1), 1);
}

int frameOrigin(DcmItem& item, Uint16 group) {
  return std::max<int>(readUint16(item, DcmTagKey(group, 0x0051)).value_or(1), 1) - 1;
}

KtVec2i planeOrigin(DcmItem& item, Uint16 group) {
  const DcmTagKey overlayOrigin(group, 0x0050);
  const std::optional<Sint16> row = readSint16(item, overlayOrigin, 0);
  const std::optional<Sint16> column = readSint16(item, overlayOrigin, 1);
  return row ? KtVec2i(column.value_or(1) - 1, *row - 1) : KtVec2i(0, 0);
}

std::optional<EmbeddedPlane> readEmbeddedPlane(DcmItem& item, Uint16 group) {
  const std::optional<Uint16> rows = readUint16(item, DcmTagKey(group, 0x0010));
  if (!rows || item.tagExists(DcmTagKey(group, 0x3000))) {
    return std::nullopt;
  }
  const std::optional<Uint16> columns = readUint16(item, DcmTagKey(group, 0x0011));
  const std::optional<Uint16> bitPosition = readUint16(item, DcmTagKey(group, 0x0102));
  if (!columns || !bitPosition) {
    return std::nullopt;
  }
  const long long firstFrame = frameOrigin(item, group);
  return EmbeddedPlane{planeOrigin(item, group),
                       {*columns, *rows},
                       *bitPosition,
                       firstFrame,
                       firstFrame + countOfFrames(item, group) - 1};
}

bool isInside(const EmbeddedPlane& plane, const KtVec3l& image) {
  return plane.origin.x >= 0 && plane.origin.y >= 0 &&
         plane.origin.x + static_cast<long long>(plane.size.x) <= image.x &&
         plane.origin.y + static_cast<long long>(plane.size.y) <= image.y;
}

KtHandle<ZrOverlayData> newOverlayData() {
  const ZrMeta meta(false, true);
  return {new ZrOverlayData(&meta)};
}

template <typename T>
std::uint32_t sampleBit(const char* sample, unsigned int bit) {
  T value = 0;
  std::memcpy(&value, sample, sizeof(T));  // frames may start at odd addresses
  return (std::uint32_t{value} >> bit) & 1U;
}

template <typename T>
std::uint32_t packSamples(const char* samples, int count, unsigned int bit) {
  std::uint32_t word = 0;
  for (int i = 0; i < count; ++i) {
    word |= sampleBit<T>(samples + static_cast<std::size_t>(i) * sizeof(T), bit) << i;
  }
  return word;
}

#if defined(__SSE2__)
// Shifts the wanted bit to the top of each sample, where one instruction collects sixteen of them.
inline __m128i load(const char* bytes) {
  return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(bytes)));
}

template <typename T>
std::uint32_t packSixteen(const char* samples, __m128i shift);

template <>
std::uint32_t packSixteen<unsigned short>(const char* samples, __m128i shift) {
  const __m128i low = _mm_sll_epi16(load(samples), shift);
  const __m128i high = _mm_sll_epi16(load(samples + 16), shift);
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(low, high)));
}

template <>
std::uint32_t packSixteen<unsigned char>(const char* samples, __m128i shift) {
  // Bits that cross from one byte into the next end below its top bit.
  return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_sll_epi16(load(samples), shift)));
}

template <typename T>
std::uint32_t packWord(const char* samples, unsigned int bit) {
  const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(8 * sizeof(T) - 1 - bit));
  return packSixteen<T>(samples, shift) | packSixteen<T>(samples + 16 * sizeof(T), shift) << 16U;
}
#else
template <typename T>
std::uint32_t packWord(const char* samples, unsigned int bit) {
  return packSamples<T>(samples, kMaskWordBits, bit);
}
#endif

template <typename T>
void packRow(const char* samples, int columns, unsigned int bit, std::uint32_t* words) {
  int left = columns;
  for (; left >= kMaskWordBits; left -= kMaskWordBits, samples += kMaskWordBits * sizeof(T)) {
    *words++ = packWord<T>(samples, bit);
  }
  if (left > 0 && columns >= kMaskWordBits) {
    // The last 32 samples of the row, without those that the word before has.
    const int before = kMaskWordBits - left;
    *words = packWord<T>(samples - static_cast<std::size_t>(before) * sizeof(T), bit) >> before;
  } else if (left > 0) {
    *words = packSamples<T>(samples, left, bit);
  }
}

/// Where a rectangle of a frame stands in the slice's memory, in samples; nothing when the memory
/// does not hold all of it.
std::optional<long long> firstSampleOf(const SliceImage& slice, const KtVec2i& origin, int columns,
                                       int rows, int frame) {
  if (frame < 0 || frame >= slice.extent.z) {
    return std::nullopt;
  }
  const long long rowsOfFrame = slice.extent.y * slice.samplesPerPixel;
  const long long first =
      (frame * rowsOfFrame + origin.y) * slice.extent.x + static_cast<long long>(origin.x);
  const long long end = first + (rows - 1LL) * slice.extent.x + columns;
  if (first < 0 || end > slice.extent.z * rowsOfFrame * slice.extent.x) {
    return std::nullopt;
  }
  return first;
}

}  // namespace

void SliceImage::extractEmbeddedOverlays(DcmItem& item, int firstFrame, int lastFrame) {
  KtHandle<ZrOverlayData> found;
  for (Uint16 group = kFirstOverlayGroup; group <= kLastOverlayGroup; group += 2) {
    const std::optional<EmbeddedPlane> plane = readEmbeddedPlane(item, group);
    if (!plane || !isInside(*plane, extent)) {
      continue;
    }
    const auto first = static_cast<int>(std::max<long long>(plane->firstFrame, firstFrame));
    const auto last = static_cast<int>(std::min<long long>(plane->lastFrame, lastFrame));
    if (first > last) {
      continue;
    }
    if (found.isNull()) {
      found = newOverlayData();
    }
    for (int frame = first; frame <= last; ++frame) {
      KtVec2i origin = plane->origin;
      KtVec2i size = plane->size;
      KtBitfield mask;
      if (bytesPerSample == 2) {
        extractEmbeddedOverlay<unsigned short>(origin, size, frame, plane->bitPosition, mask);
      } else {
        extractEmbeddedOverlay<unsigned char>(origin, size, frame, plane->bitPosition, mask);
      }
      ZrOverlayData::cropOverlayData(origin, size, mask);
      if (size.x != 0 && size.y != 0) {
        const int index = found->addOverlayData(origin, size, mask, frame - firstFrame);
        // It can only refuse an index that is not there.
        (void)found->setOverlayGroup(index, frame - firstFrame, group);
      }
    }
  }
  overlays = found;
}

template <typename T>
void SliceImage::extractEmbeddedOverlay(KtVec2i& origin, KtVec2i& size, int frame, int bitPosition,
                                        KtBitfield& mask) {
  const int columns = std::max(size.x, 0);
  const int rows = std::max(size.y, 0);
  const unsigned long wordsPerRow =
      (static_cast<unsigned long>(columns) + kMaskWordBits - 1) / kMaskWordBits;
  size.x = static_cast<int>(wordsPerRow * kMaskWordBits);
  mask.resize(wordsPerRow * kMaskWordBits * static_cast<unsigned long>(rows), KtBitfield::CLEARED);

  const char* const memory = firstSample(*this);
  const unsigned int bit = static_cast<unsigned int>(bitPosition) % kMaskWordBits;
  // Deliberate: the frame is a position in this slice's memory, not shifted by the first frame that
  // was decoded. Test: OverlayExtraction.TakesTheFrameNumberAsThePositionInMemory
  const std::optional<long long> position = firstSampleOf(*this, origin, columns, rows, frame);
  if (memory == nullptr || columns == 0 || rows == 0 || bit >= 8 * sizeof(T) || !position) {
    return;
  }
  const long long bytesPerRow = extent.x * static_cast<long long>(sizeof(T));
  const char* samples = memory + *position * static_cast<long long>(sizeof(T));
  std::uint32_t* words = mask.words();
  for (int row = 0; row < rows; ++row) {
    packRow<T>(samples, columns, bit, words);
    samples += bytesPerRow;
    words += wordsPerRow;
  }
}

template void SliceImage::extractEmbeddedOverlay<unsigned short>(KtVec2i&, KtVec2i&, int, int,
                                                                 KtBitfield&);
template void SliceImage::extractEmbeddedOverlay<unsigned char>(KtVec2i&, KtVec2i&, int, int,
                                                                KtBitfield&);

}  // namespace Zrg
