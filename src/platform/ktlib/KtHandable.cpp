// SPDX-License-Identifier: BSD-3-Clause
// The destructors are here so that the vtables and type records exist once, in this library.
#include <ktlib/KtHandable.h>

KtHandable::~KtHandable() = default;

void KtHandable::unref() const {
  if (--count_ == 0) {
    delete this;
  }
}

KtHandableThreaded::~KtHandableThreaded() = default;

void KtHandableThreaded::unref() const {
  // Release hands our writes over, acquire lets the last owner see those of all others.
  if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete this;
  }
}
