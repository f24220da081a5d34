// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtBitfield.h>
#include <ktlib/KtDArray.h>
#include <ktlib/KtHandle.h>
#include <ktlib/KtVec2f.h>
#include <ktlib/KtVec2i.h>
#include <ktlib/KtVec3l.h>
#include <zrdcmexport/ZrdcmexportApi.h>
#include <zrvolren/ZrOverlayData.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class DcmDataset;
class DcmItem;

/// Decoded images, volumes split from multi-frame datasets, and the questions to ask beforehand.
namespace Zrg {

/// One decoded image: the samples of one frame, a range of frames or all frames of a DICOM item,
/// with the attributes that are needed to show and to measure it.
///
/// The samples of frame k start at pixel memory + `frameOffset` + k x (bytes of a frame), where the
/// pixel memory is `data` when that is not null and `buffer` otherwise. Inside a frame they stand
/// row by row and pixel by pixel; the three samples of a colour pixel are adjacent.
///
/// Copies are cheap: they share the pixel memory and the overlays. `buffer` is freed with its last
/// copy; what `data` points at belongs to somebody else (the caller's target, or the pixel data
/// element of the decoded item), who must outlive every copy. Moving copies.
///
/// A pair of numbers that is not set is NaN in both components. One slice is used by one thread at
/// a time.
class ZRDCMEXPORT_API SliceImage {
public:
  /// Pixel memory that the slice owns: from `malloc`, released by `free` with the last copy.
  std::shared_ptr<char> buffer;

  /// First byte of the pixel memory: the caller's target, the samples of the item's pixel data
  /// element, or (after a range of monochrome frames) the start of `buffer`. Never owned.
  char* data = nullptr;

  /// True after a successful decode.
  bool valid = false;

  /// Bytes from the start of the pixel memory to the first sample of this slice. Honoured where
  /// colour is decoded and where overlays are extracted. It counts to 4 GiB: from 2 GiB on it is
  /// negative here and means what `static_cast<std::uint32_t>(frameOffset)` says.
  int frameOffset = 0;

  /// Bytes of one sample: 1 or 2 for monochrome (Bits Allocated in whole bytes), 1 for colour.
  unsigned int bytesPerSample = 1;

  /// Columns, rows and number of frames held. Number of Frames counts modulo 65,536.
  KtVec3l extent{0, 0, 0};

  /// 1 for monochrome, 3 for colour (interleaved RGB).
  unsigned int samplesPerPixel = 1;

  /// The image was lossy-compressed at some time.
  bool lossy = false;

  /// (rescale slope, rescale intercept). @see PS3.3 C.11.1 (Modality LUT Module)
  KtVec2f rescale;

  /// What was added to every stored sample to make signed samples unsigned.
  float sampleOffset;

  /// (window centre, window width) as the dataset has them. @see PS3.3 C.11.2.1.2 (window)
  KtVec2f voiWindow;

  /// (column spacing, row spacing) in the dataset's units: the distance between the centres of
  /// neighbouring columns comes first, unlike in the attribute. @see PS3.3 10.7.1.3 (Pixel Spacing)
  KtVec2f pixelSpacing;

  /// Overlays found in the unused high bits of the samples; null when there are none.
  KtHandle<ZrOverlayData> overlays;

  /// Whether decoding isolates the stored bits, applies the modality LUT and makes signed samples
  /// unsigned. When false the samples stay as they are stored.
  bool convertSamples = true;

  /// A slice without samples: not `valid`, its pairs and `sampleOffset` NaN.
  SliceImage();
  SliceImage(const SliceImage& other) = default;
  SliceImage& operator=(const SliceImage& other) = default;
  /// Lets go of the overlays, then of `buffer`.
  virtual ~SliceImage();

  /// Decodes the pixel data of an item, native or compressed (RLE, JPEG, JPEG-LS), into this slice.
  ///
  /// Monochrome frames are delivered with 1 or 2 bytes a sample; every other photometric
  /// interpretation is rendered to interleaved RGB with 8 bits a sample. The codecs are registered
  /// with DCMTK on every call.
  ///
  /// @param item       dataset or sequence item with the attributes of the image. All frames of a
  ///                   monochrome image stay in its pixel data element, which is decompressed in
  ///                   place: `data` points there and the item must outlive the slice and its
  ///                   copies. A colour item without Planar Configuration gains (0028,0006) = 0.
  /// @param errorText  cleared at entry; on failure one fixed English message.
  /// @param firstFrame 0-based index of the first frame, clamped to the frames there are. Negative:
  ///                   all frames. A range of compressed colour frames that the decoder hands out
  ///                   as RGB always gets the first frame of the dataset.
  /// @param lastFrame  0-based index of the last frame, clamped into [first frame, last frame there
  ///                   is]; ignored when `firstFrame` is negative.
  /// @param target     where to put the samples, owned by the caller; null lets the slice allocate
  ///                   `buffer`. Not used for all frames of a monochrome image, nor for colour when
  ///                   the slice has `data` or `buffer` from before: they are written into as they
  ///                   are, and nobody checks their size. Take a fresh slice for every image.
  /// @param targetSize bytes of `target`. When they do not suffice, `target` stays untouched.
  /// @return true when the slice was filled; `valid` then is true as well. After false `valid` is
  ///         false, and fields that were reached before the failure hold new values.
  /// @throws std::bad_alloc from creating DCMTK's image objects, after `errorText` was set, and
  ///         from whatever else finds no memory; other exceptions of DCMTK pass through. The slice
  ///         can be used again. Of the item DCMTK may have lost attributes then: take it for
  ///         damaged.
  /// @see PS3.3 C.7.6.3 (Image Pixel Module), PS3.5 8 and Annex A (encoding of pixel data)
  [[nodiscard]] bool process(DcmItem& item, std::string& errorText, int firstFrame, int lastFrame,
                             void* target, unsigned long targetSize);

  /// Places the slice at a frame of its pixel memory: stores the six arguments in the fields of
  /// their names and sets `rescale`, `sampleOffset`, `voiWindow` and `pixelSpacing` to NaN, until
  /// the slice's owner sets them again. `buffer`, `data`, `overlays` and `convertSamples` stay.
  void setFrameOffset(int newFrameOffset, unsigned int newBytesPerSample,
                      unsigned int newSamplesPerPixel, const KtVec3l& newExtent, bool isLossy,
                      bool isValid);

  /// Line that maps samples as they stand in memory to modality values (for CT: Hounsfield units).
  ///
  /// @return (slope, intercept); the shift that made signed samples unsigned is folded into the
  ///         intercept. NaN components where `rescale` or `sampleOffset` is NaN.
  /// @see PS3.3 C.11.1 (Modality LUT Module)
  [[nodiscard]] KtVec2f result_MOD_LUT() const;

  /// Window to show the image with.
  ///
  /// @return `voiWindow` when both its components are numbers, otherwise the default for the size
  ///         of the samples: (128, 256) for 1 byte, (2000, 4000) for more.
  /// @see PS3.3 C.11.2.1.2 (Window Center and Window Width)
  [[nodiscard]] KtVec2f result_VOI_LUT() const;

  /// Replaces `overlays` by the overlay planes that stand in single bits of the samples; by null
  /// when the item describes none.
  ///
  /// Groups with Overlay Data of their own, groups that lack an attribute and planes that leave the
  /// image are passed over. Each mask is cropped to the box of its set bits and recorded with its
  /// group and frame; one without set bits is not recorded. The samples are not changed.
  /// @param item       the item that the samples came from; only its attributes are read.
  /// @param firstFrame 0-based dataset frame of the first samples; recorded frames count from it.
  ///                   The bits are looked up at the dataset's frame number, so that masks are
  ///                   right only where the samples begin with frame 0.
  /// @param lastFrame  0-based dataset frame of the last samples.
  /// @see PS3.3 C.9.2 (Overlay Plane Module), PS3.5 8.1.2 (overlay data in unused bits)
  void extractEmbeddedOverlays(DcmItem& item, int firstFrame, int lastFrame);

  /// Copies one bit of every sample of a rectangle into a mask of one bit a pixel.
  ///
  /// @tparam T          type of the samples: `unsigned short` or `unsigned char`.
  /// @param origin      0-based column and row of the rectangle; unchanged.
  /// @param size        columns and rows of the rectangle; on return the columns are rounded up
  ///                    to a multiple of 32, which is the width of the mask.
  /// @param frame       position of the frame in the slice's memory, from 0. A frame that the slice
  ///                    does not hold (`extent` z and beyond) is not read: the mask stays clear.
  /// @param bitPosition number of the bit, 0 the lowest; taken modulo 32.
  /// @param mask        receives the bits: each row starts at a new 32-bit word, the first pixel
  ///                    of a word is its lowest bit, bits beyond the rectangle are clear.
  template <typename T>
  void extractEmbeddedOverlay(KtVec2i& origin, KtVec2i& size, int frame, int bitPosition,
                              KtBitfield& mask);
};

/// The first sample of a slice, wherever its pixel memory is; null when it has none.
///
/// The memory belongs to whom the slice says, see SliceImage; frame k follows k frames later.
[[nodiscard]] inline char* firstSample(const SliceImage& slice) {
  char* const memory = slice.data != nullptr ? slice.data : slice.buffer.get();
  // An offset from 2 GiB on is negative in the field.
  return memory != nullptr ? memory + static_cast<std::uint32_t>(slice.frameOffset) : nullptr;
}

extern template ZRDCMEXPORT_API void SliceImage::extractEmbeddedOverlay<unsigned short>(
    KtVec2i& origin, KtVec2i& size, int frame, int bitPosition, KtBitfield& mask);
extern template ZRDCMEXPORT_API void SliceImage::extractEmbeddedOverlay<unsigned char>(
    KtVec2i& origin, KtVec2i& size, int frame, int bitPosition, KtBitfield& mask);

/// The volumes of a multi-frame dataset: per volume its slices in order and, beside every slice,
/// the number of the dataset frame that it came from.
///
/// All slices share one pixel memory and differ in their `frameOffset`. Slices of a monochrome
/// dataset point into the dataset's pixel data element and must not outlive the dataset.
///
/// `volume` arguments are not checked: they must lie in 0 .. numVolumes() - 1. One container is
/// used by one thread at a time.
class ZRDCMEXPORT_API MultiFrameImage {
public:
  /// An empty container. `convertSamples` is handed to the slice that is decoded and to all slices
  /// filed from it, see SliceImage::convertSamples.
  explicit MultiFrameImage(bool convertSamples);
  MultiFrameImage(const MultiFrameImage& other) = default;
  MultiFrameImage& operator=(const MultiFrameImage& other) = default;
  virtual ~MultiFrameImage();

  /// Decodes all frames of a dataset once and files them; what the container held before is
  /// dropped.
  ///
  /// Which frame goes where follows from the Frame Increment Pointer: NM slice vectors and gated NM
  /// vectors (volumes ordered by time slot, then R-R interval) order the frames by their slice
  /// number; spacing, frame time and RT dose grid pointers give one volume. Splitting needs a
  /// non-zero Spacing Between Slices or a regular Grid Frame Offset Vector, and one sample a pixel.
  ///
  /// @param dataset     its pixel data element is decompressed in place; must outlive the slices.
  /// Number of Frames beyond 65,535 is refused: decoding looks at its low 16 bits and would deliver
  /// fewer. readFrameOrder (ZrFrameOrder.h) says why a dataset does not split.
  ///
  /// @param errorText   what the decoder says of a failure; untouched when the failure comes
  ///                    before, as every refusal to split does: empty it before the call.
  /// @param splitFrames true files one slice per frame; false files all frames as one slice of one
  ///                    volume.
  /// @return true when the container was filled. After false its volumes are not to be used.
  ///         Running out of memory gives false, and may have cost the dataset attributes, see
  ///         SliceImage::process; other exceptions of DCMTK pass through.
  /// @see PS3.3 C.7.6.6 (Multi-frame), C.8.4.8.1.1 (NM frame vectors), C.8.8.3.2 (dose grid)
  [[nodiscard]] bool process(DcmDataset& dataset, std::string& errorText, bool splitFrames);

  /// Leaves `count` volumes without slices, also when there were as many before.
  void setNumberOfVolumes(unsigned int count);

  /// Appends a copy of `image`, placed at one frame, to a volume.
  ///
  /// @param volume      0-based index of the volume.
  /// @param frameOffset bytes from the start of the shared pixel memory to the frame.
  /// @param image       gives pixel memory, columns, rows, sample layout and lossy flag. The copy
  ///                    holds one frame, is valid, and carries no rescale, window or spacing.
  /// @param frameNumber 0-based index of the frame in the dataset.
  void addImage(int volume, int frameOffset, SliceImage& image, unsigned int frameNumber);

  /// Reverses the order of the slices of a volume.
  ///
  /// Frame numbers stay where they are: getFrameNumber(volume, i) still answers for the slice that
  /// stood at position i before, which now stands at numSlices(volume) - 1 - i.
  void reverseOrder(int volume);

  /// Copies a slice to `image`. Returns false, `image` unchanged, when there is no slice `index`.
  /// A slice carries no rescale, window or spacing, see addImage.
  [[nodiscard]] bool getImage(int volume, unsigned int index, SliceImage& image);

  /// Frame number filed at a position, 0-based. Returns false, `frameNumber` unchanged, when there
  /// is no position `index`.
  [[nodiscard]] bool getFrameNumber(int volume, unsigned int index, unsigned int& frameNumber);

  /// Number of slices of a volume.
  [[nodiscard]] unsigned int numSlices(int volume);
  /// Number of Frames as process() found it last.
  [[nodiscard]] unsigned int numFrames();
  /// Number of volumes.
  [[nodiscard]] unsigned int numVolumes();

  /// True when the slice spacing was negative in the last dataset that had one: its slices run
  /// against the volume's direction. A dataset without a usable spacing changes nothing.
  [[nodiscard]] bool isReversed();

  /// Sets what lossyCompression() answers until the next process().
  void setLossyCompression(unsigned int lossyCompression);
  /// 1 when the decoded dataset was lossy-compressed at some time, else 0.
  [[nodiscard]] unsigned int lossyCompression();

  /// Sets what bytesPerPixel() answers until the next process().
  void setBytesPerPixel(unsigned int bytesPerPixel);
  /// Despite its name, bytes of one sample of the decoded pixel memory; 2 before anything was
  /// decoded.
  [[nodiscard]] unsigned int bytesPerPixel();

private:
  bool decodeAllFrames(DcmDataset& dataset, std::string& errorText);
  void fileVolumes(const std::vector<std::vector<int>>& framesOfVolumes);
  static unsigned int storedSampleBytes(unsigned int bytesPerSample);

  KtDArray<KtDArray<SliceImage>> volumes_;
  KtDArray<KtDArray<unsigned int>> frameNumbers_;
  unsigned int bytesPerPixel_ = 2;
  unsigned int lossyCompression_ = 0;
  unsigned int numFrames_ = 0;
  SliceImage templateImage_;
  bool reversed_ = false;
};

/// Whether an item holds several frames: it has a Frame Increment Pointer, be it in a nested item
/// only, and a Number of Frames of at least 2. The item is only read.
/// @see PS3.3 C.7.6.6 (Multi-frame Module)
[[nodiscard]] ZRDCMEXPORT_API bool isMultiFrame(DcmItem& item);

/// Whether the frames of a multi-frame item form a volume: it has Spacing Between Slices, be it in
/// a nested item only, or a Grid Frame Offset Vector at its top level. The item is only read.
/// @see PS3.3 C.8.8.3.2 (Grid Frame Offset Vector)
[[nodiscard]] ZRDCMEXPORT_API bool isMultiFrameVolume(DcmItem& item);

/// Whether an item is an enhanced object: an enhanced SOP class, with Number of Frames (of whatever
/// value) and Per-frame Functional Groups at its top level. The item is only read.
/// @see PS3.3 C.7.6.16 (Multi-frame Functional Groups Module)
[[nodiscard]] ZRDCMEXPORT_API bool isEnhancedDicom(DcmItem& item);

/// Whether a SOP Class UID names one of the storage classes that count as enhanced. The text is
/// compared exactly, padding included; null gives false.
/// @see PS3.4 B.5 (standard SOP classes)
[[nodiscard]] ZRDCMEXPORT_API bool isEnhancedDicomSOPClassUID(const char* sopClassUID);

}  // namespace Zrg
