// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// The operator new of a test program, which is that of all libraries of the process: one chosen
/// allocation of this thread fails.
namespace failing_new {

/// From now on so many allocations succeed, the next one fails, and all others succeed again.
void failAfter(long allocations);

/// Whether the allocation that was to fail has been asked for. None fails any more.
bool hasFailed();

}  // namespace failing_new
