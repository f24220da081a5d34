// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zr {

/// One go at decoding, of those who called collectDecoderWarnings(): what the decoders warn of from
/// when it is made.
class DecoderWatch {
public:
  /// Forgets what came before, which was said or belongs to a file that failed.
  DecoderWatch();

  /// What the decoders said, as remarks on the file, each once a file; nothing when they were
  /// content or nobody listens to them.
  std::vector<std::string> remarks(const std::filesystem::path& file) const;
};

}  // namespace zr
