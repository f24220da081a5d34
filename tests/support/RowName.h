// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace support {

/// Names the tests of a table after its rows: `Row` has a member `name` of letters and digits.
template <class Row>
std::string nameOf(const testing::TestParamInfo<Row>& info) {
  return info.param.name;
}

}  // namespace support
