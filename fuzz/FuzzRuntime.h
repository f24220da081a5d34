// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace fuzz {

/// What memory from `operator new` holds before it is written. Two runs over the same input with
/// different bytes must not differ: they would if old heap content were delivered.
void fillNewMemoryWith(unsigned char byte);

}  // namespace fuzz
