// SPDX-License-Identifier: BSD-3-Clause
// Windows and VOI tables: the greys that they give values, and which of them is wanted.
#include "zrimaging/Error.h"
#include "zrimaging/Pictures.h"
#include "zrimaging/Text.h"
#include "zrimaging/pictures/WindowChoice.h"

#include <zrdcmexport/ZrNumbers.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <string_view>

namespace zr {

namespace {

bool isShowable(const VoiWindow& window) {
  return window.width > 0 && window.function != VoiFunction::kOther;
}

Window shown(const VoiWindow& window) {
  const bool narrow = window.function == VoiFunction::kLinear && window.width <= 1;
  return {window.centre, window.width, narrow ? VoiFunction::kLinearExact : window.function};
}

std::string inCapitals(std::string_view text) {
  std::string capitals;
  for (const char letter : text) {
    capitals += static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  return capitals;
}

std::string numberText(double value) {
  return shortest(static_cast<float>(value));
}

// What there is to choose: 1 (40,400 BRAIN), 2 (table BONE).
std::string listOf(const FrameAttributes& frame) {
  std::string list;
  std::size_t number = 0;
  const auto add = [&](const std::string& what, const ValueText& explanation) {
    list += (list.empty() ? "" : ", ") + std::to_string(++number) + " (" + what +
            (explanation.utf8.empty() ? "" : " ") + explanation.utf8 + ")";
  };
  for (const VoiWindow& window : frame.windows) {
    add(numberText(window.centre) + "," + numberText(window.width), window.explanation);
  }
  for (const VoiTable& table : frame.voiTables) {
    add("table", table.explanation);
  }
  return list;
}

/// Index among the windows and then the tables; their count when there is none of this name.
std::size_t indexOf(const FrameAttributes& frame, const std::string& listed) {
  const std::size_t count = frame.windows.size() + frame.voiTables.size();
  const bool isNumber = !listed.empty() && listed.size() <= 2 &&
                        std::all_of(listed.begin(), listed.end(),
                                    [](unsigned char letter) { return std::isdigit(letter) != 0; });
  const int number = isNumber ? Zrg::intOf(listed).value_or(0) : 0;
  if (number >= 1 && static_cast<std::size_t>(number) <= count) {
    return static_cast<std::size_t>(number) - 1;
  }
  const std::string wanted = inCapitals(listed);
  for (std::size_t index = 0; index < count; ++index) {
    const bool isWindow = index < frame.windows.size();
    const ValueText& explanation = isWindow
                                       ? frame.windows[index].explanation
                                       : frame.voiTables[index - frame.windows.size()].explanation;
    if (inCapitals(explanation.utf8) == wanted) {
      return index;
    }
  }
  return count;
}

}  // namespace

double grayFraction(double value, const Window& window) {
  const double away = value - window.centre;
  double fraction = away / window.width + 0.5;
  if (window.function == VoiFunction::kSigmoid) {
    fraction = 1 / (1 + std::exp(-4 * away / window.width));
  } else if (window.function == VoiFunction::kLinear) {
    fraction = (away + 0.5) / (window.width - 1.0) + 0.5;
  }
  if (std::isnan(fraction)) {
    return 0.0;  // a rescale slope or window beyond all numbers
  }
  return std::clamp(fraction, 0.0, 1.0);
}

double grayFraction(double value, const VoiTable& table) {
  const double last = static_cast<double>(table.entries->size()) - 1;
  const double place = std::isnan(value) ? 0 : std::round(value) - table.firstMapped;
  const auto entry = static_cast<std::size_t>(std::clamp(place, 0.0, last));
  const double white = std::ldexp(1.0, static_cast<int>(table.bits)) - 1;
  return std::min(1.0, (*table.entries)[entry] / white);
}

std::optional<Window> windowOfFrame(const FrameAttributes& frame) {
  const auto window = std::find_if(frame.windows.begin(), frame.windows.end(), isShowable);
  return window == frame.windows.end() ? std::nullopt : std::optional(shown(*window));
}

void showThroughListed(const FrameAttributes& frame, const std::string& listed,
                       FrameDisplay& display) {
  const std::size_t index = indexOf(frame, listed);
  if (index < frame.windows.size()) {
    if (!isShowable(frame.windows[index])) {
      throw Error(Reason::Unsupported, "has a window " + listed +
                                           " that cannot be shown: its width is not above 0, or "
                                           "its VOI LUT Function is not known");
    }
    display.window = shown(frame.windows[index]);
    return;
  }
  const std::size_t table = index - frame.windows.size();
  if (table < frame.voiTables.size()) {
    display.table = frame.voiTables[table];
    return;
  }
  const std::string list = listOf(frame);
  throw Error(Reason::MissingAttribute,
              "has no window " + listed +
                  (list.empty() ? "; it has none at all" : "; to choose from: " + list));
}

}  // namespace zr
