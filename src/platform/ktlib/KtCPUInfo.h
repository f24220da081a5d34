// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

/// What the processor can do, asked once. Every answer is false on processors that are not x86.
class KTLIB_API KtCPUInfo {
public:
  /// The processor that this process runs on.
  [[nodiscard]] static const KtCPUInfo& instance();

  KtCPUInfo(const KtCPUInfo&) = delete;
  KtCPUInfo& operator=(const KtCPUInfo&) = delete;

  /// 128-bit integer operations.
  [[nodiscard]] bool hasSSE2() const noexcept { return sse2_; }
  /// Byte shuffles on 128 bits.
  [[nodiscard]] bool hasSSSE3() const noexcept { return ssse3_; }
  /// 256-bit integer operations, which the operating system supports too.
  [[nodiscard]] bool hasAVX2() const noexcept { return avx2_; }
  /// 512-bit operations on bytes and 16-bit words, which the operating system supports too.
  [[nodiscard]] bool hasAVX512BW() const noexcept { return avx512bw_; }

private:
  KtCPUInfo() noexcept;

  bool sse2_ = false;
  bool ssse3_ = false;
  bool avx2_ = false;
  bool avx512bw_ = false;
};
