// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtHandle.h>
#include <zrvolren/ZrOverlayData.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

struct ArrayDescription;
class Image;
struct MemoryBudget;

/// Samples that fill what is no part of the image, `first` to `last`, both included.
struct PaddingRange {
  double first;
  double last;

  bool contains(double sample) const { return sample >= first && sample <= last; }
};

/// What the samples of decoded frames are: the same for all frames of an image.
struct FrameTraits {
  SampleType type = SampleType::kU8;
  std::size_t rows = 0;
  std::size_t columns = 0;
  std::size_t channels = 1;  ///< 1 gray, 3 RGB
  bool monochrome = false;   ///< MONOCHROME1 or MONOCHROME2; everything else is decoded to RGB
  /// The highest value is shown black: MONOCHROME1, unless Presentation LUT Shape says otherwise
  /// (PS3.3 C.7.6.3.1.2, C.11.6.1.2).
  bool darkIsHigh = false;
  bool lossy = false;                 ///< the samples went through a lossy compression
  Values values = Values::kUnsigned;  ///< what the samples are
  double sampleOffset = 0;            ///< what was added to make signed samples unsigned
  bool oneBit = false;                ///< monochrome samples are 0, shown black, or 1, shown white
  /// The padding (Pixel Padding Value and Range Limit, PS3.3 C.7.5.1.1.2) as it occurs among the
  /// decoded samples; nothing where it is not known.
  std::optional<PaddingRange> padding;

  /// That many frames, without their bytes.
  SampleArray layout(std::size_t frames) const {
    return {nullptr, type, frames, rows, columns, channels};
  }
  std::size_t frameBytes() const { return layout(1).frameBytes(); }
};

/// What is known about a set of frames besides their samples. Its frames have indices from 0.
struct FramesRecord {
  FrameTraits traits;
  PerFrameAttributes attributes;  ///< by index; of a series those of the first file alone
  std::size_t firstNumber = 0;    ///< the number in the file that the frame of index 0 has
  /// Numbers in the file of all frames, where they do not follow each other; else empty.
  std::vector<std::size_t> numbers;
  /// Overlays, embedded in the samples or with data of their own (PS3.3 C.9.2), as far as they are
  /// in the image; their frames are numbers in the file. Null when there are none, or none were
  /// asked for.
  KtHandle<ZrOverlayData> overlays;
  std::string name;  ///< of the file, without folders; empty for bytes
  /// ICC profile of colour as the dataset has it (PS3.3 C.11.15), not looked at; empty when there
  /// is none.
  std::vector<unsigned char> iccProfile;

  /// The number in the file that a frame has.
  std::size_t numberOf(std::size_t index) const {
    return numbers.empty() ? firstNumber + index : numbers.at(index);
  }
};

/// What the user must know about the samples of a file, in one line.
struct Remark {
  std::string file;  ///< path as it was handed in
  std::string text;
};

/// Frames of one size and kind, to be looked at one after the other.
class ZRIMAGING_API Frames {
public:
  virtual ~Frames() = default;

  virtual const FramesRecord& record() const = 0;

  /// Number of frames.
  virtual std::size_t count() const = 0;

  /// One frame, by its index; its samples stay valid until the next call.
  /// @throws Error when it does not decode
  virtual SampleArray frame(std::size_t index) = 0;

  /// What the user must know about the frames decoded so far; nothing the next time.
  virtual std::vector<Remark> takeRemarks() = 0;
};

/// All frames of an image.
///
/// Monochrome frames, and a single one, are decoded at once and stay in memory, all with their
/// overlays. Several colour frames are decoded one by one when they are asked for,
/// into memory for one frame.
/// @throws Error when the image, or the first frame of a colour image, does not decode or takes
///         more memory than there may be; of more colour frames than 65,535 also when the last one
///         does not
[[nodiscard]] ZRIMAGING_API std::unique_ptr<Frames> framesOf(Image image,
                                                             const MemoryBudget& memory);

/// What is known of the frames of an image, whose samples nobody wants to keep.
struct FramesDescription {
  FramesRecord record;
  std::vector<Remark> remarks;  ///< what the user must know about the frames that were decoded
};

/// Judges whether framesOf() would deliver an image, and tells what it would say of the frames.
///
/// Monochrome frames that are not compressed and hold no overlay bits are judged by their
/// attributes and the size of the pixel data alone, of which nothing is read. All others are
/// decoded.
/// @throws Error as framesOf()
[[nodiscard]] ZRIMAGING_API FramesDescription describeFrames(Image image,
                                                             const MemoryBudget& memory);

/// The images of a series, one frame in each file, as they are shown: see Image::forDisplay. Each
/// is decoded when it is asked for.
/// @param files  at least one, in the order of the frames
/// @param memory that the frames in memory at a time may take
/// @throws Error when the first file does not decode. Frames::frame names the file in its errors,
///         also for one that has several frames, or pixels or a rescale line other than those of
///         the first file.
[[nodiscard]] ZRIMAGING_API std::unique_ptr<Frames> framesOfSeries(
    std::vector<std::filesystem::path> files, const MemoryBudget& memory);

/// The line from samples of a frame, as they were decoded, to modality values (PS3.3 C.11.1);
/// nothing when it is not known, or a table maps samples that were left as they are stored.
[[nodiscard]] ZRIMAGING_API std::optional<RescaleLine> lineOfSamples(const FramesRecord& record,
                                                                     std::size_t index);

/// The frames in the words that formats write (ArrayDescription): spacings, name, and for
/// monochrome frames the line to modality values and the first window. Lines and windows that
/// differ between the frames are lists under names of their own, so that nobody takes the first for
/// all:
///
///     frame spacing         mm from each frame to the next, negative against row x column
///                           direction
///     modality slope        of the line from samples to modality values
///     modality intercept    likewise
///     modality unit         left out when the dataset does not say it
///     window centre, width  likewise
///
/// In the plural ("modality slopes") they have a value for each frame. What is not known is
/// "unknown".
/// @param record  of the image
/// @param indices the frames of the array, in its order
[[nodiscard]] ZRIMAGING_API ArrayDescription describeArray(const FramesRecord& record,
                                                           const std::vector<std::size_t>& indices);

}  // namespace zr
