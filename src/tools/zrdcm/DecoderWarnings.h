// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace zrdcm {

/// Listens to DCMTK's JPEG decoders while the rest of DCMTK's log is off. They warn where coded data is
/// damaged or ends early, make up the samples that are missing, and answer with success: who looks at the
/// picture has to know. Called once, when the program starts.
void collectDecoderWarnings();

/// One go at decoding: what the decoders warn of from when it is made.
class DecoderWatch {
public:
  /// Forgets what came before, which was said or belongs to a file that failed.
  DecoderWatch();

  /// Tells the user each warning once a file, as a message on it; nothing when the decoders were content or
  /// nobody listens to them.
  void complain(const std::filesystem::path& file) const;
};

}  // namespace zrdcm
