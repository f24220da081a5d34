// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <string_view>

namespace zr {

/// Calls `mark` for every pixel of the text in letters of 5 x 7 dots, each dot `scale` pixels wide.
/// Knows capital letters, digits, blank and a few signs; others are left out.
void drawText(std::string_view text, int column, int row, int scale,
              const std::function<void(int column, int row)>& mark);

/// Columns that the text takes at that scale.
int textWidth(std::string_view text, int scale);

}  // namespace zr
