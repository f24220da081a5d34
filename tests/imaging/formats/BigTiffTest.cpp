// SPDX-License-Identifier: BSD-3-Clause
// Which arrays need offsets of 64 bits: files of 4 GiB are none that a test writes.
#include "support/RowName.h"
#include "zrimaging/formats/Tiff.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

struct Layout {
  const char* name;
  zr::SampleArray layout;
  std::size_t profileBytes;
  bool big;
};

class BigTiff : public testing::TestWithParam<Layout> {};

TEST_P(BigTiff, IsForWhatPassesFourGibibytes) {
  zr::ArrayToWrite array = zr::arrayOf(GetParam().layout);
  array.description.iccProfile.resize(GetParam().profileBytes);

  EXPECT_EQ(zr::needsBigTiff(array), GetParam().big);
}

using zr::SampleType;

INSTANTIATE_TEST_SUITE_P(
    Layouts, BigTiff,
    testing::Values(
        Layout{"ThreeGibibytes", {nullptr, SampleType::kU16, 3072, 512, 1024, 1}, 0, false},
        Layout{"FourGibibytes", {nullptr, SampleType::kU16, 4096, 512, 1024, 1}, 0, true},
        Layout{"FourGibibytesOfColourInOneFrame",
               {nullptr, SampleType::kU8, 1, 65536, 21846, 3},
               0,
               true},
        Layout{"SmallPagesWithoutEnd", {nullptr, SampleType::kU8, 1200000, 1, 1, 1}, 0, true},
        Layout{"PagesOfAProfileEach",
               {nullptr, SampleType::kU8, 5000, 1, 1, 3},
               std::size_t{1} << 20U,
               true}),
    support::nameOf<Layout>);

}  // namespace
