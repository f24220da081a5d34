// SPDX-License-Identifier: BSD-3-Clause
// Every single bit of small valid files turned over, and the file given to the library: each time
// an answer within a second, and nothing in it that was not read from the file. To see the latter,
// every input is answered twice, with fresh memory and targets filled with another pattern each
// time.
#include "support/Compression.h"
#include "support/LogCapture.h"
#include "support/Md5.h"
#include "support/RowName.h"
#include "support/SharedMemory.h"
#include "support/SmallFiles.h"

#include <zrdcmexport/ExDCM.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <malloc.h>
#include <memory>
#include <new>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
// Its library has to find it.
extern "C" [[gnu::visibility("default")]] const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=128";
}
#endif

namespace {

using support::SmallFile;

constexpr unsigned int kBitsPerByte = 8;
constexpr long kSecondsAllowed = 1;
constexpr std::size_t kTargetSize = 4096;

// Under AddressSanitizer a step away from all bits keeps the run short.
#if defined(__SANITIZE_ADDRESS__)
constexpr std::size_t kUsualStep = 29;
#else
constexpr std::size_t kUsualStep = 1;
#endif

std::size_t bitsBetweenFlips() {
  static const std::size_t kStep = support::stepFrom("ZRDCMEXPORT_BITS_BETWEEN_FLIPS", kUsualStep);
  return kStep;
}

// ---- what the library says to a file ----

/// Null when DCMTK refuses the file, as it does when it is cut off: what it holds then is not
/// filled.
std::unique_ptr<DcmFileFormat> parse(const std::string& bytes) {
  DcmInputBufferStream stream;
  stream.setBuffer(bytes.data(), static_cast<offile_off_t>(bytes.size()));
  stream.setEos();
  auto file = std::make_unique<DcmFileFormat>();
  file->transferInit();
  const OFCondition status = file->read(stream);
  file->transferEnd();
  return status.good() ? std::move(file) : nullptr;
}

std::string samplesOf(const Zrg::SliceImage& slice) {
  const char* const memory = Zrg::firstSample(slice);
  const auto bytes = static_cast<std::size_t>(slice.extent.x * slice.extent.y * slice.extent.z) *
                     slice.samplesPerPixel * slice.bytesPerSample;
  std::string text = std::to_string(slice.extent.z) + " frames " + support::md5Hex(memory, bytes);
  for (int i = 0; slice.overlays.isNotNull() && i < slice.overlays->count(); ++i) {
    text += " " + std::to_string(slice.overlays->mask(i).count());
  }
  return text;
}

// All frames, and then once more: what failed must not have left anything that passes for samples.
std::string decodeAll(DcmDataset& dataset) {
  std::string text;
  for (int time = 0; time < 2; ++time) {
    Zrg::SliceImage slice;
    std::string error;
    const bool done = slice.process(dataset, error, -1, -1, nullptr, 0);
    text += "all: " + (done ? samplesOf(slice) : error) + "\n";
    if (!done && error.empty()) {
      throw std::logic_error("refused without a message");
    }
  }
  return text;
}

std::string decodeRange(DcmDataset& dataset, char pattern) {
  std::vector<char> target(kTargetSize, pattern);
  Zrg::SliceImage slice;
  std::string error;
  return "range: " +
         (slice.process(dataset, error, 0, 1, target.data(), target.size()) ? samplesOf(slice)
                                                                            : error) +
         "\n";
}

std::string split(DcmDataset& dataset) {
  Zrg::MultiFrameImage image(true);
  std::string error;
  if (!image.process(dataset, error, true)) {
    return "split: " + error + "\n";
  }
  std::string text = "split:";
  for (int volume = 0; volume < static_cast<int>(image.numVolumes()); ++volume) {
    for (unsigned int i = 0; i < image.numSlices(volume); ++i) {
      Zrg::SliceImage slice;
      unsigned int frame = 0;
      text += image.getImage(volume, i, slice) && image.getFrameNumber(volume, i, frame)
                  ? " " + std::to_string(frame) + " " + samplesOf(slice)
                  : " missing";
    }
  }
  return text + "\n";
}

std::string render(DcmObject& object) {
  std::string text;
  DcmObject* child = nullptr;
  while ((child = object.nextInContainer(child)) != nullptr) {
    auto* const element = dynamic_cast<DcmOtherByteOtherWord*>(child);
    if (element == nullptr) {
      text += render(*child);
      continue;
    }
    std::string value;
    for (int type = 0; type <= 4; ++type) {
      text += ExDCM::getOFStringFromOBOW(element, type, value) ? value : "-";
    }
    text += ExDCM::getOFStringFromUN(element, value) ? value : "-";
  }
  return text;
}

std::string compare(DcmDataset& dataset, DcmDataset& whole) {
  return "compare: " +
         std::to_string(ExDCM::compare(&dataset, &whole, true, true, true, true, true, true)) +
         " " +
         std::to_string(ExDCM::compare(&whole, &dataset, true, true, true, true, true, true)) +
         "\n";
}

std::string answersTo(const std::string& bytes, DcmDataset& whole, char pattern) {
  try {
    const std::unique_ptr<DcmFileFormat> file = parse(bytes);
    const std::unique_ptr<DcmFileFormat> again = parse(bytes);
    if (file == nullptr || again == nullptr) {
      return "refused";
    }
    DcmDataset& dataset = *file->getDataset();
    DcmDataset& other = *again->getDataset();
    return compare(dataset, whole) + render(dataset) + "\n" + decodeAll(dataset) + split(dataset) +
           decodeRange(other, pattern) + split(other);
  } catch (const std::bad_alloc&) {
    return "std::bad_alloc";
  }
}

// ---- in a child, which may die ----

/// How far the child came, in memory that it shares with its parent.
struct Progress {
  std::size_t bit = 0;
  std::size_t answered = 0;
  std::size_t decoded = 0;
  bool differs = false;
  std::array<char, 4000> answers{};
};

using SharedProgress = support::SharedMemory<Progress>;

// What damaged lengths ask for takes its time when it is filled, or marked by AddressSanitizer,
// which has memory of its own beyond every limit and is told by its options below.
void limitMemory() {
#if !defined(__SANITIZE_ADDRESS__)
  constexpr rlim_t kBytesAllowed = rlim_t{128} << 20U;
  const rlimit limit = {kBytesAllowed, kBytesAllowed};
  if (setrlimit(RLIMIT_DATA, &limit) != 0) {
    _exit(1);
  }
#endif
}

// Processor time, so that a busy machine does not matter; who waits for ever is ended by CTest.
void limitTime() {
  const itimerval limit = {{0, 0}, {kSecondsAllowed, 0}};
  if (support::timeIsLimited() && setitimer(ITIMER_PROF, &limit, nullptr) != 0) {
    _exit(1);
  }
}

std::string answersWithFreshMemoryOf(char pattern, const std::string& bytes, DcmDataset& whole) {
  mallopt(M_PERTURB, pattern);  // glibc fills what it hands out; sanitizers do not listen
  return answersTo(bytes, whole, pattern);
}

void turnEachBit(std::string bytes, SharedProgress& progress) {
  (void)support::silenceDcmtk();
  const support::LogCapture quiet;
  limitMemory();
  const std::string wholeBytes = bytes;
  const auto whole = parse(wholeBytes);
  for (std::size_t bit = 0; bit < bytes.size() * kBitsPerByte; bit += bitsBetweenFlips()) {
    progress->bit = bit;
    char& byte = bytes[bit / kBitsPerByte];
    const char before = byte;
    byte = static_cast<char>(static_cast<unsigned char>(before) ^ (1U << (bit % kBitsPerByte)));
    limitTime();
    const std::string answers = answersWithFreshMemoryOf(0x55, bytes, *whole->getDataset());
    const std::string again = answersWithFreshMemoryOf(0x2A, bytes, *whole->getDataset());
    if (answers != again) {
      progress->differs = true;
      (answers + "----\n" + again).copy(progress->answers.data(), progress->answers.size() - 1);
      _exit(1);
    }
    ++progress->answered;
    progress->decoded += answers.find("frames ") != std::string::npos ? 1 : 0;
    byte = before;
  }
}

class BitFlips : public testing::TestWithParam<SmallFile> {};

TEST_P(BitFlips, EachGetsAnAnswerThatComesFromTheFileAlone) {
  const std::string bytes = support::bytesOf(GetParam());
  SharedProgress progress;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    try {
      turnEachBit(bytes, progress);
    } catch (...) {
      _exit(2);
    }
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);

  EXPECT_EQ(status, 0) << "at bit " << progress->bit << " of byte " << progress->bit / kBitsPerByte
                       << " of " << bytes.size();
  EXPECT_FALSE(progress->differs) << "the answers depend on old memory:\n"
                                  << progress->answers.data();
  EXPECT_EQ(progress->answered,
            (bytes.size() * kBitsPerByte + bitsBetweenFlips() - 1) / bitsBetweenFlips());
  EXPECT_EQ(progress->decoded > 0, GetParam().isImage);
  RecordProperty("flips", std::to_string(progress->answered));
  RecordProperty("decoded", std::to_string(progress->decoded));
}

INSTANTIATE_TEST_SUITE_P(Files, BitFlips, testing::ValuesIn(support::smallFiles()),
                         support::nameOf<SmallFile>);

}  // namespace
