// SPDX-License-Identifier: BSD-3-Clause
// Attributes tell how large samples will be; the address space is limited for everything that they
// do not tell.
#include "AddressSpace.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace zrdcm {

namespace {

// Sanitizers reserve terabytes of address space for themselves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Programs map their libraries before they begin.
std::uint64_t mappedBytes() {
  std::ifstream statistics("/proc/self/statm");
  std::uint64_t pages = 0;
  statistics >> pages;
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

void limitTo(std::uint64_t bytes) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  rlimit limit{};
  const bool known = getrlimit(RLIMIT_AS, &limit) == 0;
  const std::uint64_t mapped = mappedBytes();
  const std::uint64_t wanted = bytes > kMost - mapped ? kMost : bytes + mapped;
  limit.rlim_cur = std::min<rlim_t>(wanted, limit.rlim_max);
  if (!known || setrlimit(RLIMIT_AS, &limit) != 0) {
    throw std::runtime_error("cannot limit the memory of the program");
  }
}
#else
void limitTo(std::uint64_t) {}
#endif

}  // namespace

void limitAddressSpace(const zr::MemoryBudget& budget) {
  limitTo(budget.bytes);
}

}  // namespace zrdcm
