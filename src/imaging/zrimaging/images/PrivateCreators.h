// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/ObjectFacts.h"

#include <vector>

class DcmItem;

namespace zr {

/// Who has reserved blocks of private elements in the item itself (PS3.5 7.8.1), each once, in the
/// order of the blocks.
std::vector<PrivateCreator> readPrivateCreators(DcmItem& item);

}  // namespace zr
