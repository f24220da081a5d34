// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class File;
struct MemoryBudget;

/// Frames `first` to `last`, both included, 0-based.
struct FrameRange {
  std::size_t first;
  std::size_t last;

  std::size_t count() const { return last - first + 1; }
};

/// Reads "A" or "A-B"; nothing when the text is neither or B is below A.
[[nodiscard]] ZRIMAGING_API std::optional<FrameRange> parseFrameRange(const std::string& text);

/// Reads a list such as "0,5,10-19", in its order; nothing when a part of it is no range.
[[nodiscard]] ZRIMAGING_API std::optional<std::vector<FrameRange>> parseFrameRanges(
    const std::string& text);

/// What to decode, and how.
struct DecodeRequest {
  std::optional<FrameRange> frames;  ///< numbers in the file; all frames when not set
  Values values = Values::kSamples;  ///< what the samples are to be
  bool overlays = false;             ///< read the overlays, too: FramesRecord::overlays
};

/// Frames that are decoded and in memory.
class ZRIMAGING_API DecodedFrames final : public Frames {
public:
  /// @param record  what is known of the frames
  /// @param samples all frames of the record, one after the other
  /// @param memory  what keeps the samples
  /// @param remarks what the user must know about the samples
  DecodedFrames(FramesRecord record, const SampleArray& samples, std::shared_ptr<const void> memory,
                std::vector<Remark> remarks);

  const FramesRecord& record() const override { return record_; }
  std::size_t count() const override { return samples_.frames; }
  SampleArray frame(std::size_t index) override { return samples_.frame(index); }
  std::vector<Remark> takeRemarks() override;

  /// All frames; the samples stay as long as somebody holds `memory`.
  const SampleArray& samples() const { return samples_; }
  const std::shared_ptr<const void>& memory() const { return memory_; }

  /// The frames' numbers in the file, when they follow each other: FramesRecord::numberOf() knows
  /// any others.
  FrameRange numbers() const {
    return {record_.firstNumber, record_.firstNumber + samples_.frames - 1};
  }

private:
  FramesRecord record_;
  SampleArray samples_;
  std::shared_ptr<const void> memory_;
  std::vector<Remark> remarks_;
};

/// An image in a file: any of its frames is decoded at the cost of that frame, any number of times.
///
/// What the samples are is asked for: see Values. By default they are the stored bits alone with
/// their sign, in containers of 8, 16 or 32 bits or floating-point numbers as the file has them.
class ZRIMAGING_API Image {
public:
  /// Takes the file. Nothing is decoded.
  explicit Image(File file);
  ~Image();
  Image(Image&& other) noexcept;
  Image& operator=(Image&& other) noexcept;

  /// The same for an image that is to be shown: a modality LUT that is not meant for display is
  /// taken out of the dataset (PS3.3 C.8.7.1.1.2: X-ray angiography and fluoroscopy).
  static Image forDisplay(File file);

  const File& file() const { return *file_; }

  /// What of the dataset was repaired so that it decodes, in lines for users; decoding tells it
  /// among its remarks. Repairs are made where there is no doubt what is meant.
  const std::vector<Remark>& repairs() const { return repairs_; }

  /// Number of Frames, in full; how many frames the pixel data holds is not looked at.
  std::size_t frameCount() const;

  /// What the dataset says of one frame.
  /// @param number 0-based
  /// @throws Error NoSuchFrame
  const FrameAttributes& frame(std::size_t number) const;

  /// What decoding will deliver.
  /// @throws Error when the attributes do not make an image that can be decoded
  FrameTraits traits(Values values = Values::kSamples) const;

  /// The values that windows and VOI tables are applied to: kUnsigned, or kSamples of
  /// floating-point numbers, which have no unsigned form.
  Values valuesToShow() const;

  /// Decodes frames into memory of their own, contiguous.
  /// @throws Error when there are no such frames, when they do not decode, or take more memory than
  ///         there may be
  DecodedFrames decode(const DecodeRequest& request, const MemoryBudget& memory) const;

  /// The same for several ranges, in their order. Memory is taken for the frames alone, and for
  /// overlays embedded in the samples besides for all frames up to the last one.
  /// @param ranges  at least one; they decide instead of DecodeRequest::frames
  /// @param request how to decode
  /// @param memory  that decoding may take
  DecodedFrames decode(const std::vector<FrameRange>& ranges, const DecodeRequest& request,
                       const MemoryBudget& memory) const;

  /// Decodes frames into memory of the caller. Overlays are not read.
  /// @param request which frames, and how
  /// @param memory  that decoding may take
  /// @param target receives count x rows x columns x channels samples; owned by the caller
  /// @param size   bytes of `target`
  /// @return what the user must know about the samples
  /// @throws Error as above, and TooLarge when they do not fit. The target may then hold anything.
  std::vector<Remark> decodeInto(const DecodeRequest& request, const MemoryBudget& memory,
                                 void* target, std::size_t size) const;

private:
  DecodedFrames shown(DecodedFrames decoded, const MemoryBudget& memory) const;
  const PerFrameAttributes& attributesOf(std::size_t frames) const;

  std::unique_ptr<File> file_;
  std::vector<Remark> repairs_;
  mutable PerFrameAttributes attributes_;  ///< of as many frames as were asked for so far
};

}  // namespace zr
