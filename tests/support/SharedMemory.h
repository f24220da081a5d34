// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cerrno>
#include <new>
#include <sys/mman.h>
#include <system_error>
#include <type_traits>

namespace support {

/// A value that a process shares with the children it forks, so that it can be read after one of
/// them has crashed.
template <class T>
class SharedMemory {
  static_assert(std::is_trivially_destructible_v<T>);

public:
  SharedMemory()
      : memory_(
            mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (memory_ == MAP_FAILED) {
      throw std::system_error(errno, std::generic_category(), "mmap");
    }
    new (memory_) T;
  }
  ~SharedMemory() { munmap(memory_, sizeof(T)); }
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  T* operator->() const { return static_cast<T*>(memory_); }

private:
  void* memory_;
};

}  // namespace support
