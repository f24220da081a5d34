// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace phantoms {

/// The samples of a phantom and how they are stored.
struct StoredPixels {
  std::size_t columns = 0;
  std::size_t rows = 0;
  std::size_t frames = 1;
  unsigned samplesPerPixel = 1;
  unsigned bitsAllocated = 16;
  unsigned bitsStored = 16;
  bool isSigned = false;
  const char* photometricInterpretation = "MONOCHROME2";
};

/// Goes on only when the condition is good.
/// @throws std::runtime_error "cannot make WHAT: reason"
void mustSucceed(const OFCondition& condition, const std::string& what);

/// Item `index` of a sequence within an item; the items are made in order, each when it is first
/// asked for.
DcmItem& itemOf(DcmItem& parent, const DcmTagKey& sequence, std::size_t index = 0);
/// Sets an attribute of an item, of any VR that has a text form.
void put(DcmItem& item, const DcmTagKey& tag, const std::string& value);

/// The number as a decimal string (VR DS).
std::string decimal(double value);

/// A UID below our root; the same branch gives the same UID.
std::string uidOf(const std::string& branch);

/// Puts a dataset together, with the attributes that every image must have.
class Builder {
public:
  /// @param number sets the series and the instance apart from those of other phantoms
  Builder(const char* sopClassUid, const char* modality, const char* description, unsigned number);

  /// Sets an attribute of any VR that has a text form.
  Builder& with(const DcmTag& tag, const std::string& value);
  Builder& withEmpty(const DcmTag& tag);
  Builder& withWords(const DcmTag& tag, const std::vector<std::uint16_t>& words);
  /// Window Center, Window Width and, when the slope is not 0, the rescale line.
  Builder& withWindow(double centre, double width);
  Builder& withRescale(double slope, double intercept, const char* type);
  /// Item `index` of a sequence; the items are made in order, each when it is first asked for.
  DcmItem& item(const DcmTagKey& sequence, std::size_t index = 0);

  Builder& withPixels(const StoredPixels& format, const std::vector<std::uint16_t>& samples);
  Builder& withPixels(const StoredPixels& format, const std::vector<std::uint8_t>& samples);

  /// Position, orientation and spacing of an axial slice.
  Builder& withAxialPlane(double spacingMm, double thicknessMm, std::size_t size);

  std::unique_ptr<DcmDataset> take() { return std::move(dataset_); }

private:
  void describePixels(const StoredPixels& format);

  std::unique_ptr<DcmDataset> dataset_;
};

}  // namespace phantoms
