// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

namespace faults {

/// Which allocations fail once the chosen one is reached.
enum class Shortage {
  Once,         ///< that one alone: code that goes on has memory again, and a hole in its state
  FromThen,     ///< that one and all that follow: memory has run out
  OursFromThen  ///< that one and all that our code asks for later; DCMTK gets what it asks for
};

/// Whose code asked for a block: the innermost that is not the C or C++ library's.
enum class Owner { Ours, Dcmtk };

/// Must be called once, before the first FailingAllocations: notes the libraries of the process and
/// allocates what watching needs.
void prepareToWatch();

/// While it lives, this thread's allocations are watched, and memory runs out at the one with the
/// given number, from 1. One at a time.
class FailingAllocations {
public:
  FailingAllocations(long number, Shortage shortage);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;
};

/// What came of the last FailingAllocations of this thread.
bool anAllocationFailed();
/// Who asked for the first one that failed.
Owner ownerOfTheFailure();
/// Of the blocks that were allocated meanwhile, those that have not been freed up to now.
long blocksLeft(Owner owner);
/// Where the failure and these blocks come from, a line each, as addresses for addr2line or gdb.
std::string describeFailure();

/// Blocks that this thread holds: those it has allocated less those it has freed.
long liveBlocks();

}  // namespace faults
