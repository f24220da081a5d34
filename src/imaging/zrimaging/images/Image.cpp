// SPDX-License-Identifier: BSD-3-Clause
// Images: what is known of their frames, and decoding into memory. How frames are decoded is in
// images/Decoding.cpp, how they are shown in pictures/.
#include "zrimaging/Image.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/Pictures.h"
#include "zrimaging/images/DecoderWarnings.h"
#include "zrimaging/images/Decoding.h"
#include "zrimaging/images/FrameNumbers.h"
#include "zrimaging/images/IccProfile.h"
#include "zrimaging/images/ModalityTable.h"
#include "zrimaging/images/OverlayPlanes.h"
#include "zrimaging/images/Repairs.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace zr {

namespace {

/// Attributes of so many frames are read at once; of more only as far as they are asked for,
/// because their number may be a mere claim.
constexpr std::size_t kFramesReadAtOnce = 65535;

using Memory = std::shared_ptr<char>;

Memory allocate(std::size_t size) {
  return {new char[size], std::default_delete<char[]>()};
}

void requireTarget(std::size_t size, std::size_t needed) {
  if (size < needed) {
    throw Error(Reason::TooLarge, "takes " + std::to_string(needed) +
                                      " bytes; the memory handed in has " + std::to_string(size));
  }
}

std::vector<Remark> remarksOn(const Image& image, const DecoderWatch& decoders,
                              const Decoding& decoding) {
  const File& file = image.file();
  std::vector<Remark> remarks = image.repairs();
  for (std::string& text : decoders.remarks(file.path())) {
    remarks.push_back({file.path().string(), std::move(text)});
  }
  if (std::string text = decoding.remark(); !text.empty()) {
    remarks.push_back({file.path().string(), std::move(text)});
  }
  return remarks;
}

}  // namespace

DecodedFrames::DecodedFrames(FramesRecord record, const SampleArray& samples,
                             std::shared_ptr<const void> memory, std::vector<Remark> remarks)
    : record_(std::move(record)),
      samples_(samples),
      memory_(std::move(memory)),
      remarks_(std::move(remarks)) {}

std::vector<Remark> DecodedFrames::takeRemarks() {
  return std::exchange(remarks_, {});
}

Image::Image(File file)
    : file_(atBoundary([&] { return std::make_unique<File>(std::move(file)); })) {
  atBoundary([&] {
    for (std::string& text : repairForDecoding(*file_)) {
      repairs_.push_back({file_->path().string(), std::move(text)});
    }
  });
}
Image::~Image() = default;
Image::Image(Image&& other) noexcept = default;
Image& Image::operator=(Image&& other) noexcept = default;

Image Image::forDisplay(File file) {
  return atBoundary([&] {
    (void)keepTableOutOfDisplay(file.dataset());  // either way the samples can be shown
    return Image(std::move(file));
  });
}

std::size_t Image::frameCount() const {
  return atBoundary([&]() -> std::size_t {
    return static_cast<std::size_t>(Zrg::numberOfFrames(file_->dataset()));
  });
}

const PerFrameAttributes& Image::attributesOf(std::size_t frames) const {
  const std::size_t count = std::max(std::min(frameCount(), kFramesReadAtOnce), frames);
  if (attributes_.frames.size() < count) {
    attributes_ = readFrameAttributes(file_->dataset(), count);
  }
  return attributes_;
}

const FrameAttributes& Image::frame(std::size_t number) const {
  return atBoundary([&]() -> const FrameAttributes& {
    requireFrame(number, frameCount());
    return attributesOf(number + 1).frames[number];
  });
}

FrameTraits Image::traits(Values values) const {
  return atBoundary([&]() -> FrameTraits {
    DecodeRequest request;
    request.frames = FrameRange{0, 0};
    request.values = values;
    return Decoding(*this, request, MemoryBudget{UINT64_MAX}).traits();
  });
}

Values Image::valuesToShow() const {
  return atBoundary([&] {
    DcmItem& item = file_->dataset();
    const bool hasNumbers = item.tagExistsWithValue(DCM_FloatPixelData) ||
                            item.tagExistsWithValue(DCM_DoubleFloatPixelData);
    return hasNumbers && !item.tagExistsWithValue(DCM_PixelData) ? Values::kSamples
                                                                 : Values::kUnsigned;
  });
}

DecodedFrames Image::decode(const DecodeRequest& request, const MemoryBudget& memory) const {
  return atBoundary([&]() -> DecodedFrames {
    if (request.values == Values::kDisplay) {
      DecodeRequest toShow = request;
      toShow.values = valuesToShow();
      return shown(decode(toShow, memory), memory);
    }
    const DecoderWatch decoders;
    Decoding decoding(*this, request, memory);
    decoding.check();
    const Memory owned = allocate(decoding.bytes());
    FramesRecord record;
    record.overlays = decoding.decode(owned.get());
    record.traits = decoding.traits();
    if (request.overlays) {
      addOwnOverlays(file_->dataset(), record.traits, decoding.wanted(), record.overlays);
    }
    record.firstNumber = decoding.wanted().first;
    record.name = file_->path().filename().string();
    if (!record.traits.monochrome) {
      record.iccProfile = readIccProfile(file_->dataset());
    }
    const PerFrameAttributes& all = attributesOf(decoding.wanted().last + 1);
    record.attributes = all;
    const auto first = all.frames.begin() + static_cast<std::ptrdiff_t>(decoding.wanted().first);
    record.attributes.frames.assign(first,
                                    first + static_cast<std::ptrdiff_t>(decoding.wanted().count()));
    SampleArray samples = record.traits.layout(decoding.wanted().count());
    samples.bytes = reinterpret_cast<const unsigned char*>(owned.get()) + decoding.offset();
    return {std::move(record), samples, owned, remarksOn(*this, decoders, decoding)};
  });
}

/// Frames as they look on a screen.
DecodedFrames Image::shown(DecodedFrames decoded, const MemoryBudget& memory) const {
  FramesRecord record = decoded.record();
  record.traits.values = Values::kDisplay;
  if (!record.traits.monochrome) {
    return {std::move(record), decoded.samples(), decoded.memory(), decoded.takeRemarks()};
  }
  const Display display = displayOf(decoded, decoded.count(), std::nullopt);
  record.traits.type = SampleType::kU8;
  record.traits.darkIsHigh = false;  // it is turned round
  record.traits.sampleOffset = 0;
  record.traits.padding.reset();
  SampleArray samples = record.traits.layout(decoded.count());
  memory.requireBytes(samples.byteCount());
  const Memory owned = allocate(samples.byteCount());
  samples.bytes = reinterpret_cast<const unsigned char*>(owned.get());
  for (std::size_t index = 0; index < decoded.count(); ++index) {
    const Picture picture =
        renderFrame(decoded.record().traits, decoded.frame(index), display.frame(index));
    std::memcpy(owned.get() + index * samples.frameBytes(), picture.samples.data(),
                samples.frameBytes());
  }
  std::vector<Remark> remarks = decoded.takeRemarks();
  if (!display.remark().empty()) {
    remarks.push_back({file_->path().string(), display.remark()});
  }
  return {std::move(record), samples, owned, std::move(remarks)};
}

std::vector<Remark> Image::decodeInto(const DecodeRequest& request, const MemoryBudget& memory,
                                      void* target, std::size_t size) const {
  return atBoundary([&]() -> std::vector<Remark> {
    DecodeRequest samplesAlone = request;
    samplesAlone.overlays = false;
    if (request.values == Values::kDisplay) {
      DecodedFrames greys = decode(samplesAlone, memory);
      requireTarget(size, greys.samples().byteCount());
      std::memcpy(target, greys.samples().bytes, greys.samples().byteCount());
      return greys.takeRemarks();
    }
    const DecoderWatch decoders;
    Decoding decoding(*this, samplesAlone, memory);
    requireTarget(size, decoding.bytes());
    decoding.check();
    (void)decoding.decode(static_cast<char*>(target));  // no overlays were asked for
    return remarksOn(*this, decoders, decoding);
  });
}

}  // namespace zr
