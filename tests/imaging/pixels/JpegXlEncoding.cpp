// SPDX-License-Identifier: BSD-3-Clause
#include "JpegXlEncoding.h"

#include <jxl/encode.h>
#include <jxl/encode_cxx.h>
#include <stdexcept>

namespace coded {

namespace {

void require(bool holds, const char* what) {
  if (!holds) {
    throw std::runtime_error(std::string("libjxl: ") + what);
  }
}

/// The encoder takes samples in the full range of their containers.
std::vector<std::uint8_t> widened(const XlImage& image) {
  const unsigned highest = (1U << image.bits) - 1;
  const bool isWord = image.bits > 8;
  const unsigned full = isWord ? 0xFFFF : 0xFF;
  std::vector<std::uint8_t> bytes;
  for (const int sample : image.samples) {
    const auto number = static_cast<unsigned>(sample);
    const unsigned wide = (number * full + highest / 2) / highest;
    bytes.push_back(static_cast<std::uint8_t>(wide & 0xFFU));
    if (isWord) {
      bytes.push_back(static_cast<std::uint8_t>(wide >> 8U));
    }
  }
  return bytes;
}

JxlBasicInfo describe(const XlImage& image) {
  JxlBasicInfo info;
  JxlEncoderInitBasicInfo(&info);
  info.xsize = image.columns;
  info.ysize = image.rows;
  info.bits_per_sample = image.bits;
  info.num_color_channels = image.channels;
  info.uses_original_profile = JXL_TRUE;
  if (image.animated) {
    info.have_animation = JXL_TRUE;
    info.animation.tps_numerator = 1;
    info.animation.tps_denominator = 1;
  }
  if (image.alpha) {
    info.num_extra_channels = 1;
    info.alpha_bits = image.bits;
  }
  return info;
}

std::string outputOf(JxlEncoder* encoder) {
  std::string stream(1U << 20U, '\0');
  auto* next = reinterpret_cast<std::uint8_t*>(stream.data());
  std::size_t left = stream.size();
  require(JxlEncoderProcessOutput(encoder, &next, &left) == JXL_ENC_SUCCESS, "output");
  stream.resize(stream.size() - left);
  return stream;
}

}  // namespace

std::string jpegXlOf(const XlImage& image) {
  const JxlEncoderPtr encoder = JxlEncoderMake(nullptr);
  const JxlBasicInfo info = describe(image);
  require(JxlEncoderSetBasicInfo(encoder.get(), &info) == JXL_ENC_SUCCESS, "basic info");
  require(JxlEncoderSetCodestreamLevel(encoder.get(), image.bits > 12 ? 10 : 5) == JXL_ENC_SUCCESS,
          "level");
  JxlColorEncoding colours;
  JxlColorEncodingSetToSRGB(&colours, image.channels == 1 ? JXL_TRUE : JXL_FALSE);
  require(JxlEncoderSetColorEncoding(encoder.get(), &colours) == JXL_ENC_SUCCESS, "colours");
  JxlEncoderFrameSettings* const settings = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
  require(JxlEncoderSetFrameLossless(settings, JXL_TRUE) == JXL_ENC_SUCCESS, "lossless");
  const JxlPixelFormat format = {image.channels + (image.alpha ? 1 : 0),
                                 image.bits > 8 ? JXL_TYPE_UINT16 : JXL_TYPE_UINT8,
                                 JXL_LITTLE_ENDIAN, 0};
  const std::vector<std::uint8_t> samples = widened(image);
  require(
      JxlEncoderAddImageFrame(settings, &format, samples.data(), samples.size()) == JXL_ENC_SUCCESS,
      "frame");
  JxlEncoderCloseInput(encoder.get());
  return outputOf(encoder.get());
}

}  // namespace coded
