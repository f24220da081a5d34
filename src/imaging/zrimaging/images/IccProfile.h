// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

class DcmItem;

namespace zr {

/// ICC Profile (0028,2000) of an image (PS3.3 C.11.15), as it is in the dataset: of the dataset
/// itself, else of the first optical path that has one (PS3.3 C.8.12.5). Empty when there is none.
std::vector<unsigned char> readIccProfile(DcmItem& dataset);

}  // namespace zr
