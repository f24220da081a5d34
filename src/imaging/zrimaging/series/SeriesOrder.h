// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace zr {

/// The criteria of the library's comparison that can be switched.
struct OrderSwitches {
  bool vendorIndices = false;
  bool temporalPosition = false;
  bool rpeakDelay = false;
  bool echoTime = false;
  bool volumeUid = false;
  bool cardiacPhase = false;
};

/// Reads a list such as "echo-time,volume-uid"; an empty list switches nothing on.
/// @throws Error for a name that is none of the six
OrderSwitches parseOrderSwitches(const std::string& list);

/// One file of a series: its path and, of its dataset, only what a comparison reads.
class SeriesImage {
public:
  /// Reads the file once and lets go of it.
  /// @throws Error when it is no DICOM file or cannot be read
  explicit SeriesImage(const std::filesystem::path& path);

  const std::filesystem::path& path() const { return path_; }
  DcmDataset& attributes() const { return *attributes_; }

private:
  std::filesystem::path path_;
  std::unique_ptr<DcmDataset> attributes_;
};

/// Puts the images in order. Images that nothing tells apart keep the order in which they were given,
/// and so do two that each would come after the other.
void sortSeries(std::vector<SeriesImage>& images, const OrderSwitches& switches);

/// The criterion that puts `first` before `second`; nothing when none does.
std::optional<std::string> decidingCriterion(const SeriesImage& first, const SeriesImage& second,
                                             const OrderSwitches& switches);

}  // namespace zr
