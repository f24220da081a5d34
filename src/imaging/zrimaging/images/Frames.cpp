// SPDX-License-Identifier: BSD-3-Clause
// Frames of one file: in memory, or decoded when they are asked for.
#include "zrimaging/Frames.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/Image.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/images/DecoderWarnings.h"
#include "zrimaging/images/Decoding.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/FrameDecoder.h"
#include "zrimaging/images/FrameNumbers.h"
#include "zrimaging/images/IccProfile.h"
#include "zrimaging/images/OverlayPlanes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <limits>
#include <utility>

namespace zr {

namespace {

/// Colour frames, each decoded when it is asked for into the same memory.
class FramesOnDemand final : public Frames {
public:
  FramesOnDemand(Image image, const MemoryBudget& memory)
      : image_(std::move(image)), count_(image_.frameCount()), decoder_(prepared(memory)) {
    decoder_->check(0);
    oneFrame_.resize(decoder_->frameBytes());
    record_.traits = decoder_->traits();
    record_.name = image_.file().path().filename().string();
    if (!record_.traits.monochrome) {
      record_.iccProfile = readIccProfile(image_.file().dataset());
    }
    try {
      (void)decode(0);  // a file that does not decode is refused now
      if (count_ > std::numeric_limits<std::uint16_t>::max()) {
        (void)decode(count_ - 1);  // lists of so many are not made for a mere claim
      }
    } catch (const Error& error) {
      throw whyNotDecoded(image_.file(), error);
    }
    record_.attributes = readFrameAttributes(image_.file().dataset(), count_);
    addOwnOverlays(image_.file().dataset(), record_.traits, {0, count_ - 1}, record_.overlays);
  }

  const FramesRecord& record() const override { return record_; }
  std::size_t count() const override { return count_; }
  SampleArray frame(std::size_t index) override {
    return atBoundary([&] { return decode(index); });
  }
  std::vector<Remark> takeRemarks() override { return std::exchange(remarks_, {}); }

private:
  std::unique_ptr<FrameDecoder> prepared(const MemoryBudget& memory) const {
    memory.requireFor(image_.file().dataset(), 0, 0);
    return makeFrameDecoder(image_.file(), Values::kUnsigned);
  }

  SampleArray decode(std::size_t number) {
    const DecoderWatch decoders;
    decoder_->decode(number, oneFrame_.data(), true);
    for (std::string& text : decoders.remarks(image_.file().path())) {
      remarks_.push_back({image_.file().path().string(), std::move(text)});
    }
    SampleArray frame = record_.traits.layout(1);
    frame.bytes = oneFrame_.data();
    return frame;
  }

  Image image_;
  std::size_t count_;
  std::unique_ptr<FrameDecoder> decoder_;  ///< of the image's file, which stays where it is
  FramesRecord record_;
  std::vector<unsigned char> oneFrame_;
  std::vector<Remark> remarks_;
};

bool isMonochrome(const File& file) {
  const std::string interpretation = file.photometricInterpretation();
  return interpretation == "MONOCHROME1" || interpretation == "MONOCHROME2";
}

/// Whether bits of samples are overlays (PS3.3 C.9.2): planes that have an Overlay Bit Position.
bool mayEmbedOverlays(DcmItem& dataset) {
  constexpr Uint16 kFirstGroup = 0x6000;
  constexpr Uint16 kLastGroup = 0x60FF;
  for (DcmObject* object = dataset.nextInContainer(nullptr); object != nullptr;
       object = dataset.nextInContainer(object)) {
    const Uint16 group = object->getGTag();
    if (group >= kFirstGroup && group <= kLastGroup &&
        object->getETag() == DCM_OverlayBitPosition.getElement()) {
      return true;
    }
  }
  return false;
}

bool tellsWithoutSamples(const File& file) {
  return isMonochrome(file) && !DcmXfer(file.dataset().getOriginalXfer()).isEncapsulated() &&
         !mayEmbedOverlays(file.dataset());
}

FramesRecord recordWithoutSamples(const Image& image, const MemoryBudget& memory) {
  DecodeRequest all;
  all.values = image.valuesToShow();
  Decoding decoding(image, all, memory);
  decoding.check();
  FramesRecord record;
  record.traits = decoding.traits();
  record.name = image.file().path().filename().string();
  record.attributes = readFrameAttributes(image.file().dataset(), image.frameCount());
  return record;
}

}  // namespace

std::unique_ptr<Frames> framesOf(Image image, const MemoryBudget& memory) {
  return atBoundary([&]() -> std::unique_ptr<Frames> {
    if (isMonochrome(image.file()) || image.frameCount() == 1) {
      DecodeRequest all;
      all.values = image.valuesToShow();
      all.overlays = true;
      return std::make_unique<DecodedFrames>(image.decode(all, memory));
    }
    return std::make_unique<FramesOnDemand>(std::move(image), memory);
  });
}

FramesDescription describeFrames(Image image, const MemoryBudget& memory) {
  return atBoundary([&]() -> FramesDescription {
    if (tellsWithoutSamples(image.file())) {
      return {recordWithoutSamples(image, memory), {}};
    }
    const std::unique_ptr<Frames> frames = framesOf(std::move(image), memory);
    return {frames->record(), frames->takeRemarks()};
  });
}

std::optional<RescaleLine> lineOfSamples(const FramesRecord& record, std::size_t index) {
  return atBoundary([&]() -> std::optional<RescaleLine> {
    const std::optional<RescaleLine>& rescale = frameAt(record.attributes, index).rescale;
    const FrameTraits& traits = record.traits;
    if (traits.values == Values::kModality) {
      return RescaleLine{1, 0, rescale ? rescale->unit : ValueText{}};
    }
    if (!rescale || traits.values == Values::kDisplay ||
        (record.attributes.modalityTable && traits.values != Values::kUnsigned)) {
      return std::nullopt;
    }
    return RescaleLine{rescale->slope, rescale->intercept - traits.sampleOffset * rescale->slope,
                       rescale->unit};
  });
}

}  // namespace zr
