// SPDX-License-Identifier: BSD-3-Clause
// Single frames of an image for callers: what is known before decoding, what it takes, and a reader
// of frames by their numbers. How they are decoded is in decoding/ImageFrames.cpp.
#include "ZrFrames.h"

#include "decoding/Decoders.h"
#include "decoding/FrameFragments.h"
#include "decoding/ImageFrames.h"
#include "decoding/SampleMemory.h"
#include "decoding/SliceAttributes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Zrg {

namespace {

constexpr char kNotOpen[] = "No image is open to read frames of";

/// Does something with the image that is open, null for none, and tells what became of it.
template <class State, class Work>
bool withImage(State* image, std::string& errorText, const Work& work) {
  errorText.clear();
  if (image == nullptr) {
    errorText = kNotOpen;
    return false;
  }
  try {
    const Result<void> done = work(*image);
    if (!done) {
      errorText = done.reason().text;
    }
    return static_cast<bool>(done);
  } catch (const std::bad_alloc&) {
    errorText = Decoding::kOutOfMemory;
    return false;
  }
}

}  // namespace

std::uint64_t numberOfFrames(DcmItem& item) {
  return readFrameCount(item).inFull;
}

bool readFrameFormat(DcmItem& item, FrameFormat& format, std::string& errorText) {
  errorText.clear();
  const Result<Decoding::ReadableImage> image = Decoding::readImage(item);
  if (!image) {
    errorText = image.reason().text;
    return false;
  }
  format = image->format;
  return true;
}

bool describeImage(DcmItem& item, SliceImage& image, std::string& errorText) {
  errorText.clear();
  const Result<Decoding::ReadableImage> known = Decoding::readImage(item);
  if (!known) {
    errorText = known.reason().text;
    return false;
  }
  Decoding::storeAttributes(image, item, known->attributes);
  image.extent.z = static_cast<long long>(known->format.frames);
  image.samplesPerPixel = known->format.samplesPerPixel;
  image.bytesPerSample = known->format.bytesPerSample;
  image.lossy = Decoding::isLossy(item);
  image.valid = false;
  return true;
}

std::optional<std::uint64_t> decodedBytes(DcmItem& item, std::uint64_t first, std::uint64_t last) {
  const ImageAttributes attributes = readImageAttributes(item, nullptr);
  const FrameSize& size = attributes.size;
  if (attributes.missing || last < first) {
    return std::nullopt;
  }
  const std::uint64_t frames = saturatedSum(last - first, 1);
  if (attributes.monochrome) {
    return saturatedProduct(size.decodedFrameBytes(), frames);
  }
  // A palette of 8-bit indices may have entries of 16 bits.
  const bool palette = size.samplesPerPixel == 1;
  const unsigned int planeBytes = std::max(size.containerBytes(), palette ? 2U : 1U);
  const std::uint64_t planes = saturatedProduct(size.rgbBytes(), planeBytes);
  return saturatedSum(saturatedProduct(size.rgbBytes(), frames),
                      saturatedSum(saturatedProduct(size.decodedFrameBytes(), 2), planes));
}

/// The item that is open, and its frames.
class FrameReader::State {
public:
  static Result<std::unique_ptr<State>> open(DcmItem& item) {
    Result<Decoding::ReadableImage> image = Decoding::readImage(item);
    if (!image) {
      return image.reason();
    }
    return std::unique_ptr<State>(new State(item, std::move(*image)));
  }

  [[nodiscard]] const FrameFormat& format() const { return frames_->format(); }

  Result<void> check(std::uint64_t frame) {
    const Result<void> known = bringUpToDate();
    return known ? frames_->check(frame) : known;
  }

  Result<void> decode(std::uint64_t frame, char* target, std::uint64_t targetSize) {
    const Result<void> known = bringUpToDate();
    return known ? frames_->decode(frame, target, targetSize) : known;
  }

  Result<std::string> decodeContainers(std::uint64_t frame, char* target,
                                       std::uint64_t targetSize) {
    if (const Result<void> known = bringUpToDate(); !known) {
      return known.reason();
    }
    return frames_->decodeContainers(frame, target, targetSize);
  }

  [[nodiscard]] std::uint64_t containerBytes() const { return frames_->containerBytes(); }

private:
  /// Reads the image again when its pixel data was decompressed meanwhile.
  Result<void> bringUpToDate() {
    if (frames_->areUpToDate()) {
      return {};
    }
    Result<Decoding::ReadableImage> image = Decoding::readImage(item_);
    if (!image) {
      return image.reason();
    }
    frames_ = std::make_unique<Decoding::ImageFrames>(item_, std::move(*image));
    return {};
  }

  State(DcmItem& item, Decoding::ReadableImage image)
      : item_(item), frames_(std::make_unique<Decoding::ImageFrames>(item, std::move(image))) {}

  DcmItem& item_;
  std::unique_ptr<Decoding::ImageFrames> frames_;  ///< never null
};

FrameReader::FrameReader() = default;
FrameReader::~FrameReader() = default;
FrameReader::FrameReader(FrameReader&& other) noexcept = default;
FrameReader& FrameReader::operator=(FrameReader&& other) noexcept = default;

bool FrameReader::open(DcmItem& item, std::string& errorText) {
  errorText.clear();
  state_.reset();
  Decoding::warnWithoutDictionary();
  Decoding::registerDecoders();
  try {
    Result<std::unique_ptr<State>> state = State::open(item);
    if (state) {
      state_ = std::move(*state);
    } else {
      errorText = state.reason().text;
    }
  } catch (const std::bad_alloc&) {
    errorText = Decoding::kOutOfMemory;
  }
  return state_ != nullptr;
}

FrameFormat FrameReader::format() const {
  return state_ != nullptr ? state_->format() : FrameFormat{};
}

bool FrameReader::check(std::uint64_t frame, std::string& errorText) {
  return withImage(state_.get(), errorText, [&](State& state) { return state.check(frame); });
}

bool FrameReader::decode(std::uint64_t frame, void* target, std::uint64_t targetSize,
                         std::string& errorText) {
  return withImage(state_.get(), errorText, [&](State& state) {
    return state.decode(frame, static_cast<char*>(target), targetSize);
  });
}

bool FrameReader::decodeContainers(std::uint64_t frame, void* target, std::uint64_t targetSize,
                                   std::string& photometricInterpretation, std::string& errorText) {
  return withImage(state_.get(), errorText, [&](State& state) -> Result<void> {
    Result<std::string> colourModel =
        state.decodeContainers(frame, static_cast<char*>(target), targetSize);
    if (!colourModel) {
      return colourModel.reason();
    }
    photometricInterpretation = std::move(*colourModel);
    return {};
  });
}

std::uint64_t FrameReader::containerBytes() const {
  return state_ ? state_->containerBytes() : 0;
}

/// The fragments of an item's pixel data; none where it is not encapsulated.
class FrameFragmentIndex::State {
public:
  State(DcmItem& item, DcmPixelData& pixelData)
      : fragments_(item, pixelData, numberOfFrames(item)), frames_(numberOfFrames(item)) {}

  std::optional<FragmentRange> fragmentsOf(std::uint64_t frame) {
    if (!fragments_.areCompressed() || frame >= frames_ || frame > kMostFrames) {
      return std::nullopt;
    }
    const std::optional<Uint32> first = fragments_.startOf(static_cast<Uint32>(frame));
    const std::optional<Uint32> end = fragments_.endOf(static_cast<Uint32>(frame));
    if (!first || !end || *end <= *first) {
      return std::nullopt;
    }
    return FragmentRange{*first, std::uint64_t{*end} - 1};
  }

private:
  static constexpr std::uint64_t kMostFrames = 0x7FFFFFFE;

  Decoding::FrameFragments fragments_;
  std::uint64_t frames_;
};

FrameFragmentIndex::FrameFragmentIndex(DcmItem& item) {
  const Result<DcmPixelData*> pixelData = findPixelData(item);
  if (pixelData) {
    state_ = std::make_unique<State>(item, **pixelData);
  }
}

FrameFragmentIndex::~FrameFragmentIndex() = default;
FrameFragmentIndex::FrameFragmentIndex(FrameFragmentIndex&& other) noexcept = default;
FrameFragmentIndex& FrameFragmentIndex::operator=(FrameFragmentIndex&& other) noexcept = default;

std::optional<FragmentRange> FrameFragmentIndex::fragmentsOf(std::uint64_t frame) {
  return state_ ? state_->fragmentsOf(frame) : std::nullopt;
}

bool decodeFrame(DcmItem& item, std::uint64_t frame, void* target, std::uint64_t targetSize,
                 std::string& errorText) {
  FrameReader reader;
  return reader.open(item, errorText) && reader.decode(frame, target, targetSize, errorText);
}

}  // namespace Zrg
