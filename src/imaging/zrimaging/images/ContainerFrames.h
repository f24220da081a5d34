// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/images/FrameDecoder.h"
#include "zrimaging/pixels/ColourConversion.h"
#include "zrimaging/pixels/Containers.h"
#include "zrimaging/pixels/PixelDescription.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace zr {

/// Frames that are read container by container: monochrome samples of any width, colours in their
/// depth or as they are stored.
class ContainerFrames final : public FrameDecoder {
public:
  /// @param file   must outlive the decoder
  /// @param pixels of the file
  /// @param colour what is made of containers that are colours
  /// @throws Error when nothing here reads such frames
  ContainerFrames(const File& file, const PixelDescription& pixels,
                  std::optional<ColourConversion> colour = std::nullopt);

  void check(std::size_t number) override;
  void decode(std::size_t number, void* target, bool named) override;

private:
  const File& file_;
  PixelDescription pixels_;
  std::unique_ptr<Containers> containers_;
  std::optional<ColourConversion> colour_;
  std::vector<unsigned char> oneFrame_;  ///< its containers, where they are not what comes out
};

}  // namespace zr
