// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "decoding/SliceDecoding.h"
#include "dicom/Result.h"

#include <memory>
#include <new>

class DiDocument;

/// The steps from a colour item, palettes included, to interleaved RGB with 8 bits a sample.
namespace Zrg::Decoding {

/// There was no memory to open an image, as this message says; an exception that passes through.
class NoImageMemory : public std::bad_alloc {
public:
  explicit NoImageMemory(const char* message) : message_(message) {}
  [[nodiscard]] const char* what() const noexcept override { return message_; }

private:
  const char* message_;
};

/// The selected frames of a colour image, to be had one by one as RGB.
class ColourFrames {
public:
  virtual ~ColourFrames() = default;

  /// Bytes of a frame as it is made.
  [[nodiscard]] virtual unsigned long frameBytes() const = 0;

  /// Whether the frame at this position of the selection is there.
  [[nodiscard]] virtual bool hasFrame(int position) const = 0;

  /// Whether there is data for as many frames: memory for them is not taken for a mere claim.
  [[nodiscard]] virtual bool mayHoldFrames(int count) = 0;

  /// The message for a frame that is not there, when all frames take so many bytes.
  [[nodiscard]] virtual Message missingFrame(unsigned long long totalBytes) const = 0;

  /// Makes the frame at a position of the selection; `target` receives frameBytes().
  /// @param totalBytes those of all frames, for the message
  [[nodiscard]] virtual Result<void> makeFrame(int position, char* target,
                                               unsigned long long totalBytes) = 0;
};

/// Makes sure that there is a Planar Configuration: decoders and image classes ask for it. Returns
/// whether samples stand plane by plane. @see PS3.3 C.7.6.3.1.3 (Planar Configuration)
bool completePlanarConfiguration(DcmItem& item);

/// Whether the selected frames are few enough for their positions to be counted in 32 bits.
[[nodiscard]] Result<void> haveCountableSize(const Task& task);

/// A colour item that DCMTK has opened as a document. Opening decompresses all frames in place when
/// all are selected, and the first one of a range.
class ColourDocument {
public:
  /// Whether the item may be opened so. Were decompressing to fail, the document would be there all
  /// the same: the message is that of the step which would come to grief over the frames.
  [[nodiscard]] static Result<void> mayOpen(const Task& task);

  /// @throws NoImageMemory
  [[nodiscard]] static Result<ColourDocument> open(const Task& task);

  ~ColourDocument();
  ColourDocument(ColourDocument&& other) noexcept;
  ColourDocument& operator=(ColourDocument&& other) noexcept;

  /// Frames as they come from the decoder; null when those are not interleaved RGB and have to be
  /// rendered. They must not outlive the document.
  [[nodiscard]] std::unique_ptr<ColourFrames> directFrames(const Task& task);

private:
  explicit ColourDocument(std::unique_ptr<DiDocument> document);

  std::unique_ptr<DiDocument> document_;
  DcmItem* item_ = nullptr;
  DcmPixelData* pixelData_ = nullptr;
};

/// Frames of a range that a codec of the application decodes, each by its number; null for others.
/// DCMTK's image classes pass over a frame of a range that a decoder refuses; what DCMTK's own
/// decoders refuse the guard has seen before.
[[nodiscard]] std::unique_ptr<ColourFrames> numberedFrames(const Task& task);

/// Frames as DCMTK's image classes render them.
/// @throws NoImageMemory
[[nodiscard]] Result<std::unique_ptr<ColourFrames>> renderedFrames(const Task& task);

}  // namespace Zrg::Decoding
