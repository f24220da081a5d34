// SPDX-License-Identifier: BSD-3-Clause
// The sample transform, volumes and overlays when memory runs out.
#include "core/faults/FaultTrial.h"
#include "core/faults/SamplesText.h"
#include "support/ImageBuilder.h"

#include <zrdcmexport/ExDicomUtilitiesGlobal.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

namespace {

using ExDicomUtilities::LUT;
using faults::describe;
using support::monochromeImage;

struct Transform {
  std::vector<std::int16_t> samples;
  KtHandle<ZrDataAccess> source;
  KtHandle<ZrDataAccess> target;
  LUT lut;
  int offset = 0;

  Transform() : samples(40000) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      samples[i] = static_cast<std::int16_t>(i * 13);
    }
    source = new ZrDataAccess(KtVec3l(200, 200, 1), KtVec3l(2, 400, 80000), samples.data(),
                              KtPrimType::S16, 1, KtAllocator(0));
  }
};

/// Through a table whose entries are not side by side: they are brought together first.
struct TransformThroughATable : Transform {
  std::vector<std::uint16_t> spread = std::vector<std::uint16_t>(2048);

  TransformThroughATable() {
    std::iota(spread.begin(), spread.end(), std::uint16_t{777});
    lut.entries = new ZrDataAccess(KtVec3l(1024, 1, 1), KtVec3l(4, 4096, 4096), spread.data(),
                                   KtPrimType::U16, 1, KtAllocator(0));
  }
};

/// A slice that a caller files under a number.
struct Filing {
  Zrg::MultiFrameImage volumes{true};
  Zrg::SliceImage slice;
  std::vector<char> frame = std::vector<char>(64);
  Filing() {
    volumes.setNumberOfVolumes(1);
    slice.extent = KtVec3l(8, 8, 1);
    slice.bytesPerSample = 1;
    slice.data = frame.data();
  }
};

struct Overlays {
  std::unique_ptr<DcmDataset> dataset = monochromeImage(40, 4)
                                            .bitsStored(12)
                                            .frames(2)
                                            .overlayPlane(0x6000, 12)
                                            .overlayBits(0x6000, 12, {{1, 1}, {33, 2}}, 0)
                                            .overlayPlane(0x6002, 13)
                                            .overlayBits(0x6002, 13, {{5, 3}}, 0)
                                            .build();
  Zrg::SliceImage slice;
  Overlays() {
    std::string error;
    slice.convertSamples = false;
    EXPECT_TRUE(slice.process(*dataset, error, -1, -1, nullptr, 0));
    slice.overlays.reset();
  }
};

bool transformInto(Transform& transform, KtHandle<ZrDataAccess>& target, bool inPlace,
                   unsigned bitsStored) {
  return ExDicomUtilities::extractSample_applyLUT_makeUnsigned(transform.source, target,
                                                               transform.offset, transform.lut,
                                                               inPlace, bitsStored, bitsStored - 1)
      .isOk();
}

class SamplesWithoutMemory : public faults::WithoutMemory {};

TEST_F(SamplesWithoutMemory, AreTransformedIntoANewContainerOrNot) {
  expectKept<Transform>(
      faults::throwsOrIsFalse(),
      [](Transform& transform) { return transformInto(transform, transform.target, false, 12); },
      [](const Transform& transform) {
        return describe(transform.target) + std::to_string(transform.offset);
      });
}

TEST_F(SamplesWithoutMemory, AreTransformedInPlaceWithoutAnyMemory) {
  expectKept<Transform>(
      faults::allocatesNothing(),
      [](Transform& transform) { return transformInto(transform, transform.source, true, 12); },
      [](const Transform& transform) {
        return describe(transform.source) + std::to_string(transform.offset);
      });
}

TEST_F(SamplesWithoutMemory, AreTransformedThroughAStridedTableOrNot) {
  expectKept<TransformThroughATable>(
      faults::throwsOrIsFalse(),
      [](TransformThroughATable& transform) {
        return transformInto(transform, transform.target, false, 16);
      },
      [](const TransformThroughATable& transform) { return describe(transform.target); });
}

class VolumesWithoutMemory : public faults::WithoutMemory {};

TEST_F(VolumesWithoutMemory, TakeASliceOrThrow) {
  expectKept<Filing>(
      faults::throws(),
      [](Filing& filing) {
        if (filing.volumes.numSlices(0) == 0) {  // none is left of a failure
          filing.volumes.addImage(0, 0, filing.slice, 7);
        }
        return true;
      },
      [](const Filing& filing) {
        auto& volumes = const_cast<Zrg::MultiFrameImage&>(filing.volumes);
        unsigned number = 0;
        return std::to_string(volumes.numSlices(0)) +
               (volumes.getFrameNumber(0, 0, number) ? " with " + std::to_string(number) : "");
      });
}

class OverlaysWithoutMemory : public faults::WithoutMemory {};

TEST_F(OverlaysWithoutMemory, AreExtractedOrThrow) {
  expectKept<Overlays>(
      faults::throws(),
      [](Overlays& overlays) {
        overlays.slice.extractEmbeddedOverlays(*overlays.dataset, 0, 1);
        return true;
      },
      [](const Overlays& overlays) {
        std::string text;
        const auto& found = overlays.slice.overlays;
        for (int i = 0; found.isNotNull() && i < found->count(); ++i) {
          text +=
              std::to_string(found->group(i)) + ":" + std::to_string(found->mask(i).count()) + " ";
        }
        return text;
      });
}

}  // namespace
