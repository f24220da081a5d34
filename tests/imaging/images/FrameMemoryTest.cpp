// SPDX-License-Identifier: BSD-3-Clause
// Memory is taken for frames that the pixel data can hold, and not for what attributes claim.
#include "support/Compression.h"
#include "support/ImageBuilder.h"
#include "support/RowName.h"
#include "support/TempDir.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <ostream>
#include <string>
#include <sys/resource.h>
#include <system_error>
#include <unistd.h>
#include <vector>
#include <zrimaging/Error.h>
#include <zrimaging/File.h>
#include <zrimaging/Frames.h>
#include <zrimaging/Image.h>
#include <zrimaging/MemoryBudget.h>

namespace {

constexpr std::uint64_t kGiB = std::uint64_t{1} << 30U;

constexpr char kOtherRows[] =
    "SecondaryCaptureImageStorage has a compressed frame (number 0) of 16 rows, where Rows says "
    "50000";
constexpr char kDamagedRle[] =
    "SecondaryCaptureImageStorage has RLE Lossless (1.2.840.10008.1.2.5) data that does not "
    "decode: "
    "it is damaged, or of a kind that the decoder does not know";

/// As long as it lives the process may map so many bytes more.
class AddressSpaceLimit {
public:
  explicit AddressSpaceLimit(std::uint64_t more) {
    std::ifstream statistics("/proc/self/statm");
    std::uint64_t pages = 0;
    statistics >> pages;
    check(getrlimit(RLIMIT_AS, &before_));
    rlimit limit = before_;
    limit.rlim_cur = pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) + more;
    check(setrlimit(RLIMIT_AS, &limit));
  }
  ~AddressSpaceLimit() { setrlimit(RLIMIT_AS, &before_); }
  AddressSpaceLimit(const AddressSpaceLimit&) = delete;
  AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;

private:
  static void check(int result) {
    if (result != 0) {
      throw std::system_error(errno, std::generic_category(), "address space");
    }
  }

  rlimit before_{};
};

struct Claim {
  const char* name;
  E_TransferSyntax syntax;
  const char* photometricInterpretation;
  const char* frames;
  const char* reason;
};

void PrintTo(const Claim& claim, std::ostream* stream) {
  *stream << claim.name;
}

class ClaimOfGigabytes : public testing::TestWithParam<Claim> {
protected:
  // Frames of 16 x 16 pixels whose attributes say 50000 x 50000: 2.3 GiB each, or 7 GiB as RGB.
  zr::Image claim() const {
    const bool isColour = GetParam().photometricInterpretation == std::string("RGB");
    const int frames = std::stoi(GetParam().frames);
    const auto image = (isColour ? support::rgbImage(16, 16) : support::monochromeImage(16, 16))
                           .unsigned8()
                           .frames(static_cast<unsigned>(frames))
                           .samples(std::vector<int>(static_cast<std::size_t>(frames) * 16 * 16 *
                                                     (isColour ? 3 : 1)))
                           .build();
    const auto coded = support::compress(*image, GetParam().syntax);
    EXPECT_TRUE(coded->putAndInsertUint16(DCM_Rows, 50000).good());
    EXPECT_TRUE(coded->putAndInsertUint16(DCM_Columns, 50000).good());
    support::saveFile(*coded, folder_.file("claim.dcm"), GetParam().syntax);
    return zr::Image(zr::File(folder_.file("claim.dcm")));
  }

  template <class Work>
  std::string failureUnderTwoGibibytes(const Work& work) const {
    const AddressSpaceLimit limit(2 * kGiB);
    try {
      work();
    } catch (const zr::Error& error) {
      return error.what();
    }
    return "";
  }

  const zr::MemoryBudget large_{1024 * kGiB};

private:
  support::TempDir folder_;
};

TEST_P(ClaimOfGigabytes, IsRefusedForItsStreamBeforeMemoryIsTaken) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  const zr::Image image = claim();

  EXPECT_EQ(failureUnderTwoGibibytes([&] { (void)image.decode({}, large_); }), GetParam().reason);
}

TEST_P(ClaimOfGigabytes, IsRefusedWhenItsFramesAreToBeShown) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers need the address space for themselves";
#endif
  EXPECT_EQ(failureUnderTwoGibibytes([&] { (void)zr::framesOf(claim(), large_); }),
            GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, ClaimOfGigabytes,
    testing::Values(
        Claim{"OneJpegFrame", EXS_JPEGProcess14SV1, "MONOCHROME2", "1", kOtherRows},
        Claim{"SeveralJpegFrames", EXS_JPEGProcess14SV1, "MONOCHROME2", "3", kOtherRows},
        Claim{"SeveralJpegLsFramesOfColour", EXS_JPEGLSLossless, "RGB", "3", kOtherRows},
        Claim{"OneRleFrame", EXS_RLELossless, "MONOCHROME2", "1", kDamagedRle}),
    support::nameOf<Claim>);

}  // namespace
