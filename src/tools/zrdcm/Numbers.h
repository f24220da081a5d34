// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrSliceImage.h>

#include <nlohmann/json.hpp>

#include <string>

namespace zrdcm {

/// A finite number as JSON, in its shortest form.
nlohmann::ordered_json jsonNumber(float value);

/// [x, y], or null when either component is NaN or infinite.
nlohmann::ordered_json jsonPair(const KtVec2f& pair);

}  // namespace zrdcm
