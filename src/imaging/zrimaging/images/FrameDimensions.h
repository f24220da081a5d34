// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/ObjectFacts.h"

class DcmItem;

namespace zr {

/// How many frames there are and what they are numbered by.
FrameFacts readFrameFacts(DcmItem& dataset);

}  // namespace zr
