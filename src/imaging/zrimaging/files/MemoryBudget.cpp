// SPDX-License-Identifier: BSD-3-Clause
// Two nets: the attributes tell before decoding how large the samples will be, and the address space is
// limited for everything that they do not tell.
#include "zrimaging/files/MemoryBudget.h"

#include "zrimaging/Error.h"

#include <zrdcmexport/ZrFrames.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>

namespace zr {

namespace {

constexpr std::uint64_t kBeyondCounting = std::numeric_limits<std::uint64_t>::max();

std::uint64_t times(std::uint64_t a, std::uint64_t b) {
  return b != 0 && a > kBeyondCounting / b ? kBeyondCounting : a * b;
}

std::string sizeText(std::uint64_t bytes) {
  constexpr std::uint64_t kMiB = std::uint64_t{1} << 20U;
  return bytes < kMiB ? std::to_string(bytes) + " bytes" : std::to_string(bytes / kMiB) + " MiB";
}

// What the frames take for good. The most that decoding takes at a time is more for colour, which is
// rendered.
std::uint64_t deliveredBytes(DcmItem& item, std::uint64_t frames, std::uint64_t peak) {
  Zrg::FrameFormat format;
  std::string unused;  // decoding says what is missing
  return Zrg::readFrameFormat(item, format, unused) && !format.monochrome
             ? times(format.frameBytes(), frames)
             : peak;
}

// Sanitizers reserve terabytes of address space for themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Programs map their libraries before they begin.
std::uint64_t mappedBytes() {
  std::ifstream statistics("/proc/self/statm");
  std::uint64_t pages = 0;
  statistics >> pages;
  return times(pages, static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)));
}

void limitTo(std::uint64_t bytes) {
  rlimit limit{};
  const bool known = getrlimit(RLIMIT_AS, &limit) == 0;
  const std::uint64_t mapped = mappedBytes();
  const std::uint64_t wanted = bytes > kBeyondCounting - mapped ? kBeyondCounting : bytes + mapped;
  limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
  if (!known || setrlimit(RLIMIT_AS, &limit) != 0) {
    throw Error(Reason::Unsupported, "cannot limit the memory of the program");
  }
}
#else
void limitTo(std::uint64_t) {}
#endif

}  // namespace

std::optional<std::uint64_t> parseSize(const std::string& text) {
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
  return times(count, hasUnit ? std::uint64_t{1} << (10U * (power + 1)) : 1);
}

void limitAddressSpace(const MemoryBudget& budget) {
  limitTo(budget.bytes);
}

void MemoryBudget::requireFor(DcmItem& item) const {
  requireFor(item, 0, Zrg::numberOfFrames(item) - 1);
}

void MemoryBudget::requireFor(DcmItem& item, std::uint64_t first, std::uint64_t last) const {
  const std::optional<std::uint64_t> peak = Zrg::decodedBytes(item, first, last);
  if (!peak || *peak <= bytes) {
    return;  // of an image without a size decoding says what is missing
  }
  const std::uint64_t delivered = deliveredBytes(item, last - first + 1, *peak);
  const std::string meanwhile =
      delivered == *peak ? "" : " and " + sizeText(*peak) + " while it is";
  throw Error(Reason::TooLarge, "takes " + sizeText(delivered) + " once it is decoded" + meanwhile +
                                    "; --max-memory allows " + sizeText(bytes));
}

}  // namespace zr
