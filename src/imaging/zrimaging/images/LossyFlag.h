// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace zr {

class File;

/// Whether samples went through a lossy compression, as transfer syntax and attributes say.
bool wentThroughLoss(const File& file);

}  // namespace zr
