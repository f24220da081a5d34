// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrimaging/MemoryBudget.h>

namespace zrdcm {

/// From now on the system refuses the program memory beyond the budget on top of what is mapped
/// already, which shows as std::bad_alloc: a net below what no attribute tells.
/// @throws std::runtime_error when the system does not allow limits
void limitAddressSpace(const zr::MemoryBudget& budget);

}  // namespace zrdcm
