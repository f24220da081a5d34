// SPDX-License-Identifier: BSD-3-Clause
// Regions of an ultrasound image. Codes become the words of PS3.3 C.8.5.5.1; codes that it does not
// have become no words.
#include "zrimaging/images/UltrasoundRegions.h"

#include "zrimaging/images/ItemValues.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <cstddef>

namespace zr {

namespace {

// Region Spatial Format (0018,6012), PS3.3 C.8.5.5.1.1, by code.
constexpr std::array kSpatialFormats = {"none", "2D", "M-mode", "spectral", "waveform", "graphics"};

// Region Data Type (0018,6014), PS3.3 C.8.5.5.1.2, by code.
constexpr std::array kDataTypes = {"none",
                                   "tissue",
                                   "colour flow",
                                   "PW spectral Doppler",
                                   "CW spectral Doppler",
                                   "Doppler mean trace",
                                   "Doppler mode trace",
                                   "Doppler max trace",
                                   "volume trace",
                                   "d(volume)/dt trace",
                                   "ECG trace",
                                   "pulse trace",
                                   "phonocardiogram trace",
                                   "grey bar",
                                   "colour bar",
                                   "integrated backscatter",
                                   "area trace",
                                   "d(area)/dt trace",
                                   "other physiological input"};

// Physical Units X and Y Direction (0018,6024), PS3.3 C.8.5.5.1.15, by code.
constexpr std::array kUnits = {"none",  "percent",    "dB",     "cm",  "seconds",
                               "hertz", "dB/seconds", "cm/sec", "cm2", "cm2/sec",
                               "cm3",   "cm3/sec",    "degrees"};
constexpr std::size_t kCentimetres = 3;

std::optional<unsigned> codeAt(DcmItem& item, const DcmTagKey& key) {
  Uint16 code = 0;
  return item.findAndGetUint16(key, code).good() ? std::optional<unsigned>(code) : std::nullopt;
}

template <std::size_t Count>
std::string wordsAt(DcmItem& item, const DcmTagKey& key,
                    const std::array<const char*, Count>& words) {
  const std::optional<unsigned> code = codeAt(item, key);
  return code && *code < Count ? words.at(*code) : "";
}

std::optional<long> wholeAt(DcmItem& item, const DcmTagKey& key) {
  Uint32 value = 0;
  return item.findAndGetUint32(key, value).good() ? std::optional<long>(value) : std::nullopt;
}

std::optional<std::array<long, 4>> boundsOf(DcmItem& item) {
  const std::array keys = {DCM_RegionLocationMinX0, DCM_RegionLocationMinY0,
                           DCM_RegionLocationMaxX1, DCM_RegionLocationMaxY1};
  std::array<long, 4> bounds{};
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const std::optional<long> value = wholeAt(item, keys.at(i));
    if (!value) {
      return std::nullopt;
    }
    bounds.at(i) = *value;
  }
  return bounds;
}

std::optional<double> referencePixelAt(DcmItem& item, const DcmTagKey& key) {
  Sint32 value = 0;
  return item.findAndGetSint32(key, value).good() ? std::optional<double>(value) : std::nullopt;
}

// Deltas may be negative, where values go down to the right or to the bottom.
std::optional<std::array<double, 2>> spacingOf(DcmItem& item, const UltrasoundRegion& region) {
  constexpr double kMmPerCm = 10;
  const bool lengths = codeAt(item, DCM_PhysicalUnitsXDirection) == kCentimetres &&
                       codeAt(item, DCM_PhysicalUnitsYDirection) == kCentimetres;
  if (!lengths || !region.delta[0] || !region.delta[1] || *region.delta[0] == 0 ||
      *region.delta[1] == 0) {
    return std::nullopt;
  }
  return std::array{std::abs(*region.delta[0]) * kMmPerCm, std::abs(*region.delta[1]) * kMmPerCm};
}

UltrasoundRegion regionOf(DcmItem& item) {
  UltrasoundRegion region;
  region.bounds = boundsOf(item);
  region.spatialFormat = wordsAt(item, DCM_RegionSpatialFormat, kSpatialFormats);
  region.dataType = wordsAt(item, DCM_RegionDataType, kDataTypes);
  region.units = {wordsAt(item, DCM_PhysicalUnitsXDirection, kUnits),
                  wordsAt(item, DCM_PhysicalUnitsYDirection, kUnits)};
  region.delta = {numberAt(item, DCM_PhysicalDeltaX), numberAt(item, DCM_PhysicalDeltaY)};
  region.referencePixel = {referencePixelAt(item, DCM_ReferencePixelX0),
                           referencePixelAt(item, DCM_ReferencePixelY0)};
  region.referenceValue = {numberAt(item, DCM_ReferencePixelPhysicalValueX),
                           numberAt(item, DCM_ReferencePixelPhysicalValueY)};
  region.spacingMm = spacingOf(item, region);
  return region;
}

}  // namespace

std::vector<UltrasoundRegion> readUltrasoundRegions(DcmItem& dataset) {
  std::vector<UltrasoundRegion> regions;
  for (DcmItem* const item : itemsAt(dataset, DCM_SequenceOfUltrasoundRegions)) {
    regions.push_back(regionOf(*item));
  }
  return regions;
}

}  // namespace zr
