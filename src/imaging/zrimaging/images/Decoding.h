// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Frames.h"
#include "zrimaging/Image.h"
#include "zrimaging/images/FrameDecoder.h"

#include <zrdcmexport/ZrSamples.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zr {

class File;
struct MemoryBudget;

/// One go at decoding frames of an image: what is to be decoded is decided first, then judged, then
/// memory is taken and filled, frame by frame.
class Decoding {
public:
  /// @param image  must outlive the object
  /// @param memory that decoding may take
  /// @throws Error when there are no such frames, they take more memory, or their samples cannot be
  ///         had in this form
  Decoding(const Image& image, const DecodeRequest& request, const MemoryBudget& memory);

  const FrameTraits& traits() const { return traits_; }
  const FrameRange& wanted() const { return wanted_; }

  /// Bytes of all frames that decode() fills.
  std::size_t bytes() const { return decoded_.count() * traits_.frameBytes(); }
  /// Where among them the frames begin that are wanted.
  std::size_t offset() const { return (wanted_.first - decoded_.first) * traits_.frameBytes(); }

  /// Judges the frames before memory is taken for them: the first and the last one, as the others
  /// are judged when their turn comes.
  /// @throws Error when one of them cannot be there
  void check();

  /// Decodes the frames.
  /// @param target receives bytes(), aligned for samples
  /// @return the overlays embedded in the samples, when they are wanted
  /// @throws Error when a frame does not decode
  KtHandle<ZrOverlayData> decode(char* target);

  /// What the user must know about the values; empty when there is nothing.
  std::string remark() const;

private:
  std::unique_ptr<FrameDecoder> prepared(const DecodeRequest& request, const MemoryBudget& memory);
  void chooseTransform();
  void chooseModality();
  void decodeStored(std::size_t number, char* target);
  void transform(std::size_t number, const char* stored, char* target) const;
  void makeModality(std::size_t number, const char* samples, char* target) const;
  KtHandle<ZrOverlayData> overlaysIn(char* stored) const;

  const Image& image_;
  const File& file_;
  std::size_t available_;
  FrameRange wanted_;
  FrameRange decoded_{0, 0};  ///< the frames wanted, and for overlays those before them
  std::unique_ptr<FrameDecoder> decoder_;
  FrameTraits traits_;
  std::optional<Zrg::SampleTransform> transform_;
  SampleType transformedType_ = SampleType::kU8;   ///< what the transform makes of samples
  std::vector<std::optional<RescaleLine>> lines_;  ///< of the decoded frames, for modality values
  bool readsOverlays_ = false;
};

}  // namespace zr
