// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>

namespace zrdcm {

/// A value of a frame under the name that it has in JSON; null where it is not known.
struct FrameValue {
  const char* name;
  std::function<nlohmann::ordered_json(std::size_t number)> of;
  /// Of a text, whether it holds escaped bytes.
  std::function<bool(std::size_t number)> escaped = [](std::size_t) { return false; };
};

/// The value `name` that is the unit of a frame's line.
FrameValue unitValue(const char* name,
                     std::function<std::optional<zr::RescaleLine>(std::size_t number)> lineOf);

/// Adds values of frames to an object, with one number for all frames where one will do: `name` has
/// the value that all of these frames agree in. Where they differ it is null, and `perFrame` holds
/// under the same name an array with the value of each frame, null for those that are not known.
/// `perFrame` is null when all frames agree in everything. The object that holds a text with
/// escaped bytes gets `"escaped": true`.
void addFrameValues(nlohmann::ordered_json& target, const std::vector<std::size_t>& numbers,
                    const std::vector<FrameValue>& values);

/// What a dataset says about its frames, by name:
///
/// | name         | value                                                                        |
/// |--------------|------------------------------------------------------------------------------|
/// | rescale      | [slope, intercept]                                                           |
/// | rescaleUnit  | text                                                                         |
/// | voiWindow    | [centre, width] of the first window                                          |
/// | windows      | [{centre, width, function, explanation}]; null without any                   |
/// | pixelSpacing | [between columns, between rows] in mm                                        |
/// | position     | [x, y, z] in mm                                                              |
/// | orientation  | [x, y, z of the rows' direction, x, y, z of the columns']                    |
/// | space        | what positions are in: "patient", or "volume" of an ultrasound volume        |
///
/// @param image must outlive the values
std::vector<FrameValue> frameValues(const zr::PerFrameAttributes& image);

/// [slope, intercept]; null when it is not known.
nlohmann::ordered_json jsonLine(const std::optional<zr::RescaleLine>& line);

/// [{centre, width, function, explanation}]; null when there is none. An unknown function is null;
/// `"escaped": true` stands beside an explanation with escaped bytes.
nlohmann::ordered_json jsonWindows(const std::vector<zr::VoiWindow>& windows);

/// A text; null when it is empty.
nlohmann::ordered_json jsonTextOrNull(const std::string& text);

/// A number; null when it is not known.
nlohmann::ordered_json jsonOrNull(const std::optional<double>& number);

}  // namespace zrdcm
