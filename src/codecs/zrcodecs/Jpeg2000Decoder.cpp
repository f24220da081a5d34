// SPDX-License-Identifier: BSD-3-Clause
// From the bytes of a frame to its samples: the headers are read first, then OpenJPEG gets the
// codestream out of its boxes, always with an end marker behind it (some writers leave it out), in
// strict mode, on one thread. Without boxes no palette and no colour profile changes the
// components.
#include "zrcodecs/Jpeg2000Decoder.h"

#include "streams/Jpeg2000Stream.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcerror.h"
#include "dcmtk/oflog/oflog.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <openjpeg.h>
#include <string>

namespace zrcodecs {

namespace {

constexpr unsigned short kConditionCode = 2000;
constexpr char kOpenJpegFailed[] = "JPEG 2000 stream is damaged";
constexpr char kStreamGivesOtherImage[] =
    "JPEG 2000 stream gives another image than its header says";

OFCondition failure(const std::string& text) {
  return makeOFCondition(OFM_dcmdata, kConditionCode, OF_error, text.c_str());
}

OFLogger& logger() {
  static OFLogger theLogger = OFLog::getLogger("zrcodecs.jpeg2000");
  return theLogger;
}

std::string withoutNewline(const char* text) {
  std::string line(text);
  while (!line.empty() && line.back() == '\n') {
    line.pop_back();
  }
  return line;
}

void logError(const char* text, void* /*data*/) {
  OFLOG_ERROR(logger(), "OpenJPEG: " << withoutNewline(text));
}

void logWarning(const char* text, void* /*data*/) {
  OFLOG_DEBUG(logger(), "OpenJPEG: " << withoutNewline(text));
}

/// The codestream as OpenJPEG reads it: bytes in memory, then an end marker.
class CodestreamSource {
public:
  CodestreamSource(const Uint8* bytes, std::size_t size) : bytes_(bytes), size_(size) {}

  [[nodiscard]] std::size_t size() const { return size_ + kEnd.size(); }

  static OPJ_SIZE_T read(void* buffer, OPJ_SIZE_T count, void* data) {
    return static_cast<CodestreamSource*>(data)->take(static_cast<Uint8*>(buffer), count);
  }
  static OPJ_OFF_T skip(OPJ_OFF_T count, void* data) {
    CodestreamSource& self = *static_cast<CodestreamSource*>(data);
    const auto left = static_cast<OPJ_OFF_T>(self.size() - self.position_);
    const OPJ_OFF_T step = std::clamp<OPJ_OFF_T>(count, 0, left);
    self.position_ += static_cast<std::size_t>(step);
    return step == count ? step : -1;
  }
  static OPJ_BOOL seek(OPJ_OFF_T position, void* data) {
    CodestreamSource& self = *static_cast<CodestreamSource*>(data);
    if (position < 0 || static_cast<std::size_t>(position) > self.size()) {
      return OPJ_FALSE;
    }
    self.position_ = static_cast<std::size_t>(position);
    return OPJ_TRUE;
  }

private:
  static constexpr std::array<Uint8, 2> kEnd = {0xFF, 0xD9};

  /// -1 as OpenJPEG's own sources say it at the end.
  OPJ_SIZE_T take(Uint8* buffer, std::size_t count) {
    std::size_t taken = 0;
    if (position_ < size_) {
      taken = std::min(count, size_ - position_);
      std::memcpy(buffer, bytes_ + position_, taken);
      position_ += taken;
    }
    while (taken < count && position_ < size()) {
      buffer[taken++] = kEnd[position_++ - size_];
    }
    return taken > 0 ? taken : static_cast<OPJ_SIZE_T>(-1);
  }

  const Uint8* bytes_;
  std::size_t size_;
  std::size_t position_ = 0;
};

// OpenJPEG's streams and codecs are one type, so each has a deleter of its own.
struct DestroyCodec {
  void operator()(opj_codec_t* codec) const { opj_destroy_codec(codec); }
};
struct DestroyStream {
  void operator()(opj_stream_t* stream) const { opj_stream_destroy(stream); }
};
struct DestroyImage {
  void operator()(opj_image_t* image) const { opj_image_destroy(image); }
};
using CodecHandle = std::unique_ptr<opj_codec_t, DestroyCodec>;
using StreamHandle = std::unique_ptr<opj_stream_t, DestroyStream>;
using ImageHandle = std::unique_ptr<opj_image_t, DestroyImage>;

StreamHandle streamOf(CodestreamSource& source) {
  constexpr std::size_t kMostBuffered = std::size_t{1} << 20U;
  StreamHandle stream(opj_stream_create(std::min(source.size(), kMostBuffered), OPJ_TRUE));
  if (stream) {
    opj_stream_set_user_data(stream.get(), &source, nullptr);
    opj_stream_set_user_data_length(stream.get(), source.size());
    opj_stream_set_read_function(stream.get(), &CodestreamSource::read);
    opj_stream_set_skip_function(stream.get(), &CodestreamSource::skip);
    opj_stream_set_seek_function(stream.get(), &CodestreamSource::seek);
  }
  return stream;
}

/// Lets OpenJPEG decode; null, with the log saying why, when it does not.
ImageHandle imageOf(CodestreamSource& source) {
  CodecHandle codec(opj_create_decompress(OPJ_CODEC_J2K));
  const StreamHandle stream = streamOf(source);
  if (!codec || !stream) {
    return nullptr;
  }
  opj_dparameters_t parameters;
  opj_set_default_decoder_parameters(&parameters);
  opj_set_error_handler(codec.get(), &logError, nullptr);
  opj_set_warning_handler(codec.get(), &logWarning, nullptr);
  opj_image_t* image = nullptr;
  bool isDecoded = opj_setup_decoder(codec.get(), &parameters) == OPJ_TRUE &&
                   opj_decoder_set_strict_mode(codec.get(), OPJ_TRUE) == OPJ_TRUE &&
                   opj_read_header(stream.get(), codec.get(), &image) == OPJ_TRUE;
  ImageHandle handle(image);
  isDecoded = isDecoded && opj_decode(codec.get(), stream.get(), image) == OPJ_TRUE;
  return isDecoded ? std::move(handle) : nullptr;
}

/// Whether the image has the components that the header promised, each with samples.
bool hasPromisedSize(const opj_image_t& image, const CodedImageAttributes& attributes) {
  if (image.numcomps != attributes.samplesPerPixel) {
    return false;
  }
  const OPJ_UINT32 columns = attributes.columns;
  const OPJ_UINT32 rows = attributes.rows;
  return std::all_of(image.comps, image.comps + image.numcomps, [&](const opj_image_comp_t& part) {
    return part.data != nullptr && part.dx > 0 && part.dy > 0 && part.w >= columns / part.dx &&
           part.h >= rows / part.dy && part.w > 0 && part.h > 0;
  });
}

/// How a decoded number becomes a native sample.
struct SampleRule {
  OPJ_INT32 mask;  ///< bits that stay
  OPJ_INT32 sign;  ///< the bit that is a sign; 0 where the number has its sign already

  [[nodiscard]] OPJ_INT32 operator()(OPJ_INT32 value) const {
    return ((value & mask) ^ sign) - sign;
  }
};

SampleRule ruleFor(const opj_image_comp_t& component, const CodedImageAttributes& attributes) {
  const bool isSigned = component.sgnd != 0;
  const auto bits = static_cast<unsigned int>(component.prec);
  const auto ofStream = static_cast<OPJ_INT32>((1U << bits) - 1);
  if (attributes.pixelRepresentation == 0 || (!isSigned && bits >= attributes.bitsStored)) {
    return {ofStream, 0};
  }
  return isSigned ? SampleRule{-1, 0} : SampleRule{ofStream, 1 << (bits - 1)};
}

/// Where the samples of one component go.
template <class Sample>
struct Plane {
  Sample* samples;
  std::size_t step;  ///< from one to the next
};

/// Where the sample for a pixel is in a component: the nearest one at or before it.
///
/// @param pixel    place in the image's own grid
/// @param distance of samples in that grid
/// @param first    number of the component's first sample
/// @param count    of samples
OPJ_UINT32 indexFor(OPJ_UINT32 pixel, OPJ_UINT32 distance, OPJ_UINT32 first, OPJ_UINT32 count) {
  const OPJ_UINT32 number = pixel / distance;
  return std::min(number - std::min(number, first), count - 1);
}

/// Copies a component; one that is subsampled gives its samples to their neighbours too.
template <class Sample>
void copyComponent(const opj_image_t& image, const opj_image_comp_t& from, const SampleRule& rule,
                   const CodedImageAttributes& attributes, Plane<Sample> to) {
  Sample* out = to.samples;
  for (OPJ_UINT32 y = 0; y < attributes.rows; ++y) {
    const std::size_t row = indexFor(image.y0 + y, from.dy, from.y0, from.h);
    const OPJ_INT32* const line = from.data + row * from.w;
    for (OPJ_UINT32 x = 0; x < attributes.columns; ++x) {
      const OPJ_UINT32 column = from.dx == 1 ? x : indexFor(image.x0 + x, from.dx, from.x0, from.w);
      *out = static_cast<Sample>(rule(line[column]));
      out += to.step;
    }
  }
}

template <class Sample>
void copySamples(const opj_image_t& image, const CodedImageAttributes& attributes, Sample* target) {
  const std::size_t components = image.numcomps;
  const std::size_t pixels = std::size_t{1} * attributes.columns * attributes.rows;
  const bool isPlanar = attributes.planarConfiguration == 1;
  for (std::size_t i = 0; i < components; ++i) {
    const opj_image_comp_t& component = image.comps[i];
    const Plane<Sample> plane =
        isPlanar ? Plane<Sample>{target + i * pixels, 1} : Plane<Sample>{target + i, components};
    copyComponent(image, component, ruleFor(component, attributes), attributes, plane);
  }
}

Zrg::Result<Zrg::Jpeg2000Image> readHeaders(const Uint8* bytes, std::size_t size,
                                            const CodedImageAttributes& attributes,
                                            std::uint64_t mostSamples) {
  return Zrg::readJpeg2000Image(bytes, size,
                                {attributes.columns, attributes.rows, attributes.samplesPerPixel,
                                 attributes.bitsAllocated, mostSamples});
}

}  // namespace

OFCondition checkJpeg2000(const Uint8* bytes, std::size_t size,
                          const CodedImageAttributes& attributes, std::uint64_t mostSamples) {
  const auto headers = readHeaders(bytes, size, attributes, mostSamples);
  return headers ? EC_Normal : failure(headers.reason().text);
}

OFCondition decodeJpeg2000(const Uint8* bytes, std::size_t size,
                           const CodedImageAttributes& attributes, std::uint64_t mostSamples,
                           void* target) {
  const auto headers = readHeaders(bytes, size, attributes, mostSamples);
  if (!headers) {
    return failure(headers.reason().text);
  }
  CodestreamSource source(bytes + headers->begin, headers->end - headers->begin);
  const ImageHandle image = imageOf(source);
  if (!image) {
    return failure(kOpenJpegFailed);
  }
  if (!hasPromisedSize(*image, attributes)) {
    return failure(kStreamGivesOtherImage);
  }
  if (attributes.bitsAllocated == 8) {
    copySamples(*image, attributes, static_cast<Uint8*>(target));
  } else {
    copySamples(*image, attributes, static_cast<Uint16*>(target));
  }
  return EC_Normal;
}

}  // namespace zrcodecs
