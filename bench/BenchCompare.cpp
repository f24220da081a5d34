// SPDX-License-Identifier: BSD-3-Clause
// Comparison of two images of a series, beside the same criteria with a look-up per attribute.
#include "PhantomFile.h"

#include <zrdcmexport/ExDCM.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {

/// A CT image with vendors' blocks before and behind the image attributes, as scanners write them.
std::unique_ptr<DcmFileFormat> imageOfSeries(int number) {
  auto file = bench::makeHead({16, 16, 1, false}, number);
  DcmDataset& dataset = *file->getDataset();
  const auto block = [&dataset](Uint16 group, const char* creator, Uint16 elements) {
    bench::check(dataset.putAndInsertString(DcmTag(group, 0x0010, EVR_LO), creator));
    for (Uint16 i = 0; i < elements; ++i) {
      const DcmTag tag(group, static_cast<Uint16>(0x1000 + i), EVR_LO);
      bench::check(dataset.putAndInsertString(tag, "value"));
    }
  };
  block(0x0009, "VENDOR_IDENTIFICATION", 20);
  block(0x0019, "VENDOR_ACQUISITION", 60);
  block(0x0043, "VENDOR_PARAMETERS", 40);
  bench::check(dataset.putAndInsertString(DcmTag(0x2005, 0x1412, EVR_IS), "1"));
  bench::check(dataset.putAndInsertString(DcmTag(0x2005, 0x1413, EVR_IS), number % 2 ? "0" : "-1"));
  return file;
}

// ---- look-up per attribute ---------------------------------------------------------------------

OFString textOf(DcmDataset& dataset, const DcmTagKey& key) {
  OFString text;
  (void)dataset.findAndGetOFString(key, text);
  return text;
}

double decimalOf(DcmDataset& dataset, const DcmTagKey& key, double whenMissing) {
  OFString text;
  return dataset.findAndGetOFString(key, text).good() ? std::atof(text.c_str()) : whenMissing;
}

int integerOf(DcmDataset& dataset, const DcmTagKey& key, int whenMissing) {
  OFString text;
  return dataset.findAndGetOFString(key, text).good() ? std::atoi(text.c_str()) : whenMissing;
}

int byDecimal(DcmDataset& a, DcmDataset& b, const DcmTagKey& key, double whenMissing) {
  const double first = decimalOf(a, key, whenMissing);
  const double second = decimalOf(b, key, whenMissing);
  return first < second ? -1 : first > second ? 1 : 0;
}

int lookUpCompare(DcmDataset& a, DcmDataset& b) {
  if (textOf(a, DCM_SeriesInstanceUID) == textOf(b, DCM_SeriesInstanceUID)) {
    OFString first;
    OFString second;
    if (a.findAndGetOFStringArray(DCM_ImageType, first).good() &&
        b.findAndGetOFStringArray(DCM_ImageType, second).good() && first != second) {
      return std::strcmp(first.c_str(), second.c_str());
    }
  }
  const double echo = decimalOf(a, DCM_EchoTime, -1) - decimalOf(b, DCM_EchoTime, -1);
  if (std::fabs(echo) > 0.01) {
    return echo >= 0 ? 1 : -1;
  }
  const DcmTagKey index(0x2005, 0x1412);
  const DcmTagKey subIndex(0x2005, 0x1413);
  if (const int order = integerOf(a, index, 0) - integerOf(b, index, 0); order != 0) {
    return order;
  }
  if (const int order = integerOf(a, subIndex, 0) - integerOf(b, subIndex, -1); order != 0) {
    return order;
  }
  if (const int order = integerOf(a, DCM_TemporalPositionIdentifier, 0) -
                        integerOf(b, DCM_TemporalPositionIdentifier, 0);
      order != 0) {
    return order;
  }
  if (const int order = byDecimal(a, b, DcmTagKey(0x0045, 0x1033), 0); order != 0) {
    return order;
  }
  const double thickness =
      decimalOf(a, DCM_SliceThickness, 0) - decimalOf(b, DCM_SliceThickness, 0);
  if (std::fabs(thickness) > 0.001F) {
    return thickness < 0 ? -1 : 1;
  }
  if (const int order = byDecimal(a, b, DcmTagKey(0x7005, 0x1005), -1); order != 0) {
    return order;
  }
  const DcmTagKey volume(0x7005, 0x1016);
  if (const int order = std::strcmp(textOf(a, volume).c_str(), textOf(b, volume).c_str());
      order != 0) {
    return order;
  }
  return integerOf(a, DCM_InstanceNumber, 0) - integerOf(b, DCM_InstanceNumber, 0);
}

// ---- both --------------------------------------------------------------------------------------

void compareImages(benchmark::State& state) {
  const auto first = imageOfSeries(3);
  const auto second = imageOfSeries(12);
  for (auto _ : state) {
    benchmark::DoNotOptimize(ExDCM::compare(first->getDataset(), second->getDataset(), true, true,
                                            true, true, true, true));
  }
}
BENCHMARK(compareImages)->Name("compare/library");

void lookUpImages(benchmark::State& state) {
  const auto first = imageOfSeries(3);
  const auto second = imageOfSeries(12);
  if (lookUpCompare(*first->getDataset(), *second->getDataset()) !=
      ExDCM::compare(first->getDataset(), second->getDataset(), true, true, true, true, true,
                     true)) {
    state.SkipWithError("the two comparisons differ");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(lookUpCompare(*first->getDataset(), *second->getDataset()));
  }
}
BENCHMARK(lookUpImages)->Name("compare/lookup");

}  // namespace
