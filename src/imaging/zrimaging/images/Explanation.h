// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/Error.h"

#include <string>

namespace zr {

class File;

/// A transfer syntax as the file states it.
struct TransferSyntaxName {
  std::string uid;   ///< (0002,0010); without meta information what the dataset was read as
  std::string name;  ///< empty when it is not known here
};

/// The syntax that a file is stored in by its own UID, also where DCMTK does not know it and takes
/// the file for another one.
TransferSyntaxName transferSyntaxOf(const File& file);

/// Why the image of a file does not decode, in one line: what the object is, what is not there or
/// not known, and what would help. `found` is what decoding said of it, which comes back where
/// nothing better is found, and where memory was short. The file may have been decoded in part.
Error whyNotDecoded(const File& file, const Error& found);

/// What a message of the decoder amounts to: OutOfMemory or Undecodable.
Error decoderError(const std::string& message);

}  // namespace zr
