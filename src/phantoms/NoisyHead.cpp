// SPDX-License-Identifier: BSD-3-Clause
#include "NoisyHead.h"

#include "Builder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace phantoms {

namespace {

constexpr std::size_t kDifferentFrames = 8;  // the rest repeats them: frames are coded one by one

class Noise {
public:
  /// Roughly normal, with a deviation of about 7 grey levels.
  int next() {
    auto bits = static_cast<unsigned>(random_());
    int sum = -30;
    for (int i = 0; i < 4; ++i, bits >>= 4U) {
      sum += static_cast<int>(bits & 15U);
    }
    return sum * 3 / 4;
  }

private:
  std::mt19937 random_{20070901};
};

/// Hounsfield units of a head: air, a ring of bone, tissue with a ventricle.
int headAt(double x, double y) {
  const double radius = std::sqrt(x * x * 1.4 + y * y);
  if (radius > 0.9) {
    return -1000;
  }
  if (radius > 0.8) {
    return 900;
  }
  return x * x + 4 * (y - 0.1) * (y - 0.1) < 0.02 ? 5 : 40;
}

std::vector<std::uint16_t> headSamples(const HeadForm& form) {
  const std::size_t frameSize = form.columns * form.rows;
  std::vector<std::uint16_t> samples(frameSize * form.frames);
  const std::size_t different = frameSize * std::min(form.frames, kDifferentFrames);
  Noise noise;
  for (std::size_t i = 0; i < different; ++i) {
    const auto column = static_cast<double>(i % frameSize % form.columns);
    const auto row = static_cast<double>(i % frameSize / form.columns);
    const int value = headAt(2.0 * column / static_cast<double>(form.columns) - 1,
                             2.0 * row / static_cast<double>(form.rows) - 1) +
                      noise.next();
    samples[i] = static_cast<std::uint16_t>(form.eightBit ? std::clamp(value / 4 + 100, 0, 255)
                                                          : value & 0x0FFF);
  }
  for (std::size_t i = different; i < samples.size(); ++i) {
    samples[i] = samples[i - different];
  }
  return samples;
}

StoredPixels storedPixelsOf(const HeadForm& form) {
  StoredPixels format;
  format.columns = form.columns;
  format.rows = form.rows;
  format.frames = form.frames;
  format.bitsAllocated = form.eightBit ? 8 : 16;
  format.bitsStored = form.eightBit ? 8 : 12;
  format.isSigned = !form.eightBit;
  return format;
}

}  // namespace

std::unique_ptr<DcmDataset> noisyHead(const HeadForm& form, int number) {
  Builder builder(UID_CTImageStorage, "CT", "Head, with noise", 1);
  const std::string place = std::to_string(number);
  builder.with(DCM_SOPInstanceUID, uidOf("7." + place)).with(DCM_InstanceNumber, place);
  builder.with(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL").with(DCM_KVP, "120");
  builder.withAxialPlane(0.5, 1.25, form.columns);
  builder.with(DCM_ImagePositionPatient, "-120\\-120\\" + place);
  builder.withWindow(40, 80).withRescale(1, 0, "HU");
  if (form.frames > 1) {
    builder.with(DCM_FrameIncrementPointer, "(0018,0088)");
    builder.with(DCM_SpacingBetweenSlices, "1.25");
  }
  const std::vector<std::uint16_t> samples = headSamples(form);
  if (form.eightBit) {
    builder.withPixels(storedPixelsOf(form),
                       std::vector<std::uint8_t>(samples.begin(), samples.end()));
  } else {
    builder.withPixels(storedPixelsOf(form), samples);
  }
  return builder.take();
}

}  // namespace phantoms
