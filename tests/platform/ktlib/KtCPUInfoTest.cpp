// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtCPUInfo.h>

#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>

namespace {
// What the Linux kernel says of the first processor; empty where it says nothing.
std::set<std::string> kernelFlags() {
  std::ifstream file("/proc/cpuinfo");
  for (std::string line; std::getline(file, line);) {
    if (line.rfind("flags", 0) == 0) {
      std::istringstream words(line.substr(line.find(':') + 1));
      return {std::istream_iterator<std::string>(words), {}};
    }
  }
  return {};
}
}  // namespace

TEST(KtCPUInfo, AgreesWithTheKernel) {
  const std::set<std::string> flags = kernelFlags();
  if (flags.empty()) {
    GTEST_SKIP() << "the kernel lists no processor flags here";
  }
  const KtCPUInfo& cpu = KtCPUInfo::instance();

  EXPECT_EQ(cpu.hasSSE2(), flags.count("sse2") == 1);
  EXPECT_EQ(cpu.hasSSSE3(), flags.count("ssse3") == 1);
  EXPECT_EQ(cpu.hasAVX2(), flags.count("avx2") == 1);
  EXPECT_EQ(cpu.hasAVX512BW(), flags.count("avx512bw") == 1);
}

TEST(KtCPUInfo, IsOneObject) {
  EXPECT_EQ(&KtCPUInfo::instance(), &KtCPUInfo::instance());
}

#if defined(__x86_64__)
TEST(KtCPUInfo, HasWhatEvery64BitX86Has) {
  EXPECT_TRUE(KtCPUInfo::instance().hasSSE2());
}
#endif
