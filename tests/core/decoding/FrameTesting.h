// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace frames {

/// What decodeFrame answered.
struct Frame {
  bool done = false;
  std::string errorText;
  std::vector<std::uint8_t> bytes;

  /// Containers of 16 bits.
  [[nodiscard]] std::vector<int> words() const {
    std::vector<int> values;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
      std::uint16_t word = 0;
      std::memcpy(&word, &bytes[i], sizeof word);
      values.push_back(word);
    }
    return values;
  }
};

/// Decodes a frame into memory of exactly its size; fails the test when bytes behind it were
/// touched.
inline Frame decode(DcmItem& item, std::uint64_t number) {
  Frame frame;
  Zrg::FrameFormat format;
  if (!Zrg::readFrameFormat(item, format, frame.errorText)) {
    return frame;
  }
  constexpr std::size_t kCanaries = 16;
  const auto size = static_cast<std::size_t>(format.frameBytes());
  frame.bytes.assign(size + kCanaries, 0xA5);
  frame.done = Zrg::decodeFrame(item, number, frame.bytes.data(), size, frame.errorText);
  EXPECT_EQ(std::vector<std::uint8_t>(frame.bytes.end() - kCanaries, frame.bytes.end()),
            std::vector<std::uint8_t>(kCanaries, 0xA5));
  EXPECT_EQ(frame.done, frame.errorText.empty()) << frame.errorText;
  frame.bytes.resize(size);
  return frame;
}

}  // namespace frames
