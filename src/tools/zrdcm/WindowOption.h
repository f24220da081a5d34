// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "UsageError.h"

#include <optional>
#include <string>
#include <zrimaging/Pictures.h>

namespace zrdcm {

/// Reads the value of `--window`, CENTRE,WIDTH in modality values; nothing when it is empty.
/// @throws UsageError when it is something else.
std::optional<zr::Window> windowFromOption(const std::string& text);

}  // namespace zrdcm
