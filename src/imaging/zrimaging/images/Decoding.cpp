// SPDX-License-Identifier: BSD-3-Clause
// The way of a frame: containers as they are stored, then the stored bits alone or looked up in a
// table, then the line to modality values where these are wanted. Each step is taken for one frame
// after the other, while its samples are still near the processor. Only overlays need the
// containers of all frames at a time.
#include "zrimaging/images/Decoding.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/FrameNumbers.h"
#include "zrimaging/images/ModalityTable.h"
#include "zrimaging/images/OverlayPlanes.h"
#include "zrimaging/images/Padding.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace zr {

namespace {

FrameRange framesWanted(const DecodeRequest& request, std::size_t available) {
  if (!request.frames) {
    return {0, available - 1};
  }
  requireFrame(request.frames->last, available);
  return *request.frames;
}

KtVec3l extentOf(const FrameTraits& traits, std::size_t frames) {
  return {static_cast<long long>(traits.columns), static_cast<long long>(traits.rows),
          static_cast<long long>(frames)};
}

ExDicomUtilities::LUT modalityTableOf(DcmItem& item) {
  ExDicomUtilities::LUT table;
  ExDicomUtilities::LUT::dcmDatasetRead(table, item, false);
  return table;
}

SampleType typeOfValues(const Zrg::SampleTransform& transform) {
  const bool isSigned = transform.valuesAreSigned();
  switch (transform.bytesPerValue()) {
    case 1:
      return isSigned ? SampleType::kS8 : SampleType::kU8;
    case 2:
      return isSigned ? SampleType::kS16 : SampleType::kU16;
    default:
      return isSigned ? SampleType::kS32 : SampleType::kU32;
  }
}

/// Samples of one type through a line, computed with 64 bits.
template <class Sample>
void applyLine(const char* samples, std::size_t count, const RescaleLine& line, char* target) {
  for (std::size_t i = 0; i < count; ++i) {
    Sample sample{};
    std::memcpy(&sample, samples + i * sizeof(Sample), sizeof(Sample));
    const auto value =
        static_cast<float>(line.slope * static_cast<double>(sample) + line.intercept);
    std::memcpy(target + i * sizeof value, &value, sizeof value);
  }
}

void applyLine(SampleType type, const char* samples, std::size_t count, const RescaleLine& line,
               char* target) {
  switch (type) {
    case SampleType::kU8:
      return applyLine<std::uint8_t>(samples, count, line, target);
    case SampleType::kS8:
      return applyLine<std::int8_t>(samples, count, line, target);
    case SampleType::kU16:
      return applyLine<std::uint16_t>(samples, count, line, target);
    case SampleType::kS16:
      return applyLine<std::int16_t>(samples, count, line, target);
    case SampleType::kU32:
      return applyLine<std::uint32_t>(samples, count, line, target);
    case SampleType::kS32:
      return applyLine<std::int32_t>(samples, count, line, target);
    case SampleType::kF32:
      return applyLine<float>(samples, count, line, target);
    case SampleType::kF64:
      break;
  }
  applyLine<double>(samples, count, line, target);
}

}  // namespace

Decoding::Decoding(const Image& image, const DecodeRequest& request, const MemoryBudget& memory)
    : image_(image),
      file_(image.file()),
      available_(image.frameCount()),
      wanted_(framesWanted(request, available_)),
      decoded_(wanted_),
      decoder_(prepared(request, memory)),
      traits_(decoder_->traits()) {
  traits_.values = request.values;
  // Overlay bits are looked up by the frame's number in the file, from the first frame on.
  if (request.overlays && traits_.monochrome && bytesOf(traits_.type) <= 2 &&
      hasEmbeddedOverlays(file_.dataset())) {
    decoded_.first = 0;
    memory.requireFor(file_.dataset(), 0, decoded_.last);
    readsOverlays_ = true;
  }
  chooseTransform();
  if (request.values == Values::kModality) {
    chooseModality();
  }
  if (request.values == Values::kUnsigned || request.values == Values::kSamples) {
    traits_.padding = paddingOf(file_.dataset(), traits_);
  }
  Uint16 bitsStored = 0;
  traits_.oneBit = traits_.monochrome &&
                   file_.dataset().findAndGetUint16(DCM_BitsStored, bitsStored).good() &&
                   bitsStored == 1;
  memory.requireBytes(std::uint64_t{decoded_.count()} * traits_.frameBytes());
}

std::string Decoding::remark() const {
  const auto isUnknown = [](const std::optional<RescaleLine>& line) { return !line; };
  return std::any_of(lines_.begin(), lines_.end(), isUnknown)
             ? "does not say how samples become modality values: they are left as they are"
             : "";
}

std::unique_ptr<FrameDecoder> Decoding::prepared(const DecodeRequest& request,
                                                 const MemoryBudget& memory) {
  memory.requireFor(file_.dataset(), wanted_.first, wanted_.last);
  return makeFrameDecoder(file_, request.values);
}

/// What is to be done to the containers of monochrome integers.
void Decoding::chooseTransform() {
  transformedType_ = traits_.type;
  const bool isTransformed = traits_.monochrome && traits_.values != Values::kStored;
  if (isTransformed && isFloatingPoint(traits_.type)) {
    if (traits_.values == Values::kUnsigned) {
      throw Error(Reason::Unsupported,
                  "has floating-point samples, which have no unsigned form; ask for samples or "
                  "modality values");
    }
    return;
  }
  DcmItem& item = file_.dataset();
  Uint16 bitsAllocated = 0;
  const bool isBit =
      item.findAndGetUint16(DCM_BitsAllocated, bitsAllocated).good() && bitsAllocated == 1;
  if (!isTransformed || isBit) {
    return;
  }
  const Zrg::StoredSamples stored =
      Zrg::readStoredSamples(item, static_cast<unsigned>(bytesOf(traits_.type)));
  const bool looksUp = traits_.values == Values::kUnsigned ||
                       (traits_.values == Values::kModality && hasModalityTable(item));
  transform_ = looksUp ? Zrg::SampleTransform::makingUnsigned(stored, modalityTableOf(item))
                       : Zrg::SampleTransform::isolating(stored);
  traits_.type = typeOfValues(*transform_);
  transformedType_ = traits_.type;
  traits_.sampleOffset = static_cast<double>(transform_->offset());
}

void Decoding::chooseModality() {
  if (!traits_.monochrome) {
    throw Error(Reason::Unsupported, "has colours, which have no modality values; ask for samples");
  }
  lines_.reserve(decoded_.count());
  for (std::size_t number = decoded_.first; number <= decoded_.last; ++number) {
    std::optional<RescaleLine> line = image_.frame(number).rescale;
    if (line) {
      line->intercept -= traits_.sampleOffset * line->slope;
    }
    lines_.push_back(std::move(line));
  }
  traits_.type = SampleType::kF32;
  traits_.sampleOffset = 0;
}

void Decoding::check() {
  if (available_ == 1) {
    decoder_->checkOnly();
    return;
  }
  decoder_->check(decoded_.last);
  if (decoded_.first != decoded_.last) {
    decoder_->check(decoded_.first);
  }
}

KtHandle<ZrOverlayData> Decoding::decode(char* target) {
  const std::size_t storedBytes = decoder_->frameBytes();
  const bool inPlace = storedBytes == traits_.frameBytes();
  // Overlays are in the containers of all frames.
  const std::size_t apart = inPlace ? 0 : readsOverlays_ ? decoded_.count() : 1;
  std::vector<char> containers(apart * storedBytes);
  const auto storedOf = [&](std::size_t index) {
    return inPlace ? target + index * storedBytes
                   : containers.data() + (readsOverlays_ ? index * storedBytes : 0);
  };
  const auto transformed = [&](std::size_t index) {
    transform(decoded_.first + index, storedOf(index), target + index * traits_.frameBytes());
  };
  for (std::size_t index = 0; index < decoded_.count(); ++index) {
    decodeStored(decoded_.first + index, storedOf(index));
    if (!readsOverlays_) {
      transformed(index);
    }
  }
  if (!readsOverlays_) {
    return {};
  }
  const KtHandle<ZrOverlayData> overlays = overlaysIn(storedOf(0));
  for (std::size_t index = 0; index < decoded_.count(); ++index) {
    transformed(index);
  }
  return overlays;
}

void Decoding::decodeStored(std::size_t number, char* target) {
  if (available_ == 1) {
    decoder_->decodeOnly(target);
    return;
  }
  try {
    decoder_->decode(number, target, true);
  } catch (const Error& error) {
    throw whyNotDecoded(file_, error);
  }
}

void Decoding::transform(std::size_t number, const char* stored, char* target) const {
  const std::size_t count = traits_.rows * traits_.columns;
  if (traits_.values != Values::kModality) {
    if (transform_) {
      transform_->apply(stored, count, target);
    } else if (stored != target) {
      std::memcpy(target, stored, traits_.frameBytes());
    }
    return;
  }
  if (!transform_) {
    makeModality(number, stored, target);
    return;
  }
  std::vector<char> samples(count * bytesOf(transformedType_));
  transform_->apply(stored, count, samples.data());
  makeModality(number, samples.data(), target);
}

void Decoding::makeModality(std::size_t number, const char* samples, char* target) const {
  const std::optional<RescaleLine>& line = lines_[number - decoded_.first];
  applyLine(transformedType_, samples, traits_.rows * traits_.columns, line.value_or(RescaleLine{}),
            target);
}

KtHandle<ZrOverlayData> Decoding::overlaysIn(char* stored) const {
  Zrg::SliceImage slice;
  slice.data = stored;
  slice.extent = extentOf(traits_, decoded_.count());
  slice.samplesPerPixel = 1;
  slice.bytesPerSample = static_cast<unsigned>(bytesOf(decoder_->traits().type));
  slice.extractEmbeddedOverlays(file_.dataset(), 0, static_cast<int>(decoded_.last));
  return slice.overlays;
}

}  // namespace zr
