// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace exporting {

/// While it lives, memory runs out in this thread: so many allocations with `new` still succeed.
class FailingMemory {
public:
  explicit FailingMemory(int allocations);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;
};

}  // namespace exporting
