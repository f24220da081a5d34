// SPDX-License-Identifier: BSD-3-Clause
// Order of the files of a series by the library's comparison, in small memory: of each file only
// the few attributes stay that a comparison reads.
#include "zrimaging/Boundary.h"
#include "zrimaging/File.h"
#include "zrimaging/Series.h"
#include "zrimaging/files/Condition.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>
#include <utility>

namespace zr {

namespace {

struct SwitchName {
  const char* name;
  bool OrderSwitches::*member;
};

constexpr SwitchName kSwitches[] = {{"vendor-indices", &OrderSwitches::vendorIndices},
                                    {"temporal-position", &OrderSwitches::temporalPosition},
                                    {"rpeak-delay", &OrderSwitches::rpeakDelay},
                                    {"echo-time", &OrderSwitches::echoTime},
                                    {"volume-uid", &OrderSwitches::volumeUid},
                                    {"cardiac-phase", &OrderSwitches::cardiacPhase}};

/// A criterion: its name, its switch (null: always on), and the attributes that it reads.
struct Criterion {
  const char* name;
  bool OrderSwitches::*member;
  std::vector<DcmTagKey> keys;
};

// In the order in which they decide.
const std::vector<Criterion>& criteria() {
  static const std::vector<Criterion> list = {
      {"image-type", nullptr, {DCM_SeriesInstanceUID, DCM_ImageType}},
      {"echo-time", &OrderSwitches::echoTime, {DCM_EchoTime}},
      {"vendor-indices",
       &OrderSwitches::vendorIndices,
       {DcmTagKey(0x2005, 0x1412), DcmTagKey(0x2005, 0x1413)}},
      {"temporal-position", &OrderSwitches::temporalPosition, {DCM_TemporalPositionIdentifier}},
      {"rpeak-delay", &OrderSwitches::rpeakDelay, {DcmTagKey(0x0045, 0x1033)}},
      {"slice-thickness", nullptr, {DCM_SliceThickness}},
      {"cardiac-phase", &OrderSwitches::cardiacPhase, {DcmTagKey(0x7005, 0x1005)}},
      {"volume-uid", &OrderSwitches::volumeUid, {DcmTagKey(0x7005, 0x1016)}},
      {"instance-number", nullptr, {DCM_InstanceNumber}}};
  return list;
}

void copyAttributes(DcmDataset& from, DcmDataset& to, const std::vector<DcmTagKey>& keys) {
  for (const DcmTagKey& key : keys) {
    DcmElement* found = nullptr;
    if (from.findAndGetElement(key, found, OFFalse, OFTrue).bad()) {
      continue;  // absent, which is what the comparison is to see
    }
    std::unique_ptr<DcmElement> copy(found);
    require(to.insert(copy.get(), OFTrue), "take over " + std::string(key.toString()));
    (void)copy.release();  // the dataset owns it now
  }
}

int compareBy(DcmDataset& first, DcmDataset& second, const OrderSwitches& on) {
  return ExDCM::compare(&first, &second, on.vendorIndices, on.temporalPosition, on.rpeakDelay,
                        on.echoTime, on.volumeUid, on.cardiacPhase);
}

// Merges two sorted neighbours. The right image goes first only when it is said to come first
// itself; that keeps the order of the others, and the indices in bounds whatever the answers are.
void mergeRuns(std::vector<SeriesImage>& from, std::size_t begin, std::size_t middle,
               std::size_t end, std::vector<SeriesImage>& to, const OrderSwitches& switches) {
  std::size_t left = begin;
  std::size_t right = middle;
  while (left < middle && right < end) {
    const bool rightFirst =
        compareBy(from[right].attributes(), from[left].attributes(), switches) < 0;
    to.push_back(std::move(from[rightFirst ? right++ : left++]));
  }
  while (left < middle) {
    to.push_back(std::move(from[left++]));
  }
  while (right < end) {
    to.push_back(std::move(from[right++]));
  }
}

OrderSwitches switchesOf(const std::string& list) {
  OrderSwitches switches;
  std::size_t begin = 0;
  while (begin < list.size()) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    const std::string name = list.substr(begin, end - begin);
    const auto* const known =
        std::find_if(std::begin(kSwitches), std::end(kSwitches),
                     [&name](const SwitchName& candidate) { return name == candidate.name; });
    if (known == std::end(kSwitches)) {
      throw Error(Reason::Unsupported, "'" + name + "' is no criterion that --by can switch on");
    }
    switches.*(known->member) = true;
    begin = end + 1;
  }
  return switches;
}

// Deliberate: no std::sort and no std::stable_sort. The comparison is no strict weak ordering, for
// which their behaviour is undefined. Test: ZrdcmSort.KeepsTheGivenOrderWhereNothingIsDecided
void mergeSort(std::vector<SeriesImage>& images, const OrderSwitches& switches) {
  for (std::size_t run = 1; run < images.size(); run *= 2) {
    std::vector<SeriesImage> merged;
    merged.reserve(images.size());
    for (std::size_t begin = 0; begin < images.size(); begin += 2 * run) {
      const std::size_t middle = std::min(begin + run, images.size());
      const std::size_t end = std::min(begin + 2 * run, images.size());
      mergeRuns(images, begin, middle, end, merged, switches);
    }
    images = std::move(merged);
  }
}

std::optional<std::string> criterionBetween(const SeriesImage& first, const SeriesImage& second,
                                            const OrderSwitches& switches) {
  if (compareBy(first.attributes(), second.attributes(), switches) >= 0) {
    return std::nullopt;
  }
  // The library says who is first, not why. Shown the attributes of one criterion after the other,
  // it tells which one it was: the last one where none before it told the two apart.
  const auto decides = [&](const Criterion& criterion) {
    OrderSwitches only;
    if (criterion.member != nullptr) {
      if (!(switches.*(criterion.member))) {
        return false;
      }
      only.*(criterion.member) = true;
    }
    DcmDataset firstPart;
    DcmDataset secondPart;
    copyAttributes(first.attributes(), firstPart, criterion.keys);
    copyAttributes(second.attributes(), secondPart, criterion.keys);
    return compareBy(firstPart, secondPart, only) != 0;
  };
  return std::find_if(criteria().begin(), std::prev(criteria().end()), decides)->name;
}

}  // namespace

OrderSwitches parseOrderSwitches(const std::string& list) {
  return atBoundary([&] { return switchesOf(list); });
}

SeriesImage::SeriesImage(const std::filesystem::path& path, const MemoryBudget& memory) {
  atBoundary([&] {
    // Implicit files take the VRs of private criteria from the dictionary while they are read.
    ExDCM::registerPrivateDicomTags();
    path_ = path;
    attributes_ = std::make_unique<DcmDataset>();
    const File file(path, memory);
    for (const Criterion& criterion : criteria()) {
      copyAttributes(file.dataset(), *attributes_, criterion.keys);
    }
  });
}

SeriesImage::~SeriesImage() = default;
SeriesImage::SeriesImage(SeriesImage&& other) noexcept = default;
SeriesImage& SeriesImage::operator=(SeriesImage&& other) noexcept = default;

std::string SeriesImage::seriesUid() const {
  return textOf(*attributes_, DCM_SeriesInstanceUID);
}

std::vector<std::vector<SeriesImage>> groupBySeries(std::vector<SeriesImage> images) {
  return atBoundary([&] {
    std::map<std::string, std::size_t> places;
    std::vector<std::vector<SeriesImage>> series;
    for (SeriesImage& image : images) {
      const std::size_t place = places.try_emplace(image.seriesUid(), series.size()).first->second;
      if (place == series.size()) {
        series.emplace_back();
      }
      series[place].push_back(std::move(image));
    }
    return series;
  });
}

void sortSeries(std::vector<SeriesImage>& images, const OrderSwitches& switches) {
  atBoundary([&] { mergeSort(images, switches); });
}

std::optional<std::string> decidingCriterion(const SeriesImage& first, const SeriesImage& second,
                                             const OrderSwitches& switches) {
  return atBoundary([&] { return criterionBetween(first, second, switches); });
}

}  // namespace zr
