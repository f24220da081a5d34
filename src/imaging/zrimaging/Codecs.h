// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

/// The decoders that this library adds to DCMTK's, and the libraries beneath them, such as "JPEG
/// 2000 and HTJ2K: OpenJPEG 2.5.0"; empty where it was built without them. Reading a file registers
/// them with DCMTK, for the whole process.
[[nodiscard]] ZRIMAGING_API std::string decoderLibraries();

}  // namespace zr
