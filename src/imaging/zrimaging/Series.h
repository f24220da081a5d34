// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/MemoryBudget.h>
#include <zrimaging/Output.h>
#include <zrimaging/ZrimagingApi.h>

class DcmDataset;

namespace zr {

/// The criteria of the library's comparison (ExDCM::compare) that can be switched on.
struct OrderSwitches {
  bool vendorIndices = false;
  bool temporalPosition = false;
  bool rpeakDelay = false;
  bool echoTime = false;
  bool volumeUid = false;
  bool cardiacPhase = false;
};

/// Reads a list such as "echo-time,volume-uid"; an empty list switches nothing on.
/// @throws Error (Unsupported) that names a name that is none of the six
[[nodiscard]] ZRIMAGING_API OrderSwitches parseOrderSwitches(const std::string& list);

/// One file of a series: its path and, of its dataset, only what a comparison reads.
class ZRIMAGING_API SeriesImage {
public:
  /// Reads the file once and lets go of it.
  /// @throws Error as File
  explicit SeriesImage(const std::filesystem::path& path, const MemoryBudget& memory = {});
  ~SeriesImage();
  SeriesImage(SeriesImage&& other) noexcept;
  SeriesImage& operator=(SeriesImage&& other) noexcept;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }
  /// The attributes that a comparison reads; they are the image's.
  [[nodiscard]] DcmDataset& attributes() const { return *attributes_; }
  /// Series Instance UID (0020,000E); empty when the file has none.
  [[nodiscard]] std::string seriesUid() const;

private:
  std::filesystem::path path_;
  std::unique_ptr<DcmDataset> attributes_;
};

/// The images of each series, in the order in which series and images were given. Images without a
/// Series Instance UID are one series.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::vector<std::vector<SeriesImage>> groupBySeries(
    std::vector<SeriesImage> images);

/// Puts images in order. Images that nothing tells apart keep the order in which they were given,
/// and so do two that each would come after the other.
/// @throws Error OutOfMemory
ZRIMAGING_API void sortSeries(std::vector<SeriesImage>& images, const OrderSwitches& switches);

/// The name of the criterion that puts `first` before `second`, such as "echo-time"; nothing when
/// none does.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::optional<std::string> decidingCriterion(
    const SeriesImage& first, const SeriesImage& second, const OrderSwitches& switches);

/// Where the copy of an image goes: "0001.dcm" in the folder; more digits for more than 9999
/// images. `position` is 1 for the first of `count`.
[[nodiscard]] ZRIMAGING_API std::filesystem::path copyPath(const std::filesystem::path& folder,
                                                           std::size_t position, std::size_t count);

/// Copies a file with `position` as its Instance Number. The number that it had goes to the private
/// element OriginalInstanceNumber, if that place is free; everything else stays as it is.
/// `inputs` may not be replaced by the copy.
/// @throws Error as File and OutputFile
ZRIMAGING_API void copyRenumbered(const std::filesystem::path& file, std::size_t position,
                                  const std::filesystem::path& target,
                                  const ProtectedInputs& inputs);

}  // namespace zr
