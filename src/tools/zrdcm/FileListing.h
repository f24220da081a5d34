// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace zrdcm {

/// Tells people what a report of reportFile() says: the name of the file, then lines of a label and
/// a text, indented.
void sayReport(const nlohmann::ordered_json& report);

}  // namespace zrdcm
