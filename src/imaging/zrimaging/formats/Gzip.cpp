// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/formats/Gzip.h"

#include <algorithm>
#include <new>
#include <utility>
#include <zlib.h>

namespace zr {

namespace {

constexpr std::size_t kBlockBytes = std::size_t{64} << 10U;
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30U;  // zlib counts in 32 bits
constexpr int kGzipWrapper = 16;
constexpr int kMemoryLevel = 8;  // zlib's default

}  // namespace

GzipStream::GzipStream(ByteSink sink)
    : sink_(std::move(sink)), state_(std::make_unique<z_stream_s>()), compressed_(kBlockBytes) {
  if (deflateInit2(state_.get(), kDeflateLevel, Z_DEFLATED, MAX_WBITS + kGzipWrapper, kMemoryLevel,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::bad_alloc();  // the parameters are right, so that nothing else is missing
  }
}

GzipStream::~GzipStream() {
  (void)deflateEnd(state_.get());  // it says whether bytes were pending, which finish() has written
}

void GzipStream::write(const void* bytes, std::size_t count) {
  const auto* next = static_cast<const unsigned char*>(bytes);
  while (count > 0) {
    const std::size_t taken = std::min(count, kMostAtOnce);
    state_->next_in = const_cast<unsigned char*>(next);  // zlib only reads it
    state_->avail_in = static_cast<uInt>(taken);
    deflateInput(Z_NO_FLUSH);
    next += taken;
    count -= taken;
  }
}

void GzipStream::finish() {
  state_->next_in = nullptr;
  state_->avail_in = 0;
  deflateInput(Z_FINISH);
}

// Output that fills the block means that there may be more.
void GzipStream::deflateInput(int flush) {
  do {
    state_->next_out = compressed_.data();
    state_->avail_out = static_cast<uInt>(compressed_.size());
    (void)deflate(state_.get(), flush);  // with room for output and a sound state it cannot fail
    sink_(compressed_.data(), compressed_.size() - state_->avail_out);
  } while (state_->avail_out == 0);
}

}  // namespace zr
