// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "UsageError.h"

#include <optional>
#include <string>
#include <zrimaging/Pictures.h>

namespace zrdcm {

/// What the value of `--window` may be, for help texts.
constexpr const char* kWindowTypeName = "C,W|NUMBER|NAME";

/// Reads the value of `--window`: CENTRE,WIDTH in modality values, or the number or name of a
/// window that the file has. Nothing when it is empty.
/// @throws UsageError when the width of a window is no number above 0
std::optional<zr::WindowChoice> windowFromOption(const std::string& text);

}  // namespace zrdcm
