// SPDX-License-Identifier: BSD-3-Clause
// Which way a frame comes:
//
//   monochrome                   out of the samples that were decoded together
//   colour, native               rendered alone, as a range of one frame
//   colour, a fragment a frame   rendered as an image of its own that holds just this fragment: the
//                                decoder's direct road knows the first frame of an image only
//   colour, other fragments      out of all frames rendered together; which fragments belong to a
//                                frame shows only while the ones before it are decoded
#include "FrameSource.h"

#include "Condition.h"
#include "Failure.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <string>
#include <utility>

namespace zrdcm {

namespace {

constexpr Uint16 kImageGroup = 0x0028;

// The image attributes, palettes among them, as an image of one frame.
std::unique_ptr<DcmItem> imageAttributes(DcmItem& dataset) {
  auto item = std::make_unique<DcmItem>();
  for (unsigned long i = 0; i < dataset.card(); ++i) {
    const DcmElement& element = *dataset.getElement(i);
    if (element.getTag().getGroup() == kImageGroup && element.getTag() != DCM_NumberOfFrames) {
      std::unique_ptr<DcmElement> copy(dynamic_cast<DcmElement*>(element.clone()));
      if (copy != nullptr && item->insert(copy.get(), true).good()) {
        (void)copy.release();  // the item owns it now
      }
    }
  }
  return item;
}

// A compressed image of one fragment behind an empty offset table; `reading` names what is done.
std::unique_ptr<DcmPixelSequence> sequenceOf(DcmPixelItem& fragment, const std::string& reading) {
  auto sequence = std::make_unique<DcmPixelSequence>(DcmTag(DCM_PixelData, EVR_OB));
  Uint8* bytes = nullptr;
  auto table = std::make_unique<DcmPixelItem>(DcmTag(DCM_Item, EVR_OB));
  auto copy = std::make_unique<DcmPixelItem>(DcmTag(DCM_Item, EVR_OB));
  require(fragment.getUint8Array(bytes), reading);
  require(copy->putUint8Array(bytes, fragment.getLength()), reading);
  require(sequence->insert(table.get()), reading);
  (void)table.release();  // the sequence owns it now
  require(sequence->insert(copy.get()), reading);
  (void)copy.release();
  return sequence;
}

}  // namespace

FrameSource::FrameSource(std::unique_ptr<DicomFile> file, const MemoryBudget& memory)
    : memory_(memory) {
  const std::size_t frames = frameCount(file->dataset());
  if (isMonochrome(photometricInterpretation(*file)) || frames == 1) {
    image_ = decodeImage(std::move(file), {std::nullopt, false, true}, memory_);
  } else {
    openColour(std::move(file), frames);
  }
}

void FrameSource::openColour(std::unique_ptr<DicomFile> file, std::size_t frames) {
  image_.file = std::move(file);
  findFragments();
  if (DcmXfer(image_.file->transferSyntax()).isEncapsulated() && fragments_ == nullptr) {
    image_ = decodeImage(std::move(image_.file), {std::nullopt, false, true}, memory_);
    return;
  }
  memory_.requireFor(image_.file->dataset(), 0, 0);
  oneByOne_ = true;
  image_.frames = {0, frames - 1};
  decodeColour(0);
  const Zrg::SliceImage& slice = image_.slice;
  image_.samples.frames = frames;
  image_.samples.rows = static_cast<std::size_t>(slice.extent.y);
  image_.samples.columns = static_cast<std::size_t>(slice.extent.x);
  image_.samples.channels = slice.samplesPerPixel;
}

void FrameSource::findFragments() {
  DcmElement* element = nullptr;
  (void)image_.file->dataset().findAndGetElement(DCM_PixelData, element);  // null tells as much
  auto* pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr) {
    return;
  }
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  pixelData->getOriginalRepresentationKey(syntax, parameter);
  DcmPixelSequence* sequence = nullptr;
  const bool compressed =
      DcmXfer(syntax).isEncapsulated() &&
      pixelData->getEncapsulatedRepresentation(syntax, parameter, sequence).good();
  const std::size_t frames = frameCount(image_.file->dataset());
  if (compressed && sequence != nullptr && sequence->card() == frames + 1) {
    fragments_ = sequence;
  }
}

std::unique_ptr<DcmItem> FrameSource::itemOfFrame(std::size_t index) const {
  const std::string reading = "read the pixel data of frame " + std::to_string(index);
  DcmPixelItem* fragment = nullptr;
  require(fragments_->getItem(fragment, static_cast<unsigned long>(index + 1)), reading);
  std::unique_ptr<DcmPixelSequence> sequence = sequenceOf(*fragment, reading);
  std::unique_ptr<DcmItem> item = imageAttributes(image_.file->dataset());
  auto pixelData = std::make_unique<DcmPixelData>(DcmTag(DCM_PixelData, EVR_OB));
  pixelData->putOriginalRepresentation(image_.file->transferSyntax(), nullptr, sequence.release());
  require(item->insert(pixelData.get(), true), reading);
  (void)pixelData.release();  // the item owns it now
  return item;
}

void FrameSource::decodeColour(std::size_t index) {
  const std::unique_ptr<DcmItem> item = fragments_ != nullptr ? itemOfFrame(index) : nullptr;
  const int frame = item != nullptr ? 0 : static_cast<int>(index);
  Zrg::SliceImage slice;
  std::string error;
  void* target = colourFrame_.empty() ? nullptr : colourFrame_.data();
  if (!slice.process(item != nullptr ? *item : image_.file->dataset(), error, frame, frame, target,
                     colourFrame_.size())) {
    throw Failure(index == 0 ? error : "frame " + std::to_string(index) + ": " + error);
  }
  if (colourFrame_.empty()) {
    const char* samples = slice.data != nullptr ? slice.data : slice.buffer.get();
    const long long bytes = slice.extent.x * slice.extent.y * slice.samplesPerPixel;
    colourFrame_.assign(samples, samples + bytes);
    image_.slice = slice;
  }
}

SampleArray FrameSource::frame(std::size_t index) {
  if (!oneByOne_) {
    return image_.samples.frame(index);
  }
  decodeColour(index);
  SampleArray one = image_.samples;
  one.bytes = colourFrame_.data();
  one.frames = 1;
  return one;
}

}  // namespace zrdcm
