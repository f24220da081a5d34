// SPDX-License-Identifier: BSD-3-Clause
// The first decoding of a process when memory runs out: it registers DCMTK's decoders, and what a
// failure leaves of that must serve all later ones. Each trial is a process of its own, which has
// never decoded; hence this program, in which nothing else runs.
#include "core/faults/FailingAllocator.h"
#include "support/ChildProcess.h"
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"

#include <ktlib/KtLogFile.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

using faults::Shortage;

constexpr unsigned kSecondsToAnswer = 10;

enum Ending : int {
  kAnswered,
  kNothingFailed,         ///< the call needs fewer allocations than the trial's number
  kSucceededWrongly,      ///< the call in the shortage
  kFailedSilently,        ///< likewise, without a text
  kFailsEverAfter,        ///< the same call with memory
  kSucceedsWronglyAfter,  ///< likewise
};

struct Image {
  const char* name;
  E_TransferSyntax syntax;
  Shortage shortage;
};

class FirstDecoding : public testing::TestWithParam<Image> {
protected:
  FirstDecoding() {
    (void)support::silenceDcmtk();
    getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
    faults::prepareToWatch();
    native_ = support::monochromeImage(16, 8).frames(2).build();
    compressed_ = support::compress(*native_, GetParam().syntax);
  }

  /// Whether all frames of `slice` are the samples that were compressed.
  bool isRight(const Zrg::SliceImage& slice) const {
    const Uint16* samples = nullptr;
    unsigned long count = 0;
    return native_->findAndGetUint16Array(DCM_PixelData, samples, &count).good() &&
           count == 16 * 8 * 2 && slice.data != nullptr &&
           std::memcmp(slice.data, samples, count * sizeof(Uint16)) == 0;
  }

  Ending decode(long failingAllocation) {
    Zrg::SliceImage slice;
    slice.convertSamples = false;
    std::string error;
    bool done = false;
    bool threw = false;
    try {
      const faults::FailingAllocations memory(failingAllocation, GetParam().shortage);
      done = slice.process(*compressed_, error, -1, -1, nullptr, 0);
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    if (!faults::anAllocationFailed()) {
      return kNothingFailed;
    }
    if (done && !isRight(slice)) {
      return kSucceededWrongly;
    }
    if (!done && !threw && error.empty()) {
      return kFailedSilently;
    }
    // Another dataset: DCMTK may have damaged the first one where it was short of memory.
    const auto again = support::compress(*native_, GetParam().syntax);
    if (!slice.process(*again, error, -1, -1, nullptr, 0)) {
      return kFailsEverAfter;
    }
    return isRight(slice) ? kAnswered : kSucceedsWronglyAfter;
  }

  /// The trial in a child of its own; -1 when it crashes or does not answer in time.
  int endingOf(long failingAllocation) {
    const pid_t child = fork();
    if (child < 0) {
      throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
      alarm(kSecondsToAnswer);
      support::leaveChild(decode(failingAllocation));
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
      throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

private:
  std::unique_ptr<DcmDataset> native_;
  std::unique_ptr<DcmDataset> compressed_;
};

TEST_P(FirstDecoding, LeavesDecodersForTheNext) {
  ASSERT_FALSE(DcmCodecList::canChangeCoding(GetParam().syntax, EXS_LittleEndianExplicit))
      << "decoders are registered already";
  long number = 1;
  int ending = endingOf(number);
  while (ending == kAnswered && number < 20000) {
    ending = endingOf(++number);
  }

  EXPECT_EQ(ending, kNothingFailed) << "allocation " << number;
  RecordProperty("allocations", std::to_string(number - 1));
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, FirstDecoding,
    testing::Values(Image{"Rle", EXS_RLELossless, Shortage::Once},
                    Image{"RleFromThen", EXS_RLELossless, Shortage::FromThen},
                    Image{"JpegLossless", EXS_JPEGProcess14SV1, Shortage::Once},
                    Image{"JpegLs", EXS_JPEGLSLossless, Shortage::Once},
                    Image{"JpegLsFromThen", EXS_JPEGLSLossless, Shortage::FromThen}),
    support::nameOf<Image>);

}  // namespace
