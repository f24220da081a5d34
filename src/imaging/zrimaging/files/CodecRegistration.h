// SPDX-License-Identifier: BSD-3-Clause
#pragma once

class DcmFileFormat;

namespace zr {

class File;

/// Makes the codecs known to DCMTK, and a file that was read in a transfer syntax which DCMTK does
/// not know decodable by them. Its dataset calls itself by another syntax then, see isAdopted().
void letCodecsDecode(DcmFileFormat& file);

/// Whether a file is in a transfer syntax that DCMTK does not know, and was made decodable as JPEG
/// 2000.
[[nodiscard]] bool isAdopted(const File& file);

}  // namespace zr
