// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace Zrg {

class Inspector;

/// Frames of JPEG 2000 and HTJ2K. DCMTK has no decoder for them; codecs of the application are not
/// trusted with headers that promise what the stream does not hold.
[[nodiscard]] const Inspector& jpeg2000Inspector();

}  // namespace Zrg
