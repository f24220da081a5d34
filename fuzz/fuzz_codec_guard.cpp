// SPDX-License-Identifier: BSD-3-Clause
// The guard before the decoders on fragments of any bytes, which stand in memory of exactly their
// length. Its answers must not depend on how a stream is cut into fragments, and must be those of a
// plain walk over the bytes; what it calls safe DCMTK's RLE decoder must decode to the samples that
// a plain decoder finds.
#include "ImageInput.h"
#include "streams/CodecGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixel.h"
#include "dcmtk/dcmdata/dcrledrg.h"

#include <cmath>
#include <cstring>
#include <optional>

namespace {

using fuzz::ImageInput;
using fuzz::Input;
using fuzz::require;
using Bytes = std::vector<Uint8>;

constexpr unsigned long long kMostBytes = 0xFFFFFFFE;
constexpr std::size_t kRleHeaderSize = 64;

struct Image {
  ImageInput head;
  std::vector<Bytes> fragments;
  DcmDataset dataset;
  DcmPixelData* pixelData = nullptr;

  Image(const ImageInput& asked, const Uint8* data, std::size_t size) : head(asked) {
    Input input(data, size);
    (void)ImageInput::read(input);
    head.addAttributes(dataset, input);
    const Bytes payload = input.rest();
    fragments = head.fragmentsOf(payload);
    head.addPixelData(dataset, payload);
    DcmElement* element = nullptr;
    (void)dataset.findAndGetElement(DCM_PixelData, element);  // a null pointer says that it failed
    pixelData = dynamic_cast<DcmPixelData*>(element);
    require(pixelData != nullptr);
  }

  [[nodiscard]] bool isWhole() const { return head.missing == 0; }
  [[nodiscard]] std::size_t pixels() const {
    return static_cast<std::size_t>(head.rows) * head.columns;
  }
  [[nodiscard]] std::size_t bytesPerSample() const { return (head.bitsAllocated + 7U) / 8; }
  [[nodiscard]] std::size_t bytesPerPixel() const {
    return bytesPerSample() * head.samplesPerPixel;
  }
  [[nodiscard]] std::size_t frameSize() const { return pixels() * bytesPerPixel(); }
  Zrg::CodecGuard guard() { return {dataset, *pixelData}; }
};

/// Every answer there is, twice; and the count of bytes in so many bits that it cannot wrap.
void checkAnswers(Image& image) {
  Zrg::CodecGuard guard = image.guard();
  const auto first = static_cast<unsigned long>(std::abs(image.head.first));
  const auto count = static_cast<unsigned long>(std::abs(image.head.last));
  const auto frame = static_cast<Uint32>(first);
  require(guard.allFramesAreSafe() == guard.allFramesAreSafe());
  require(guard.colourModelIsSafe() == guard.colourModelIsSafe());
  require(guard.framesAreSafe(first, count) == guard.framesAreSafe(first, count));
  require(guard.frameIsSafe(frame, 0, image.frameSize()) ==
          guard.frameIsSafe(frame, 0, image.frameSize()));
  const DcmXfer syntax(image.head.transferSyntax());
  if (image.isWhole() && syntax.isEncapsulated() && syntax.getXfer() != EXS_JPEG2000LosslessOnly) {
    const std::size_t wide = image.head.bitsStored > 8 ? 2 : 1;
    __extension__ using Wide = unsigned __int128;
    const Wide size = Wide{image.pixels()} * image.head.samplesPerPixel *
                      std::max(image.bytesPerSample(), wide) * image.head.frames;
    require(guard.isCountable(image.head.frames) == (size <= kMostBytes));
  }
}

std::uint32_t little32(const Bytes& bytes, std::size_t at) {
  return bytes[at] | static_cast<std::uint32_t>(bytes[at + 1]) << 8U |
         static_cast<std::uint32_t>(bytes[at + 2]) << 16U |
         static_cast<std::uint32_t>(bytes[at + 3]) << 24U;
}

/// One plane out of the bytes from `begin` to `end`; nothing when they do not fill it, or not
/// without a control byte of 128.
std::optional<Bytes> unpackPlane(const Bytes& frame, std::size_t begin, std::size_t end,
                                 std::size_t wanted) {
  Bytes plane;
  while (plane.size() < wanted) {
    if (begin >= end) {
      return std::nullopt;
    }
    const unsigned control = frame[begin++];
    if (control == 128) {
      return std::nullopt;  // which DCMTK would not take for what it is
    }
    if (control < 128) {
      const std::size_t count = std::min<std::size_t>(control + 1, end - begin);
      plane.insert(plane.end(), frame.data() + begin, frame.data() + begin + count);
      begin += count;
    } else if (begin < end) {
      plane.insert(plane.end(), 257 - control, frame[begin++]);
    }
  }
  plane.resize(wanted);
  return plane;
}

/// The planes of an RLE frame, the highest byte of a sample first. @see PS3.5 Annex G
std::optional<std::vector<Bytes>> unpackRle(const Bytes& frame, std::size_t segments,
                                            std::size_t pixels) {
  if (frame.size() < kRleHeaderSize || segments < 1 || segments > 15 ||
      little32(frame, 0) != segments) {
    return std::nullopt;
  }
  std::vector<Bytes> planes;
  std::size_t least = kRleHeaderSize;
  for (std::size_t segment = 1; segment <= segments; ++segment) {
    const std::size_t begin = little32(frame, 4 * segment);
    const std::size_t next = segment < segments ? little32(frame, 4 * (segment + 1)) : frame.size();
    if (begin < least || begin > frame.size() || next < begin) {
      return std::nullopt;
    }
    std::optional<Bytes> plane = unpackPlane(frame, begin, std::min(next, frame.size()), pixels);
    if (!plane) {
      return std::nullopt;
    }
    planes.push_back(std::move(*plane));
    least = begin;
  }
  return planes;
}

/// The samples as DCMTK delivers them: little endian, by pixel or by plane.
Bytes samplesOf(const std::vector<Bytes>& planes, const Image& image) {
  const std::size_t bytes = image.bytesPerSample();
  Bytes samples(image.frameSize());
  for (std::size_t segment = 0; segment < planes.size(); ++segment) {
    const std::size_t sample = segment / bytes;
    const std::size_t place = bytes - 1 - segment % bytes;
    for (std::size_t pixel = 0; pixel < image.pixels(); ++pixel) {
      const std::size_t at = image.head.has(ImageInput::kPlanar)
                                 ? sample * image.pixels() + pixel
                                 : pixel * image.head.samplesPerPixel + sample;
      samples[at * bytes + place] = planes[segment][pixel];
    }
  }
  return samples;
}

void checkRle(Image& image) {
  if (!image.isWhole() || image.fragments.empty() || image.pixels() > 4096) {
    return;
  }
  const std::optional<std::vector<Bytes>> planes =
      unpackRle(image.fragments[0], image.bytesPerPixel(), image.pixels());
  require(image.guard().frameIsSafe(0, 1, image.frameSize()) == planes.has_value());
  require(!image.guard().frameIsSafe(0, 1, image.frameSize() + 1));
  if (!planes) {
    return;
  }
  Bytes samples(image.frameSize() + image.frameSize() % 2, 0xA7);
  Uint32 fragment = 1;
  OFString colourModel;
  const OFCondition status = image.pixelData->getUncompressedFrame(
      &image.dataset, 0, fragment, samples.data(), static_cast<Uint32>(samples.size()), colourModel,
      nullptr);
  if (status.good()) {
    const Bytes expected = samplesOf(*planes, image);
    require(std::memcmp(samples.data(), expected.data(), expected.size()) == 0);
  }
}

bool beginsImage(const Bytes& bytes) {
  return bytes.size() >= 2 && bytes[0] == 0xFF && bytes[1] == 0xD8;
}

/// The bytes of the first frame: its fragments up to the one that begins another image.
Bytes firstFrameOf(const Image& image) {
  Bytes frame;
  for (std::size_t i = 0; i < image.fragments.size(); ++i) {
    if (i > 0 && beginsImage(image.fragments[i])) {
      break;
    }
    frame.insert(frame.end(), image.fragments[i].begin(), image.fragments[i].end());
  }
  return frame;
}

struct FrameHeader {
  unsigned process;  ///< second byte of its marker
  unsigned precision;
  unsigned rows;
  unsigned columns;
  unsigned components;
  Bytes sampling;   ///< of the components that are there
  std::size_t end;  ///< of its segment
};

bool isIn(Uint8 code, std::initializer_list<Uint8> codes) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

/// The frame header of a JPEG stream, where every marker before it can be passed.
std::optional<FrameHeader> findFrameHeader(const Bytes& bytes) {
  const auto big16 = [&bytes](std::size_t at) { return bytes[at] * 256U + bytes[at + 1]; };
  std::size_t at = 2;
  while (beginsImage(bytes) && at < bytes.size() && bytes[at] == 0xFF) {
    while (at < bytes.size() && bytes[at] == 0xFF) {
      ++at;
    }
    if (at >= bytes.size() || isIn(bytes[at], {0x00, 0x01, 0x02, 0xD9, 0xDA})) {
      break;
    }
    const Uint8 code = bytes[at++];
    if (code < 0xC0 || (code >= 0xD0 && code <= 0xD8)) {
      continue;
    }
    if (at + 2 > bytes.size() || big16(at) < 2) {
      break;
    }
    const std::size_t length = big16(at);
    if (code <= 0xCF && !isIn(code, {0xC4, 0xC8, 0xCC})) {
      if (length < 8 || at + 8 > bytes.size()) {
        break;
      }
      FrameHeader header{code,
                         bytes[at + 2],
                         big16(at + 3),
                         big16(at + 5),
                         bytes[at + 7],
                         {},
                         std::min(bytes.size(), at + length)};
      for (std::size_t i = at + 9; i + 1 < header.end; i += 3) {
        header.sampling.push_back(bytes[i]);
      }
      return header;
    }
    at += length;
    if (at > bytes.size()) {
      break;
    }
  }
  return std::nullopt;
}

/// The fewest bits of a frame; nothing where DCMTK has no decoder. @see ITU-T T.81 F, G, H
std::optional<std::size_t> leastBits(const FrameHeader& header) {
  if (!isIn(static_cast<Uint8>(header.process), {0xC0, 0xC1, 0xC2, 0xC3}) ||
      header.components == 0 || header.components > 10 ||
      header.sampling.size() < header.components) {
    return std::nullopt;
  }
  unsigned mostAcross = 0;
  unsigned mostDown = 0;
  for (unsigned i = 0; i < header.components; ++i) {
    const unsigned across = header.sampling[i] / 16;
    const unsigned down = header.sampling[i] % 16;
    if (across < 1 || across > 4 || down < 1 || down > 4) {
      return std::nullopt;
    }
    mostAcross = std::max(mostAcross, across);
    mostDown = std::max(mostDown, down);
  }
  const double side = header.process == 0xC3 ? 1 : 8;
  double units = 0;
  for (unsigned i = 0; i < header.components; ++i) {
    units += std::ceil(header.columns * (header.sampling[i] / 16) / (mostAcross * side)) *
             std::ceil(header.rows * (header.sampling[i] % 16) / (mostDown * side));
  }
  return static_cast<std::size_t>(header.process < 0xC2 ? 2 * units : units);
}

/// Bits of the coded data from a place in a stream on, a byte after the other.
std::size_t codedBits(const Bytes& bytes, std::size_t at) {
  std::size_t count = 0;
  bool isInScan = false;
  while (at < bytes.size()) {
    if (bytes[at] != 0xFF) {
      count += isInScan ? 1 : 0;
      ++at;
      continue;
    }
    while (at < bytes.size() && bytes[at] == 0xFF) {
      ++at;
    }
    if (at == bytes.size() || bytes[at] == 0xD9) {
      break;
    }
    const Uint8 code = bytes[at++];
    if (isInScan && (code == 0 || (code >= 0xD0 && code <= 0xD7))) {
      count += code == 0 ? 1 : 0;
      continue;
    }
    isInScan = false;
    if (code < 0xC0 || (code >= 0xD0 && code <= 0xD8)) {
      continue;
    }
    const std::size_t length = at + 1 < bytes.size() ? bytes[at] * 256U + bytes[at + 1] : 0;
    if (length < 2 || at + length > bytes.size()) {
      break;
    }
    at += length;
    isInScan = code == 0xDA;
  }
  return 8 * count;
}

void checkJpeg(Image& image) {
  if (!image.isWhole() || image.fragments.empty()) {
    return;
  }
  const Bytes frame = firstFrameOf(image);
  const std::optional<FrameHeader> header = findFrameHeader(frame);
  const bool agrees = header && header->precision <= image.head.bitsAllocated &&
                      header->rows == image.head.rows && header->columns == image.head.columns &&
                      header->components == image.head.samplesPerPixel;
  const std::size_t wanted =
      image.pixels() * image.head.samplesPerPixel * (header && header->precision > 8 ? 2 : 1);
  const std::optional<std::size_t> least = agrees ? leastBits(*header) : std::nullopt;
  const bool isWhole = least && codedBits(frame, header->end) >= *least;
  require(image.guard().frameIsSafe(0, 1, wanted) == (isWhole && image.guard().isCountable(1)));
  // Nothing may be decoded for which no memory would be taken.
  require(!image.guard().frameIsSafe(0, 0, wanted) || image.guard().mayHoldFrames(0, 1));
}

/// Where a stream is cut must not matter, unless a cut makes a new image of its rest. Of JPEG-LS
/// with several frames it does: as many fragments as frames are taken for a frame each.
void checkCuts(Image& image, const Uint8* data, std::size_t size) {
  const auto isContinuation = [](const Bytes& fragment) { return !beginsImage(fragment); };
  if (image.fragments.size() < 2 ||
      !std::all_of(image.fragments.begin() + 1, image.fragments.end(), isContinuation)) {
    return;
  }
  ImageInput uncut = image.head;
  uncut.cuts = {};
  Image whole(uncut, data, size);
  if (whole.fragments[0] != firstFrameOf(image)) {
    return;  // a pad byte stands inside
  }
  for (const std::size_t bytes : {std::size_t{1}, std::size_t{2}}) {
    const std::size_t wanted = image.pixels() * image.head.samplesPerPixel * bytes;
    require(image.guard().frameIsSafe(0, 1, wanted) == whole.guard().frameIsSafe(0, 1, wanted));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  DcmRLEDecoderRegistration::registerCodecs(OFFalse, OFFalse);
  Input input(data, size);
  ImageInput head = ImageInput::read(input);
  const unsigned road = head.road % 4;
  if (road != 3) {
    head.syntax = ImageInput::indexOf(road == 0   ? EXS_RLELossless
                                      : road == 1 ? EXS_JPEGProcess14SV1
                                                  : EXS_JPEGLSLossless);
  }
  if (road == 2) {
    head.frames = 1;
    head.parts &= ~static_cast<unsigned>(ImageInput::kTexts);  // one of them counts the frames, too
  }
  Image image(head, data, size);
  switch (road) {
    case 0:
      checkRle(image);
      break;
    case 1:
      checkJpeg(image);
      checkCuts(image, data, size);
      break;
    case 2:
      checkCuts(image, data, size);
      break;
    default:
      checkAnswers(image);
      break;
  }
  return 0;
}
