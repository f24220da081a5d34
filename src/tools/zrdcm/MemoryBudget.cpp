// SPDX-License-Identifier: BSD-3-Clause
// Two nets: the attributes tell before decoding how large the samples will be, and the address space is
// limited for everything that they do not tell.
#include "MemoryBudget.h"

#include "Failure.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcitem.h"

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

namespace zrdcm {

namespace {

constexpr std::uint64_t kBeyondCounting = std::numeric_limits<std::uint64_t>::max();

std::uint64_t times(std::uint64_t a, std::uint64_t b) {
  return b != 0 && a > kBeyondCounting / b ? kBeyondCounting : a * b;
}

std::uint64_t number(DcmItem& item, const DcmTagKey& key) {
  Uint16 value = 0;
  return item.findAndGetUint16(key, value).good() ? value : 0;  // decoding says what is missing
}

// All of them: DCMTK sizes its memory by the number as it stands in the file.
std::uint64_t framesClaimed(DcmItem& item) {
  Sint32 frames = 0;
  (void)item.findAndGetSint32(DCM_NumberOfFrames, frames);  // 0 when it is missing
  return static_cast<std::uint64_t>(std::max<Sint32>(frames, 1));
}

std::string sizeText(std::uint64_t bytes) {
  constexpr std::uint64_t kMiB = std::uint64_t{1} << 20U;
  return bytes < kMiB ? std::to_string(bytes) + " bytes" : std::to_string(bytes / kMiB) + " MiB";
}

void require(std::uint64_t bytes, const MemoryBudget& budget) {
  if (bytes > budget.bytes) {
    throw Failure("takes " + sizeText(bytes) + " once it is decoded; --max-memory allows " +
                  sizeText(budget.bytes));
  }
}

std::uint64_t decodedBytes(DcmItem& item, std::uint64_t frames) {
  const std::uint64_t sampleBytes = (number(item, DCM_BitsAllocated) + 7) / 8;
  const std::uint64_t pixels = number(item, DCM_Rows) * number(item, DCM_Columns);
  return times(times(times(pixels, number(item, DCM_SamplesPerPixel)), sampleBytes), frames);
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
    throw Failure("cannot limit the memory of the program");
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
  require(decodedBytes(item, framesClaimed(item)), *this);
}

void MemoryBudget::requireFor(DcmItem& item, std::size_t first, std::size_t last) const {
  require(decodedBytes(item, last - first + 1), *this);
}

}  // namespace zrdcm
