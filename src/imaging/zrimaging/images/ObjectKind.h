// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/ObjectFacts.h"

#include <string>

class DcmItem;

namespace zr {

/// DCMTK's name of the SOP class of an object, or its UID where DCMTK has none; empty without one.
std::string classNameOf(DcmItem& dataset);

/// What an object is that has no pixels and needs none: "a radiotherapy plan", "a structured
/// report". Empty for an object with pixels, for an image that lacks them, and where no SOP Class
/// UID tells.
std::string describeWithoutPixels(DcmItem& dataset);

/// The same with its title and what it holds.
ContentFacts describeContent(DcmItem& dataset);

}  // namespace zr
