// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <string_view>

namespace phantoms {

/// Calls `mark` for every pixel of a label in letters of 5 x 7 dots, each dot `scale` pixels wide,
/// as scanners burn them into their images. Knows digits, signs and the letters that the phantoms
/// use; others leave a gap.
void drawLabel(std::string_view label, int column, int row, int scale,
               const std::function<void(int column, int row)>& mark);

}  // namespace phantoms
