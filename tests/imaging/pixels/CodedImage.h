// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "support/ImageBuilder.h"
#include "support/RawFile.h"

#include <cstdint>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>

/// Images whose compressed frames a test makes itself.
namespace coded {

inline std::string textOf(const std::vector<std::uint8_t>& bytes) {
  return {bytes.begin(), bytes.end()};
}

/// With a pad byte where there is an odd number of them, as fragments have.
inline std::string fragment(std::string stream) {
  stream.resize((stream.size() + 1) / 2 * 2, '\0');
  return stream;
}

inline zr::Image image(const support::ImageBuilder& attributes, const std::string& syntax,
                       const std::vector<std::string>& frames) {
  const std::string bytes = support::fileOf(attributes, syntax, support::encapsulated(frames));
  return zr::Image(zr::File::fromBytes(bytes.data(), bytes.size()));
}

inline std::vector<int> samplesOf(const zr::DecodedFrames& frames) {
  std::vector<int> values;
  const zr::SampleArray& samples = frames.samples();
  for (std::size_t i = 0; i < samples.byteCount() / zr::bytesOf(samples.type); ++i) {
    values.push_back(samples.sample(i));
  }
  return values;
}

inline std::vector<int> decode(const zr::Image& image, zr::Values values = zr::Values::kSamples) {
  zr::DecodeRequest request;
  request.values = values;
  return samplesOf(image.decode(request, {}));
}

/// The reason for which an image does not decode; empty when it does.
inline std::string refusal(const zr::Image& image) {
  try {
    (void)decode(image);
    return "";
  } catch (const zr::Error& error) {
    return error.what();
  }
}

}  // namespace coded
