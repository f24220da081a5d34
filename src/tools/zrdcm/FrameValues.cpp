// SPDX-License-Identifier: BSD-3-Clause
// Values of frames as JSON. Thousands of frames mostly agree, so what they agree in is said once.
#include "FrameValues.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zrdcm {

namespace {

using Json = nlohmann::ordered_json;

const char* functionName(zr::VoiFunction function) {
  switch (function) {
    case zr::VoiFunction::kLinear:
      return "LINEAR";
    case zr::VoiFunction::kLinearExact:
      return "LINEAR_EXACT";
    case zr::VoiFunction::kSigmoid:
      return "SIGMOID";
    case zr::VoiFunction::kOther:
      break;
  }
  return nullptr;
}

constexpr const char* kEscaped = "escaped";

Json jsonWindow(const zr::VoiWindow& window) {
  const char* const function = functionName(window.function);
  Json json = {{"centre", window.centre},
               {"width", window.width},
               {"function", function == nullptr ? Json(nullptr) : Json(function)},
               {"explanation", jsonTextOrNull(window.explanation.utf8)}};
  if (window.explanation.escaped) {
    json[kEscaped] = true;
  }
  return json;
}

Json firstWindow(const std::vector<zr::VoiWindow>& windows) {
  return windows.empty() ? Json(nullptr) : Json({windows.front().centre, windows.front().width});
}

template <std::size_t Count>
Json jsonNumbers(const std::optional<std::array<double, Count>>& numbers) {
  return numbers ? Json(*numbers) : Json(nullptr);
}

Json spaceOf(const zr::FrameAttributes& frame) {
  if (!frame.position && !frame.orientation) {
    return nullptr;
  }
  return frame.inVolumeSpace ? "volume" : "patient";
}

}  // namespace

void addFrameValues(Json& target, const std::vector<std::size_t>& numbers,
                    const std::vector<FrameValue>& values) {
  Json perFrame = nullptr;
  for (const FrameValue& value : values) {
    const Json first = numbers.empty() ? Json(nullptr) : value.of(numbers.front());
    const bool agree = std::all_of(numbers.begin(), numbers.end(),
                                   [&](std::size_t number) { return value.of(number) == first; });
    target[value.name] = agree ? first : Json(nullptr);
    for (std::size_t i = 0; !agree && i < numbers.size(); ++i) {
      perFrame[value.name].push_back(value.of(numbers[i]));
    }
    if (std::any_of(numbers.begin(), numbers.end(), value.escaped)) {
      (agree ? target : perFrame)[kEscaped] = true;
    }
  }
  target["perFrame"] = std::move(perFrame);
}

FrameValue unitValue(const char* name,
                     std::function<std::optional<zr::RescaleLine>(std::size_t number)> lineOf) {
  const auto unitOf = [lineOf = std::move(lineOf)](std::size_t number) {
    const std::optional<zr::RescaleLine> line = lineOf(number);
    return line ? line->unit : zr::ValueText{};
  };
  return {name, [unitOf](std::size_t number) { return jsonTextOrNull(unitOf(number).utf8); },
          [unitOf](std::size_t number) { return unitOf(number).escaped; }};
}

std::vector<FrameValue> frameValues(const zr::PerFrameAttributes& image) {
  const auto frame = [&image](std::size_t number) -> const zr::FrameAttributes& {
    return image.frames.at(number);
  };
  return {
      {"rescale", [frame](std::size_t number) { return jsonLine(frame(number).rescale); }},
      unitValue("rescaleUnit", [frame](std::size_t number) { return frame(number).rescale; }),
      {"voiWindow", [frame](std::size_t number) { return firstWindow(frame(number).windows); }},
      {"windows", [frame](std::size_t number) { return jsonWindows(frame(number).windows); }},
      {"pixelSpacing",
       [frame](std::size_t number) { return jsonNumbers(frame(number).pixelSpacing); }},
      {"position", [frame](std::size_t number) { return jsonNumbers(frame(number).position); }},
      {"orientation",
       [frame](std::size_t number) { return jsonNumbers(frame(number).orientation); }},
      {"space", [frame](std::size_t number) { return spaceOf(frame(number)); }},
  };
}

Json jsonLine(const std::optional<zr::RescaleLine>& line) {
  return line ? Json({line->slope, line->intercept}) : Json(nullptr);
}

Json jsonWindows(const std::vector<zr::VoiWindow>& windows) {
  Json list = Json::array();
  for (const zr::VoiWindow& window : windows) {
    list.push_back(jsonWindow(window));
  }
  return list.empty() ? Json(nullptr) : list;
}

Json jsonTextOrNull(const std::string& text) {
  return text.empty() ? Json(nullptr) : Json(text);
}

Json jsonOrNull(const std::optional<double>& number) {
  return number ? Json(*number) : Json(nullptr);
}

}  // namespace zrdcm
