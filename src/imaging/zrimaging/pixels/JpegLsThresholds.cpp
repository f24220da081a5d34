// SPDX-License-Identifier: BSD-3-Clause
// The headers of a JPEG-LS stream, as far as they matter here; numbers have the high byte first:
//
//   FFD8                                                start of image
//   FFF7 length(2) precision(1) ...                     frame header
//   FFF8 length(2) 1 MAXVAL(2) T1(2) T2(2) T3(2) RESET(2)   thresholds
//   FFDA length(2) count(1) count x 2 bytes, NEAR(1) ...    scan header
#include "zrimaging/pixels/JpegLsThresholds.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/pixels/CodedFrames.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/PixelAttributes.h"
#include "zrimaging/pixels/PixelDescription.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace zr {

namespace {

constexpr unsigned kFrameHeader = 0xF7;
constexpr unsigned kPresetParameters = 0xF8;
constexpr unsigned kScanHeader = 0xDA;
constexpr std::uint8_t kThresholds = 1;  // kind of preset parameters
constexpr std::size_t kMarkerBytes = 2;

struct Headers {
  unsigned precision = 0;
  unsigned near = 0;
  std::size_t behindFrameHeader = 0;
  bool hasThresholds = false;
};

unsigned word(const std::vector<std::uint8_t>& stream, std::size_t at) {
  return static_cast<unsigned>(stream[at] << 8U | stream[at + 1]);
}

/// Reads the headers up to the first scan.
std::optional<Headers> readHeaders(const std::vector<std::uint8_t>& stream) {
  Headers headers;
  std::size_t at = kMarkerBytes;  // behind the start of image
  // The shortest segment is looked at, which has a length and one byte.
  while (stream.size() >= kMarkerBytes && at + 5 <= stream.size() && stream[at] == 0xFF) {
    const unsigned marker = stream[at + 1];
    const std::size_t content = at + 2 * kMarkerBytes;
    const std::size_t end = at + kMarkerBytes + word(stream, at + kMarkerBytes);
    if (end <= content || end > stream.size()) {
      return std::nullopt;
    }
    if (marker == kFrameHeader) {
      headers.precision = stream[content];
      headers.behindFrameHeader = end;
    } else if (marker == kPresetParameters) {
      headers.hasThresholds = headers.hasThresholds || stream[content] == kThresholds;
    } else if (marker == kScanHeader) {
      const std::size_t near = content + 1 + std::size_t{2} * stream[content];
      if (near >= end || headers.behindFrameHeader == 0) {
        return std::nullopt;
      }
      headers.near = stream[near];
      return headers;
    }
    at = end;
  }
  return std::nullopt;
}

/// The thresholds of ITU-T T.87 C.2.4.1.1.1 for samples below 128.
std::vector<std::uint8_t> defaultThresholds(unsigned precision, unsigned near) {
  constexpr unsigned kReset = 64;
  const unsigned highest = (1U << precision) - 1;
  const unsigned factor = 256 / (highest + 1);
  const auto threshold = [&](unsigned basic, unsigned least, unsigned lowest) {
    const unsigned value = std::max(least, basic / factor + (2 * least - 1) * near);
    return value > highest || value < lowest ? lowest : value;
  };
  const unsigned first = threshold(3, 2, near + 1);
  const unsigned second = threshold(7, 3, first);
  const unsigned third = threshold(21, 4, second);
  std::vector<std::uint8_t> segment = {0xFF, kPresetParameters, 0, 13, kThresholds};
  for (const unsigned number : {highest, first, second, third, kReset}) {
    segment.push_back(static_cast<std::uint8_t>(number >> 8U));
    segment.push_back(static_cast<std::uint8_t>(number & 0xFFU));
  }
  return segment;
}

void require(bool holds) {
  if (!holds) {
    throw Error(Reason::OutOfMemory, "out of memory");  // nothing else keeps an element out
  }
}

/// Puts a stream into an item, as its pixel data of one frame.
void setPixelData(DcmItem& item, const std::vector<std::uint8_t>& stream, E_TransferSyntax syntax) {
  std::vector<std::uint8_t> even = stream;
  even.resize((even.size() + 1) / 2 * 2, 0);
  auto sequence = std::make_unique<DcmPixelSequence>(DCM_PixelSequenceTag);
  for (const bool isTable : {true, false}) {
    auto fragment = std::make_unique<DcmPixelItem>(DCM_PixelItemTag);
    require(isTable ||
            fragment->putUint8Array(even.data(), static_cast<unsigned long>(even.size())).good());
    require(sequence->insert(fragment.get()).good());
    (void)fragment.release();  // the sequence has it
  }
  auto pixelData = std::make_unique<DcmPixelData>(DCM_PixelData);
  pixelData->putOriginalRepresentation(syntax, nullptr, sequence.release());
  require(item.insert(pixelData.get(), OFTrue).good());
  (void)pixelData.release();  // the item has it
}

class JpegLsContainers final : public Containers {
public:
  JpegLsContainers(const File& file, const PixelDescription& pixels)
      : file_(file),
        pixels_(pixels),
        coded_(file),
        oneFrame_(copyPixelAttributes(file.dataset())) {}

  void check(std::uint64_t frame) override {
    std::string error;
    Zrg::FrameReader reader;
    if (!open(frame, reader, error) || !reader.check(0, error)) {
      throw refusal(frame, error);
    }
  }

  std::string read(std::uint64_t frame, unsigned char* target) override {
    std::string error;
    std::string interpretation;
    Zrg::FrameReader reader;
    if (!open(frame, reader, error) ||
        !reader.decodeContainers(0, target, pixels_.containerBytes(), interpretation, error)) {
      throw refusal(frame, error);
    }
    return interpretation;
  }

private:
  bool open(std::uint64_t frame, Zrg::FrameReader& reader, std::string& error) {
    setPixelData(*oneFrame_, withThresholds(coded_.bytesOf(frame)),
                 file_.dataset().getOriginalXfer());
    return reader.open(*oneFrame_, error) && reader.containerBytes() == pixels_.containerBytes();
  }

  static Error refusal(std::uint64_t frame, const std::string& error) {
    return {Reason::Undecodable, "frame " + std::to_string(frame) + ": " + error};
  }

  const File& file_;
  PixelDescription pixels_;
  CodedFrames coded_;
  std::unique_ptr<DcmItem> oneFrame_;
};

}  // namespace

std::vector<std::uint8_t> withThresholds(const std::vector<std::uint8_t>& stream) {
  constexpr unsigned kLowestPrecision = 2;
  constexpr unsigned kRightDefaultsFrom = 8;
  const std::optional<Headers> headers = readHeaders(stream);
  if (!headers || headers->hasThresholds || headers->precision < kLowestPrecision ||
      headers->precision >= kRightDefaultsFrom) {
    return stream;
  }
  std::vector<std::uint8_t> mended = stream;
  const std::vector<std::uint8_t> segment = defaultThresholds(headers->precision, headers->near);
  mended.insert(mended.begin() + static_cast<std::ptrdiff_t>(headers->behindFrameHeader),
                segment.begin(), segment.end());
  return mended;
}

std::unique_ptr<Containers> jpegLsContainers(const File& file, const PixelDescription& pixels) {
  return std::make_unique<JpegLsContainers>(file, pixels);
}

}  // namespace zr
