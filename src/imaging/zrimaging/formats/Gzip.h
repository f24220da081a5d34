// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/formats/FrameBytes.h"

#include <cstddef>
#include <memory>
#include <vector>

struct z_stream_s;

namespace zr {

/// How hard deflate tries. On CT, MR and dose grids zlib's own 6 takes two to three times as long
/// for files that are 3 to 12 % smaller.
constexpr int kDeflateLevel = 4;

/// Compresses bytes as they come (RFC 1952) in a few hundred KB of memory.
class GzipStream {
public:
  /// @param sink takes the compressed bytes
  /// @throws std::bad_alloc
  explicit GzipStream(ByteSink sink);
  ~GzipStream();
  GzipStream(const GzipStream&) = delete;
  GzipStream& operator=(const GzipStream&) = delete;
  GzipStream(GzipStream&&) = delete;
  GzipStream& operator=(GzipStream&&) = delete;

  void write(const void* bytes, std::size_t count);

  /// Ends the stream: nothing may be written afterwards.
  void finish();

private:
  void deflateInput(int flush);

  ByteSink sink_;
  std::unique_ptr<z_stream_s> state_;
  std::vector<unsigned char> compressed_;
};

}  // namespace zr
