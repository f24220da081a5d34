// SPDX-License-Identifier: BSD-3-Clause
// Images: frames are decoded one by one into memory that holds them all, then transformed as a
// whole. In memory there are the samples that are asked for, and their stored form besides where it
// has another width.
#include "zrimaging/Image.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/MemoryBudget.h"
#include "zrimaging/images/DecoderWarnings.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/images/FrameDecoder.h"
#include "zrimaging/images/FrameNumbers.h"
#include "zrimaging/images/IccProfile.h"
#include "zrimaging/images/ModalityTable.h"

#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSamples.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
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

FrameRange framesWanted(const DecodeRequest& request, std::size_t available) {
  if (!request.frames) {
    return {0, available - 1};
  }
  requireFrame(request.frames->last, available);
  return *request.frames;
}

std::optional<std::uint16_t> paddingOf(DcmItem& item, double sampleOffset) {
  Uint16 unsignedValue = 0;
  Sint16 signedValue = 0;
  // Behind a modality LUT padding is not told apart from other values.
  if (item.tagExists(DCM_ModalityLUTSequence)) {
    return std::nullopt;
  }
  if (item.findAndGetSint16(DCM_PixelPaddingValue, signedValue).good()) {
    return static_cast<std::uint16_t>(signedValue + static_cast<int>(sampleOffset));
  }
  if (item.findAndGetUint16(DCM_PixelPaddingValue, unsignedValue).good()) {
    return unsignedValue;
  }
  return std::nullopt;
}

KtVec3l extentOf(const FrameTraits& traits, std::size_t frames) {
  return {static_cast<long long>(traits.columns), static_cast<long long>(traits.rows),
          static_cast<long long>(frames)};
}

/// What makes samples that are shown of monochrome samples that are stored in one or two bytes.
std::optional<Zrg::SampleTransform> transformOf(DcmItem& item, std::size_t bytesPerSample) {
  ExDicomUtilities::LUT table;
  ExDicomUtilities::LUT::dcmDatasetRead(table, item, false);
  return Zrg::SampleTransform::makingUnsigned(
      Zrg::readStoredSamples(item, static_cast<unsigned>(bytesPerSample)), table);
}

/// One go at decoding frames of an image.
class Decoding {
public:
  Decoding(const File& file, const DecodeRequest& request, const MemoryBudget& memory)
      : file_(file),
        available_(Zrg::numberOfFrames(file.dataset())),
        wanted_(framesWanted(request, available_)),
        decoder_(prepared(file, memory)),
        traits_(decoder_.traits()) {
    if (traits_.monochrome && !request.stored) {
      transform_ = transformOf(file.dataset(), bytesOf(traits_.type));
      traits_.type = transform_->bytesPerValue() == 1 ? SampleType::kU8 : SampleType::kU16;
      traits_.sampleOffset = static_cast<double>(transform_->offset());
      traits_.stored = false;
    }
    traits_.padding = paddingOf(file.dataset(), traits_.sampleOffset);
    // Overlay bits are looked up by the frame's number in the file, from the first frame on.
    if (request.overlays && traits_.monochrome) {
      decoded_.first = 0;
      memory.requireFor(file.dataset(), 0, decoded_.last);
      readsOverlays_ = true;
    }
  }

  const FrameTraits& traits() const { return traits_; }
  const FrameRange& wanted() const { return wanted_; }
  /// Bytes of all frames that decode() fills.
  std::size_t bytes() const { return decoded_.count() * traits_.frameBytes(); }
  /// Where among them the frames begin that are wanted.
  std::size_t offset() const { return (wanted_.first - decoded_.first) * traits_.frameBytes(); }

  /// Judges the frames before memory is taken for them: the first and the last one, as the others
  /// are judged when their turn comes.
  void check() {
    if (available_ == 1) {
      decoder_.checkOnly();
      return;
    }
    decoder_.check(decoded_.last);
    if (decoded_.first != decoded_.last) {
      decoder_.check(decoded_.first);
    }
  }

  /// The overlays, when they are wanted.
  KtHandle<ZrOverlayData> decode(char* target) {
    const bool inPlace = decoder_.frameBytes() == traits_.frameBytes();
    const Memory apart = inPlace ? Memory() : allocate(decoded_.count() * decoder_.frameBytes());
    char* const stored = inPlace ? target : apart.get();
    decodeStored(stored);
    const KtHandle<ZrOverlayData> overlays = overlaysIn(stored);
    if (transform_) {
      transform_->apply(stored, decoded_.count() * traits_.rows * traits_.columns, target);
    }
    return overlays;
  }

private:
  FrameDecoder prepared(const File& file, const MemoryBudget& memory) {
    decoded_ = wanted_;
    refusePackedPixels(file);
    memory.requireFor(file.dataset(), wanted_.first, wanted_.last);
    return FrameDecoder(file);
  }

  void decodeStored(char* target) {
    if (available_ == 1) {
      decoder_.decodeOnly(target);
      return;
    }
    for (std::size_t number = decoded_.first; number <= decoded_.last; ++number) {
      try {
        decoder_.decode(number, target, true);
      } catch (const Error& error) {
        throw whyNotDecoded(file_, error);
      }
      target += decoder_.frameBytes();
    }
  }

  KtHandle<ZrOverlayData> overlaysIn(char* stored) const {
    if (!readsOverlays_) {
      return {};
    }
    Zrg::SliceImage slice;
    slice.data = stored;
    slice.extent = extentOf(traits_, decoded_.count());
    slice.samplesPerPixel = 1;
    slice.bytesPerSample = static_cast<unsigned>(bytesOf(decoder_.traits().type));
    slice.extractEmbeddedOverlays(file_.dataset(), 0, static_cast<int>(decoded_.last));
    return slice.overlays;
  }

  const File& file_;
  std::size_t available_;
  FrameRange wanted_;
  FrameRange decoded_{0, 0};  ///< the frames wanted, and for overlays those before them
  FrameDecoder decoder_;
  FrameTraits traits_;
  std::optional<Zrg::SampleTransform> transform_;
  bool readsOverlays_ = false;
};

std::vector<Remark> remarksOn(const File& file, const DecoderWatch& decoders) {
  std::vector<Remark> remarks;
  for (std::string& text : decoders.remarks(file.path())) {
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
    : file_(atBoundary([&] { return std::make_unique<File>(std::move(file)); })) {}
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

FrameTraits Image::traits(bool stored) const {
  return atBoundary([&]() -> FrameTraits {
    DecodeRequest request;
    request.frames = FrameRange{0, 0};
    request.stored = stored;
    return Decoding(*file_, request, MemoryBudget{UINT64_MAX}).traits();
  });
}

DecodedFrames Image::decode(const DecodeRequest& request, const MemoryBudget& memory) const {
  return atBoundary([&]() -> DecodedFrames {
    const DecoderWatch decoders;
    Decoding decoding(*file_, request, memory);
    decoding.check();
    const Memory owned = allocate(decoding.bytes());
    FramesRecord record;
    record.overlays = decoding.decode(owned.get());
    record.traits = decoding.traits();
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
    return {std::move(record), samples, owned, remarksOn(*file_, decoders)};
  });
}

std::vector<Remark> Image::decodeInto(const DecodeRequest& request, const MemoryBudget& memory,
                                      void* target, std::size_t size) const {
  return atBoundary([&]() -> std::vector<Remark> {
    const DecoderWatch decoders;
    DecodeRequest samplesAlone = request;
    samplesAlone.overlays = false;
    Decoding decoding(*file_, samplesAlone, memory);
    if (size < decoding.bytes()) {
      throw Error(Reason::TooLarge, "takes " + std::to_string(decoding.bytes()) +
                                        " bytes; the memory handed in has " + std::to_string(size));
    }
    decoding.check();
    (void)decoding.decode(static_cast<char*>(target));  // no overlays were asked for
    return remarksOn(*file_, decoders);
  });
}

}  // namespace zr
