// SPDX-License-Identifier: BSD-3-Clause
// The attributes tell before decoding how large the samples will be.
#include "zrimaging/MemoryBudget.h"

#include "zrimaging/Boundary.h"

#include <zrdcmexport/ZrByteCounts.h>
#include <zrdcmexport/ZrFrames.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

namespace zr {

namespace {

// What the frames take for good. The most that decoding takes at a time is more for colour, which
// is rendered.
std::uint64_t deliveredBytes(DcmItem& item, std::uint64_t frames, std::uint64_t peak) {
  Zrg::FrameFormat format;
  std::string unused;  // decoding says what is missing
  return Zrg::readFrameFormat(item, format, unused) && !format.monochrome
             ? Zrg::saturatedProduct(format.frameBytes(), frames)
             : peak;
}

}  // namespace

std::optional<std::uint64_t> parseSize(const std::string& text) {
  return atBoundary([&]() -> std::optional<std::uint64_t> {
    std::uint64_t count = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, count);
    std::string unit(rest, end);
    std::transform(unit.begin(), unit.end(), unit.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    constexpr std::string_view kUnits = "KMGT";
    const std::size_t power = unit.empty() ? std::string_view::npos : kUnits.find(unit[0]);
    const bool hasUnit = power != std::string_view::npos;
    const std::string ending = hasUnit ? unit.substr(1) : unit;
    const bool knownEnding = ending.empty() || ending == "B" || (hasUnit && ending == "IB");
    if (error != std::errc{} || !knownEnding) {
      return std::nullopt;
    }
    return Zrg::saturatedProduct(count, hasUnit ? std::uint64_t{1} << (10U * (power + 1)) : 1);
  });
}

std::string sizeText(std::uint64_t bytes) {
  return atBoundary([&] {
    constexpr std::uint64_t kMiB = std::uint64_t{1} << 20U;
    return bytes < kMiB ? std::to_string(bytes) + " bytes" : std::to_string(bytes / kMiB) + " MiB";
  });
}

void MemoryBudget::requireFor(DcmItem& item) const {
  atBoundary([&] { requireFor(item, 0, Zrg::numberOfFrames(item) - 1); });
}

void MemoryBudget::requireFor(DcmItem& item, std::uint64_t first, std::uint64_t last) const {
  atBoundary([&] {
    const std::optional<std::uint64_t> peak = Zrg::decodedBytes(item, first, last);
    if (!peak || *peak <= bytes) {
      return;  // of an image without a size decoding says what is missing
    }
    const std::uint64_t delivered = deliveredBytes(item, last - first + 1, *peak);
    const std::string meanwhile =
        delivered == *peak ? "" : " and " + sizeText(*peak) + " while it is";
    throw Error(Reason::TooLarge, "takes " + sizeText(delivered) + " once it is decoded" +
                                      meanwhile + "; " + name + " allows " + sizeText(bytes));
  });
}

void MemoryBudget::requireBytes(std::uint64_t decoded) const {
  atBoundary([&] {
    if (decoded > bytes) {
      throw Error(Reason::TooLarge, "takes " + sizeText(decoded) + " once it is decoded; " + name +
                                        " allows " + sizeText(bytes));
    }
  });
}

}  // namespace zr
