// SPDX-License-Identifier: BSD-3-Clause
// How many samples a pixel has is known from the pixel data: a compressed frame says it, and pixel
// data that is not compressed has the length of that many samples, with a pad byte at most.
#include "zrimaging/images/AttributeRepairs.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>

namespace zr {

namespace {

constexpr unsigned kGrey = 1;
constexpr unsigned kColour = 3;

constexpr std::array kTerms = {
    "MONOCHROME1",  "MONOCHROME2",     "PALETTE COLOR", "RGB",     "YBR_FULL",
    "YBR_FULL_422", "YBR_PARTIAL_422", "YBR_ICT",       "YBR_RCT", "YBR_PARTIAL_420",
    "XYB"};

std::optional<unsigned> attributeNumber(const File& file, const DcmTagKey& key) {
  Uint16 value = 0;
  return file.dataset().findAndGetUint16(key, value).good() ? std::optional<unsigned>(value)
                                                            : std::nullopt;
}

void require(const OFCondition& status) {
  if (status.bad()) {
    throw Error(Reason::OutOfMemory, "out of memory");  // nothing else keeps an element out
  }
}

void setNumber(const File& file, const DcmTagKey& key, unsigned value) {
  require(file.dataset().putAndInsertUint16(key, static_cast<Uint16>(value)));
}

void setInterpretation(const File& file, const std::string& term) {
  require(file.dataset().putAndInsertString(DCM_PhotometricInterpretation, term.c_str()));
}

/// As it stands in the dataset, without padding; empty when it is missing.
std::string writtenInterpretation(const File& file) {
  OFString text;
  (void)file.dataset().findAndGetOFString(DCM_PhotometricInterpretation, text);  // empty then
  return {text.begin(), text.end()};
}

/// Those of a text alone, in capitals.
std::string lettersAndDigits(const std::string& text) {
  std::string result;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (std::isalnum(byte) != 0) {
      result += static_cast<char>(std::toupper(byte));
    }
  }
  return result;
}

bool isGrey(const std::string& interpretation) {
  return interpretation == "MONOCHROME1" || interpretation == "MONOCHROME2";
}

bool isColour(const std::string& interpretation) {
  return interpretation == "RGB" || interpretation.compare(0, 4, "YBR_") == 0;
}

/// Whether pixel data that is not compressed is as long as frames of so many samples a pixel are.
bool hasLengthOf(const File& file, std::uint64_t bytes, unsigned samples) {
  constexpr std::uint64_t kMostFrames = 1U << 20U;  // so that no product wraps
  const auto rows = attributeNumber(file, DCM_Rows);
  const auto columns = attributeNumber(file, DCM_Columns);
  const auto bits = attributeNumber(file, DCM_BitsAllocated);
  const std::uint64_t frames = Zrg::numberOfFrames(file.dataset());
  if (!rows || !columns || !bits || (*bits != 8 && *bits != 16) || frames > kMostFrames) {
    return false;
  }
  const std::uint64_t expected = frames * *rows * *columns * samples * (*bits / 8);
  return bytes == expected + expected % 2 || bytes == expected;
}

/// How many samples a pixel the pixel data has, 1 or 3; nothing where it does not tell.
std::optional<unsigned> samplesInPixelData(const File& file) {
  DcmElement* element = nullptr;
  if (file.dataset().findAndGetElement(DCM_PixelData, element).bad()) {
    return std::nullopt;
  }
  if (const auto coded = Zrg::readCodedFrame(file.dataset(), 0)) {
    return coded->components == kGrey || coded->components == kColour
               ? std::optional<unsigned>(coded->components)
               : std::nullopt;
  }
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  if (pixelData == nullptr || !pixelData->hasRepresentation(EXS_LittleEndianExplicit, nullptr)) {
    return std::nullopt;
  }
  const std::uint64_t bytes = pixelData->getLength();
  for (const unsigned samples : {kGrey, kColour}) {
    if (bytes > 0 && hasLengthOf(file, bytes, samples) &&
        !hasLengthOf(file, bytes, kGrey + kColour - samples)) {
      return samples;
    }
  }
  return std::nullopt;
}

}  // namespace

MadeRepair spellPhotometricInterpretation(const File& file) {
  const std::string written = writtenInterpretation(file);
  for (const char* const term : kTerms) {
    if (written == term) {
      return std::nullopt;
    }
  }
  for (const char* const term : kTerms) {
    if (lettersAndDigits(written) == lettersAndDigits(term)) {
      setInterpretation(file, term);
      return "spells Photometric Interpretation (0028,0004) as " + written + ": read as " + term;
    }
  }
  return std::nullopt;
}

MadeRepair addSamplesPerPixel(const File& file) {
  if (file.dataset().tagExistsWithValue(DCM_SamplesPerPixel)) {
    return std::nullopt;
  }
  const std::string interpretation = file.photometricInterpretation();
  const unsigned samples = isColour(interpretation) ? kColour : kGrey;
  const bool isKnown =
      isColour(interpretation) || isGrey(interpretation) || interpretation == "PALETTE COLOR";
  if (!isKnown || samplesInPixelData(file) != samples) {
    return std::nullopt;
  }
  setNumber(file, DCM_SamplesPerPixel, samples);
  return "lacks Samples per Pixel (0028,0002): taken for " + std::to_string(samples) + ", as " +
         interpretation + " has them";
}

MadeRepair matchPhotometricInterpretation(const File& file) {
  const std::string interpretation = file.photometricInterpretation();
  const auto stated = attributeNumber(file, DCM_SamplesPerPixel);
  const bool isGreyOfThree = isGrey(interpretation) && stated == kColour;
  const bool isColourOfOne = isColour(interpretation) && stated == kGrey;
  if ((!isGreyOfThree && !isColourOfOne) || samplesInPixelData(file) != stated) {
    return std::nullopt;
  }
  const std::string term = isGreyOfThree ? "RGB" : "MONOCHROME2";
  setInterpretation(file, term);
  return "says " + interpretation + " (Photometric Interpretation (0028,0004)), but has " +
         (isGreyOfThree ? "3 samples" : "1 sample") + " a pixel: read as " + term;
}

MadeRepair addPlanarConfiguration(const File& file) {
  if (file.dataset().tagExistsWithValue(DCM_PlanarConfiguration) ||
      attributeNumber(file, DCM_SamplesPerPixel) != kColour ||
      Zrg::readCodedFrame(file.dataset(), 0)) {  // whose stream says how they are
    return std::nullopt;
  }
  setNumber(file, DCM_PlanarConfiguration, 0);
  return "lacks Planar Configuration (0028,0006): samples of a pixel are taken to be side by side";
}

}  // namespace zr
