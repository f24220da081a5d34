// SPDX-License-Identifier: BSD-3-Clause
// Samples that a decoder made up are delivered, and the user is told.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using tools::Outcome;
using tools::runZrdcm;

constexpr const char* kMadeUp =
    ": the decoder made up samples: Corrupt JPEG data: premature end of data segment\n";

std::vector<int> noise(int count) {
  std::vector<int> samples;
  unsigned state = 1;
  for (int i = 0; i < count; ++i) {
    state = state * 1103515245U + 12345U;
    samples.push_back(static_cast<int>(state >> 16U & 0xFFU));
  }
  return samples;
}

// Ends the image in the last fragment of a file before the second half of its coded samples.
void endEarly(const std::filesystem::path& file) {
  std::string bytes = tools::readFile(file);
  const std::size_t scan = bytes.rfind("\xFF\xDA");
  const std::size_t end = bytes.rfind("\xFF\xD9");
  if (scan == std::string::npos || end == std::string::npos || end < scan + 64) {
    throw std::logic_error("no JPEG image with coded samples");
  }
  const std::size_t middle = scan + (end - scan) / 2;
  bytes.replace(middle - 2, 4, "\x01\x01\xFF\xD9");  // no half of a stuffed byte before the marker
  tools::writeFile(file, bytes);
}

class DecoderWarning : public testing::Test {
protected:
  void save(const DcmDataset& image) {
    const auto compressed = support::compress(image, EXS_JPEGProcess1);
    support::saveFile(*compressed, file_, EXS_JPEGProcess1);
  }

  Outcome decode() const {
    return runZrdcm({"decode", file_.string(), "-o", folder_.file("out.npy").string()});
  }

  support::TempDir folder_;
  std::filesystem::path file_ = folder_.file("in.dcm");
};

TEST_F(DecoderWarning, IsToldWithTheFile) {
  save(*support::monochromeImage(64, 64).unsigned8().samples(noise(64 * 64)).build());
  endEarly(file_);

  const Outcome outcome = decode();

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "zrdcm: " + file_.string() + kMadeUp);
}

TEST_F(DecoderWarning, IsNotGivenForWholeImages) {
  save(*support::monochromeImage(64, 64).unsigned8().samples(noise(64 * 64)).build());

  EXPECT_EQ(decode().errors, "");
}

TEST_F(DecoderWarning, IsToldOnceForColourFramesThatAreDecodedOneByOne) {
  save(*support::rgbImage(64, 64).frames(2).samples(noise(2 * 3 * 64 * 64)).build());
  endEarly(file_);

  const Outcome outcome =
      runZrdcm({"sheet", file_.string(), "-o", folder_.file("out.png").string()});

  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.errors, "zrdcm: " + file_.string() + kMadeUp);
}

}  // namespace
