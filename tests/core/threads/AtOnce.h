// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <barrier>
#include <thread>
#include <vector>

namespace threads {

constexpr int kThreads = 8;

/// Calls `work(thread)` in `kThreads` threads that start together, and waits for all of them.
template <class Work>
void atOnce(const Work& work) {
  std::barrier start(kThreads);
  std::vector<std::thread> running;
  running.reserve(kThreads);
  for (int thread = 0; thread < kThreads; ++thread) {
    running.emplace_back([&start, &work, thread] {
      start.arrive_and_wait();
      work(thread);
    });
  }
  for (std::thread& thread : running) {
    thread.join();
  }
}

}  // namespace threads
