// SPDX-License-Identifier: BSD-3-Clause
// Colours in their depth. The formulas of YBR_FULL are those of PS3.3 C.7.6.3.1.2, turned round:
//
//   R = Y + 1.4020 (Cr - h)      h: half of the range, 128 of 8 bits
//   G = Y - 0.3441 (Cb - h) - 0.7141 (Cr - h)
//   B = Y + 1.7720 (Cb - h)
#include "zrimaging/pixels/ColourConversion.h"

#include "zrimaging/Error.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace zr {

namespace {

constexpr std::size_t kChannels = 3;

ExDicomUtilities::LUT paletteOf(DcmItem& item) {
  ExDicomUtilities::LUT palette;
  ExDicomUtilities::LUT::dcmDatasetRead(palette, item, true);
  return palette;
}

bool hasEntries(const ExDicomUtilities::LUT& palette) {
  // Without entries a table is valid, too.
  return palette.entries.isNotNull() && palette.entries->hasData() && palette.isValid(kChannels) &&
         palette.entries->dims().x > 0;
}

std::size_t bytesPerEntry(const ExDicomUtilities::LUT& palette) {
  return static_cast<std::size_t>(palette.entries->primType().primTypeSize());
}

/// The stored bits of a container, as a number without a sign.
class SampleBits {
public:
  explicit SampleBits(const PixelDescription& pixels)
      : shift_(pixels.highBit + 1 >= pixels.bitsStored ? pixels.highBit + 1 - pixels.bitsStored
                                                       : 0),
        mask_(pixels.bitsStored == 0 ? 0 : 0xFFFFFFFFU >> (32 - std::min(pixels.bitsStored, 32U))) {
  }

  std::uint32_t of(std::uint32_t container) const { return container >> shift_ & mask_; }
  std::uint32_t highest() const { return mask_; }

private:
  unsigned shift_;
  std::uint32_t mask_;
};

/// Where the samples of a pixel are among the containers of a frame.
template <class Container>
class PixelReader {
public:
  PixelReader(const unsigned char* containers, const PixelDescription& pixels)
      : containers_(reinterpret_cast<const Container*>(containers)),
        pixelStep_(pixels.planesApart ? 1 : pixels.containersPerPixel()),
        sampleStep_(pixels.planesApart ? static_cast<std::size_t>(pixels.pixels()) : 1) {}

  Container sample(std::size_t pixel, std::size_t index) const {
    return containers_[pixel * pixelStep_ + index * sampleStep_];
  }

private:
  const Container* containers_;
  std::size_t pixelStep_;
  std::size_t sampleStep_;
};

template <class Container>
void interleave(const unsigned char* containers, const PixelDescription& pixels,
                unsigned char* target) {
  if (!pixels.planesApart) {
    std::memcpy(target, containers, static_cast<std::size_t>(pixels.containerBytes()));
    return;
  }
  const PixelReader<Container> reader(containers, pixels);
  auto* const samples = reinterpret_cast<Container*>(target);
  for (std::size_t pixel = 0; pixel < pixels.pixels(); ++pixel) {
    for (std::size_t i = 0; i < pixels.samplesPerPixel; ++i) {
      samples[pixel * pixels.samplesPerPixel + i] = reader.sample(pixel, i);
    }
  }
}

std::array<std::uint32_t, kChannels> rgbOfYbr(const std::array<std::uint32_t, kChannels>& ybr,
                                              std::uint32_t highest) {
  const double half = (static_cast<double>(highest) + 1) / 2;
  const double y = ybr[0];
  const double cb = ybr[1] - half;
  const double cr = ybr[2] - half;
  const auto cut = [highest](double value) {
    return static_cast<std::uint32_t>(
        std::clamp(std::round(value), 0.0, static_cast<double>(highest)));
  };
  return {cut(y + 1.4020 * cr), cut(y - 0.3441 * cb - 0.7141 * cr), cut(y + 1.7720 * cb)};
}

template <class Container>
void makeRgb(const unsigned char* containers, const PixelDescription& pixels, bool isYbr,
             unsigned char* target) {
  const PixelReader<Container> reader(containers, pixels);
  const SampleBits bits(pixels);
  auto* samples = reinterpret_cast<Container*>(target);
  for (std::size_t pixel = 0; pixel < pixels.pixels(); ++pixel) {
    std::array<std::uint32_t, kChannels> colour{};
    for (std::size_t i = 0; i < kChannels; ++i) {
      colour[i] = bits.of(reader.sample(pixel, i));
    }
    if (isYbr) {
      colour = rgbOfYbr(colour, bits.highest());
    }
    for (const std::uint32_t sample : colour) {
      *samples++ = static_cast<Container>(sample);
    }
  }
}

/// The value of an index: the stored bits with their sign.
std::int64_t paletteIndexOf(std::uint32_t bits, const PixelDescription& pixels) {
  const bool isNegative =
      pixels.isSigned && pixels.bitsStored > 0 && (bits >> (pixels.bitsStored - 1) & 1U) != 0;
  return isNegative ? std::int64_t{bits} - (std::int64_t{1} << pixels.bitsStored)
                    : std::int64_t{bits};
}

template <class Container>
void lookUpColours(const unsigned char* containers, const PixelDescription& pixels,
                   const ExDicomUtilities::LUT& palette, unsigned char* target) {
  const PixelReader<Container> reader(containers, pixels);
  const SampleBits bits(pixels);
  const std::size_t entryBytes = kChannels * bytesPerEntry(palette);
  const auto* const entries =
      static_cast<const unsigned char*>(std::as_const(*palette.entries).dataPtr(0));
  const std::int64_t last = palette.entries->dims().x - 1;
  for (std::size_t pixel = 0; pixel < pixels.pixels(); ++pixel) {
    const std::int64_t index = paletteIndexOf(bits.of(reader.sample(pixel, 0)), pixels);
    const std::int64_t entry = std::clamp<std::int64_t>(index - palette.firstMapped, 0, last);
    std::memcpy(target, entries + static_cast<std::size_t>(entry) * entryBytes, entryBytes);
    target += entryBytes;
  }
}

/// Calls `work` with a container of the width that the samples have.
template <class Work>
void withContainer(SampleType type, const Work& work) {
  switch (bytesOf(type)) {
    case 1:
      return work(std::uint8_t{});
    case 2:
      return work(std::uint16_t{});
    default:
      return work(std::uint32_t{});
  }
}

}  // namespace

bool isDeepColour(const PixelDescription& pixels, DcmItem& item) {
  if (pixels.isMonochrome()) {
    return false;
  }
  if (pixels.isPalette()) {
    const ExDicomUtilities::LUT palette = paletteOf(item);
    return hasEntries(palette) && bytesPerEntry(palette) == 2;
  }
  return pixels.bitsAllocated > 8;
}

ColourConversion::ColourConversion(const PixelDescription& pixels, DcmItem& item, Form form)
    : pixels_(pixels), form_(form) {
  if (form == Form::kRgb && pixels.isPalette()) {
    palette_ = paletteOf(item);
    if (!hasEntries(*palette_)) {
      throw Error(Reason::MissingAttribute, "has no palette that can be read");
    }
  }
}

SampleType ColourConversion::type() const {
  if (palette_) {
    return bytesPerEntry(*palette_) == 2 ? SampleType::kU16 : SampleType::kU8;
  }
  const SampleType container = pixels_.containerType();
  if (form_ == Form::kStored) {
    return container;
  }
  switch (bytesOf(container)) {
    case 1:
      return SampleType::kU8;
    case 2:
      return SampleType::kU16;
    default:
      return SampleType::kU32;
  }
}

std::size_t ColourConversion::channels() const {
  return form_ == Form::kStored ? pixels_.containersPerPixel() : kChannels;
}

void ColourConversion::convert(const unsigned char* containers, const std::string& interpretation,
                               unsigned char* target) const {
  if (form_ == Form::kStored) {
    return withContainer(pixels_.containerType(), [&](auto container) {
      interleave<decltype(container)>(containers, pixels_, target);
    });
  }
  if (palette_) {
    return withContainer(pixels_.containerType(), [&](auto container) {
      lookUpColours<decltype(container)>(containers, pixels_, *palette_, target);
    });
  }
  const bool isYbr = interpretation == "YBR_FULL";
  if ((!isYbr && interpretation != "RGB") || pixels_.containersPerPixel() != kChannels) {
    throw Error(Reason::Unsupported, "has " + std::to_string(pixels_.bitsAllocated) +
                                         " bits a sample in " + interpretation +
                                         ", which become RGB of 8 bits only");
  }
  withContainer(pixels_.containerType(), [&](auto container) {
    makeRgb<decltype(container)>(containers, pixels_, isYbr, target);
  });
}

}  // namespace zr
