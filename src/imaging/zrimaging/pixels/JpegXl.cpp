// SPDX-License-Identifier: BSD-3-Clause
// Frames in JPEG XL (ISO/IEC 18181), by libjxl. What the stream says of itself has to agree with
// the attributes before memory is taken for samples: columns, rows, samples of a pixel, bits.
// Animations, layers and channels beside the colours are refused.
//
// libjxl hands integers out in the full range of 8 or 16 bits, whatever the precision of the
// stream; smaller ranges are scaled back, which is exact.
#include "zrimaging/Error.h"
#include "zrimaging/pixels/CodedFrames.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/JpegXlFrame.h"
#include "zrimaging/pixels/PixelDescription.h"

#include <algorithm>
#include <jxl/decode.h>
#include <jxl/decode_cxx.h>
#include <new>
#include <string>
#include <vector>

namespace zr {

namespace {

constexpr std::uint32_t kGrey = 1;
constexpr std::uint32_t kColour = 3;

class JpegXlDecoder {
public:
  JpegXlDecoder(const std::uint8_t* stream, std::size_t size, const JpegXlImage& image)
      : decoder_(JxlDecoderMake(nullptr)), image_(image) {
    if (!decoder_) {
      throw std::bad_alloc();
    }
    const bool isReady =
        JxlDecoderSubscribeEvents(decoder_.get(), JXL_DEC_BASIC_INFO | JXL_DEC_FRAME |
                                                      JXL_DEC_FULL_IMAGE) == JXL_DEC_SUCCESS &&
        JxlDecoderSetCoalescing(decoder_.get(), JXL_FALSE) == JXL_DEC_SUCCESS &&
        JxlDecoderSetKeepOrientation(decoder_.get(), JXL_TRUE) == JXL_DEC_SUCCESS &&
        JxlDecoderSetInput(decoder_.get(), stream, size) == JXL_DEC_SUCCESS;
    if (!isReady) {
      throw std::bad_alloc();  // an empty stream is refused by who calls
    }
    JxlDecoderCloseInput(decoder_.get());
  }

  /// Goes on until the headers are judged, or to the end where there is a target.
  /// @return what is wrong; empty when nothing is
  std::string run(unsigned char* target) {
    for (;;) {
      switch (JxlDecoderProcessInput(decoder_.get())) {
        case JXL_DEC_BASIC_INFO:
          if (std::string fault = judgeImage(); !fault.empty() || target == nullptr) {
            return fault;
          }
          break;
        case JXL_DEC_FRAME:
          if (!isOnlyFrame()) {
            return "that has layers or several images";
          }
          break;
        case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
          if (!takeBuffer(target)) {
            return "that does not decode";
          }
          break;
        case JXL_DEC_FULL_IMAGE:
          isDecoded_ = true;
          break;
        case JXL_DEC_SUCCESS:
          return isDecoded_ ? "" : "that does not decode";
        default:
          return "that does not decode";
      }
    }
  }

  std::uint32_t precision() const { return info_.bits_per_sample; }
  bool keepsColours() const { return info_.uses_original_profile == JXL_TRUE; }

private:
  std::string judgeImage() {
    if (JxlDecoderGetBasicInfo(decoder_.get(), &info_) != JXL_DEC_SUCCESS) {
      return "that does not decode";
    }
    if (info_.xsize != image_.columns || info_.ysize != image_.rows) {
      return "of " + std::to_string(info_.xsize) + " columns and " + std::to_string(info_.ysize) +
             " rows";
    }
    if (info_.num_color_channels != image_.channels || info_.num_extra_channels != 0) {
      return "of " + std::to_string(info_.num_color_channels + info_.num_extra_channels) +
             " samples a pixel";
    }
    const bool fits = info_.bits_per_sample == image_.bitsStored ||
                      info_.bits_per_sample == 8 * image_.bytesPerSample;
    if (!fits || info_.exponent_bits_per_sample != 0) {
      return "of " + std::to_string(info_.bits_per_sample) +
             (info_.exponent_bits_per_sample != 0 ? " bits a sample, floating-point"
                                                  : " bits a sample");
    }
    return info_.have_animation == JXL_TRUE || info_.have_preview == JXL_TRUE ||
                   info_.orientation != JXL_ORIENT_IDENTITY
               ? "that is animated, turned or has a preview"
               : "";
  }

  bool isOnlyFrame() {
    JxlFrameHeader header;
    return !isDecoded_ && JxlDecoderGetFrameHeader(decoder_.get(), &header) == JXL_DEC_SUCCESS &&
           header.is_last == JXL_TRUE && header.layer_info.have_crop == JXL_FALSE;
  }

  bool takeBuffer(unsigned char* target) {
    const JxlPixelFormat format = {image_.channels,
                                   image_.bytesPerSample == 1 ? JXL_TYPE_UINT8 : JXL_TYPE_UINT16,
                                   JXL_NATIVE_ENDIAN, 0};
    std::size_t size = 0;
    return JxlDecoderImageOutBufferSize(decoder_.get(), &format, &size) == JXL_DEC_SUCCESS &&
           size == image_.bytes() &&
           JxlDecoderSetImageOutBuffer(decoder_.get(), &format, target, size) == JXL_DEC_SUCCESS;
  }

  JxlDecoderPtr decoder_;
  JpegXlImage image_;
  JxlBasicInfo info_{};
  bool isDecoded_ = false;
};

/// Brings samples from the full range of their containers back to that of their precision.
template <class Sample>
void scaleBack(unsigned char* bytes, std::size_t count, unsigned precision) {
  auto* const samples = reinterpret_cast<Sample*>(bytes);
  constexpr std::uint32_t kHighest = static_cast<Sample>(-1);
  const std::uint32_t highest = (std::uint32_t{1} << precision) - 1;
  for (std::size_t i = 0; i < count; ++i) {
    samples[i] = static_cast<Sample>((samples[i] * highest + kHighest / 2) / kHighest);
  }
}

}  // namespace

JpegXlResult decodeJpegXl(const std::uint8_t* stream, std::size_t size, const JpegXlImage& image,
                          unsigned char* target) {
  JpegXlResult result;
  // libjxl says on stderr that it is no stream of its own.
  const JxlSignature signature = JxlSignatureCheck(stream, size);
  if (signature != JXL_SIG_CODESTREAM && signature != JXL_SIG_CONTAINER) {
    result.fault = "that does not decode";
    return result;
  }
  JpegXlDecoder decoder(stream, size, image);
  result.fault = decoder.run(target);
  if (!result.fault.empty() || target == nullptr) {
    return result;
  }
  result.keepsColours = decoder.keepsColours();
  const std::size_t samples = image.bytes() / image.bytesPerSample;
  if (decoder.precision() < 8 * image.bytesPerSample) {
    if (image.bytesPerSample == 1) {
      scaleBack<std::uint8_t>(target, samples, decoder.precision());
    } else {
      scaleBack<std::uint16_t>(target, samples, decoder.precision());
    }
  }
  return result;
}

namespace {

class JpegXlContainers final : public Containers {
public:
  JpegXlContainers(const File& file, const PixelDescription& pixels)
      : pixels_(pixels), coded_(file) {
    const bool isKnown = (pixels.samplesPerPixel == kGrey || pixels.samplesPerPixel == kColour) &&
                         (pixels.bitsAllocated == 8 || pixels.bitsAllocated == 16);
    if (!isKnown || pixels.isSigned || pixels.planesApart) {
      throw Error(Reason::Unsupported,
                  "has samples in JPEG XL that are not decoded; those that are have 8 or 16 bits "
                  "without a sign, 1 or 3 of them side by side a pixel");
    }
  }

  void check(std::uint64_t frame) override { (void)decode(frame, nullptr); }

  std::string read(std::uint64_t frame, unsigned char* target) override {
    const bool keepsColours = decode(frame, target);
    const std::string& stated = pixels_.photometricInterpretation;
    const bool staysYbr =
        stated == "YBR_FULL" && keepsColours && pixels_.transferSyntax == kLossless;
    return pixels_.samplesPerPixel == kGrey || staysYbr ? stated : "RGB";
  }

private:
  static constexpr const char* kLossless = "1.2.840.10008.1.2.4.110";

  bool decode(std::uint64_t frame, unsigned char* target) {
    const std::vector<std::uint8_t>& coded = coded_.bytesOf(frame);
    const JpegXlImage image = {static_cast<std::uint32_t>(pixels_.columns),
                               static_cast<std::uint32_t>(pixels_.rows),
                               static_cast<std::uint32_t>(pixels_.samplesPerPixel),
                               pixels_.bitsStored, pixels_.bitsAllocated / 8};
    const JpegXlResult result = decodeJpegXl(coded.data(), coded.size(), image, target);
    if (!result.fault.empty()) {
      throw Error(Reason::Undecodable,
                  "has a frame in JPEG XL (number " + std::to_string(frame) + ") " + result.fault);
    }
    return result.keepsColours;
  }

  PixelDescription pixels_;
  CodedFrames coded_;
};

}  // namespace

std::unique_ptr<Containers> jpegXlContainers(const File& file, const PixelDescription& pixels) {
  return std::make_unique<JpegXlContainers>(file, pixels);
}

}  // namespace zr
