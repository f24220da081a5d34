// SPDX-License-Identifier: BSD-3-Clause
// What the frames of an object are numbered by:
//
//   enhanced objects   Dimension Index Sequence names the attributes, Dimension Index Values in the
//                      Frame Content of each frame has their numbers (PS3.3 C.7.6.17)
//   other objects      Frame Increment Pointer names attributes: vectors with a number for each
//                      frame (PS3.3 C.8.4.8.1.1), or times (C.7.6.5)
#include "zrimaging/images/FrameDimensions.h"

#include "zrimaging/images/ItemValues.h"
#include "zrimaging/images/Names.h"

#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstddef>
#include <set>

namespace zr {

namespace {

constexpr std::size_t kMostDimensions = 64;  // a handful is usual

DcmTagKey tagAt(DcmItem& item, const DcmTagKey& key, unsigned long position = 0) {
  DcmElement* element = nullptr;
  DcmTagKey value = DCM_UndefinedTagKey;
  auto* const tags = item.findAndGetElement(key, element).good()
                         ? dynamic_cast<DcmAttributeTag*>(element)
                         : nullptr;
  return tags != nullptr && tags->getTagVal(value, position).good() ? value : DCM_UndefinedTagKey;
}

FrameDimension dimensionOf(const DcmTagKey& key) {
  FrameDimension dimension;
  dimension.tag = key.toString();
  dimension.name = titleOfElement(key);
  return dimension;
}

/// The different numbers that frames have in each dimension.
std::vector<std::set<Uint32>> indicesOf(DcmItem& dataset, std::size_t dimensions) {
  std::vector<std::set<Uint32>> indices(dimensions);
  for (DcmItem* const frame : itemsAt(dataset, DCM_PerFrameFunctionalGroupsSequence)) {
    for (DcmItem* const content : itemsAt(*frame, DCM_FrameContentSequence)) {
      for (std::size_t i = 0; i < dimensions; ++i) {
        Uint32 index = 0;
        if (content->findAndGetUint32(DCM_DimensionIndexValues, index, i).good()) {
          indices[i].insert(index);
        }
      }
    }
  }
  return indices;
}

std::vector<FrameDimension> indexedDimensions(DcmItem& dataset) {
  std::vector<FrameDimension> dimensions;
  for (DcmItem* const item : itemsAt(dataset, DCM_DimensionIndexSequence)) {
    const DcmTagKey pointer = tagAt(*item, DCM_DimensionIndexPointer);
    if (pointer != DCM_UndefinedTagKey && dimensions.size() < kMostDimensions) {
      dimensions.push_back(dimensionOf(pointer));
      dimensions.back().label = nameAt(*item, DCM_DimensionDescriptionLabel);
    }
  }
  const std::vector<std::set<Uint32>> indices = indicesOf(dataset, dimensions.size());
  for (std::size_t i = 0; i < dimensions.size(); ++i) {
    if (!indices[i].empty()) {
      dimensions[i].values = indices[i].size();
    }
  }
  return dimensions;
}

/// How many different numbers a vector has; nothing for what is no vector of numbers of frames.
std::optional<std::size_t> differentValues(DcmItem& dataset, const DcmTagKey& key) {
  const Uint16* numbers = nullptr;
  unsigned long count = 0;
  if (dataset.findAndGetUint16Array(key, numbers, &count).bad() || count == 0) {
    return std::nullopt;
  }
  return std::set<Uint16>(numbers, numbers + count).size();
}

std::vector<FrameDimension> pointedDimensions(DcmItem& dataset) {
  std::vector<FrameDimension> dimensions;
  for (unsigned long i = 0; i < kMostDimensions; ++i) {
    const DcmTagKey pointer = tagAt(dataset, DCM_FrameIncrementPointer, i);
    if (pointer == DCM_UndefinedTagKey) {
      break;
    }
    dimensions.push_back(dimensionOf(pointer));
    dimensions.back().values = differentValues(dataset, pointer);
  }
  return dimensions;
}

std::optional<std::array<std::size_t, 2>> totalMatrixOf(DcmItem& dataset) {
  Uint32 columns = 0;
  Uint32 rows = 0;
  const bool both = dataset.findAndGetUint32(DCM_TotalPixelMatrixColumns, columns).good() &&
                    dataset.findAndGetUint32(DCM_TotalPixelMatrixRows, rows).good();
  return both ? std::optional(std::array<std::size_t, 2>{columns, rows}) : std::nullopt;
}

}  // namespace

FrameFacts readFrameFacts(DcmItem& dataset) {
  FrameFacts facts;
  if (const std::optional<int> count = Zrg::intOf(textAt(dataset, DCM_NumberOfFrames));
      count && *count >= 0) {
    facts.count = static_cast<std::size_t>(*count);
  }
  facts.organization = textAt(dataset, DCM_DimensionOrganizationType);
  facts.dimensions = indexedDimensions(dataset);
  if (facts.dimensions.empty()) {
    facts.dimensions = pointedDimensions(dataset);
  }
  facts.totalPixelMatrix = totalMatrixOf(dataset);
  return facts;
}

}  // namespace zr
