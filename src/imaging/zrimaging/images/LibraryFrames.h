// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/images/FrameDecoder.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrSliceImage.h>

#include <cstddef>
#include <string>

namespace zr {

class Error;

/// Frames as the slice decoder has them: containers of monochrome samples of 8 and 16 bits, and RGB
/// of 8 bits for everything else.
class LibraryFrames final : public FrameDecoder {
public:
  /// @throws Error when the attributes do not make an image that can be decoded
  explicit LibraryFrames(const File& file);

  void check(std::size_t number) override;

  /// The pixel data may be in fragments that are no frame of their own. Where nothing else tells,
  /// it is decoded into memory that is kept for decodeOnly().
  void checkOnly() override;

  void decode(std::size_t number, void* target, bool named) override;
  void decodeOnly(void* target) override;

private:
  Error refusal(std::size_t number, const std::string& message, bool named) const;
  void decodeAsAWhole(const Error& found);

  const File& file_;
  Zrg::FrameReader reader_;
  Zrg::SliceImage whole_;  ///< the only frame, once it was decoded as a whole
};

}  // namespace zr
