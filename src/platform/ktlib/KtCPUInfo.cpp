// SPDX-License-Identifier: BSD-3-Clause
// The compiler's own query is used because it also asks whether the operating system saves the wide
// registers, which the processor's flags alone do not tell.
#include <ktlib/KtCPUInfo.h>

const KtCPUInfo& KtCPUInfo::instance() {
  static const KtCPUInfo info;
  return info;
}

KtCPUInfo::KtCPUInfo() noexcept {
#if defined(__x86_64__) || defined(__i386__)
  // Needed where this runs before the constructors of the compiler's library.
  __builtin_cpu_init();
  sse2_ = __builtin_cpu_supports("sse2") != 0;
  ssse3_ = __builtin_cpu_supports("ssse3") != 0;
  avx2_ = __builtin_cpu_supports("avx2") != 0;
  avx512bw_ = __builtin_cpu_supports("avx512bw") != 0;
#endif
}
