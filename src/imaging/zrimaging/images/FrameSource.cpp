// SPDX-License-Identifier: BSD-3-Clause
// Monochrome frames come out of the samples that were decoded together; colour ones are decoded by their
// numbers when they are asked for.
#include "zrimaging/images/FrameSource.h"

#include "zrimaging/Error.h"
#include "zrimaging/images/DecoderWarnings.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/ModalityTable.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace zr {

std::unique_ptr<File> openForDisplay(const std::filesystem::path& path) {
  auto file = std::make_unique<File>(path);
  (void)keepTableOutOfDisplay(file->dataset());  // either way the samples can be shown
  return file;
}

FrameSource::FrameSource(std::unique_ptr<File> file, const MemoryBudget& memory) : memory_(memory) {
  const std::size_t frames = Zrg::numberOfFrames(file->dataset());
  if (isMonochrome(file->photometricInterpretation()) || frames == 1) {
    image_ = decodeImage(std::move(file), {std::nullopt, false, true}, memory_);
  } else {
    openColour(std::move(file), frames);
  }
}

void FrameSource::openColour(std::unique_ptr<File> file, std::size_t frames) {
  image_.file = std::move(file);
  image_.frames = {0, frames - 1};
  memory_.requireFor(image_.file->dataset(), 0, 0);
  const Zrg::FrameFormat format = describeFrames(image_);
  oneByOne_ = true;
  colourFrame_.resize(format.frameBytes());
  image_.samples.frames = frames;
  image_.samples.rows = format.rows;
  image_.samples.columns = format.columns;
  image_.samples.channels = format.samplesPerPixel;
  try {
    (void)FrameSource::frame(0);  // a file that does not decode is refused now
    if (frames > std::numeric_limits<std::uint16_t>::max()) {
      (void)FrameSource::frame(frames - 1);  // lists of so many are not made for a mere claim
    }
  } catch (const Error& error) {
    throw whyNotDecoded(*image_.file, error);
  }
}

SampleArray FrameSource::frame(std::size_t index) {
  if (!oneByOne_) {
    return image_.samples.frame(index);
  }
  const DecoderWatch decoders;
  decodeFrame(image_.file->dataset(), index, {colourFrame_.data(), colourFrame_.size()}, true);
  for (std::string& remark : decoders.remarks(image_.file->path())) {
    image_.remarks.push_back(std::move(remark));
  }
  SampleArray one = image_.samples;
  one.bytes = colourFrame_.data();
  one.frames = 1;
  return one;
}

}  // namespace zr
