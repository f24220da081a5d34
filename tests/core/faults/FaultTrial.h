// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace faults {

/// One public entry with what it needs, ready to be called.
class Trial {
public:
  Trial() = default;
  virtual ~Trial() = default;
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;

  /// Calls the entry; false when it reports a failure.
  virtual bool call() = 0;
  /// What the entry says of its failure; empty where it says nothing.
  virtual std::string message() const { return {}; }
  /// What a good call has made, in a form that can be compared and printed.
  virtual std::string result() const = 0;
  /// Replaces the DCMTK object that the entry works on, as DCMTK may damage it when an allocation
  /// of its own fails. The object of our library stays.
  virtual void renewDcmtkObject() {}
};

/// A trial made of some state and two functions on it.
template <class State>
class TrialOf : public Trial {
public:
  TrialOf(bool (*entry)(State&), std::string (*describe)(const State&))
      : call_(entry), result_(describe), state_(std::make_unique<State>()) {}

  bool call() override { return call_(*state_); }
  std::string message() const override {
    if constexpr (requires(const State& state) { state.error; }) {
      return state_->error;
    } else {
      return {};
    }
  }
  std::string result() const override { return result_(*state_); }

private:
  bool (*call_)(State&);
  std::string (*result_)(const State&);
  std::unique_ptr<State> state_;
};

/// What an entry may answer to a shortage.
struct Contract {
  std::set<std::string> messages;  ///< with false, whole or as their beginning; none: never false
  bool mayThrow = false;           ///< std::bad_alloc
  /// With true, where the entry is documented to give less instead of failing.
  std::set<std::string> lesserResults = {};
  /// With true, from a DCMTK object that DCMTK has damaged in the shortage before.
  std::set<std::string> resultsOfDamage = {};
  /// DCMTK's code for the entry crashes when memory stays short: such shortages are for our code
  /// alone.
  bool dcmtkNeedsMemory = false;
  bool allocates = true;  ///< false: there is nothing that could fail
};

/// The entry may throw, and nothing else.
inline Contract throws() {
  return {{}, true};
}
/// It may throw or answer false without a message.
inline Contract throwsOrIsFalse() {
  return {{""}, true};
}
/// It may throw, or answer true and have made one of these.
inline Contract throwsOrMakes(std::set<std::string> lesserResults) {
  return {{}, true, std::move(lesserResults)};
}
/// There is nothing that could fail.
inline Contract allocatesNothing() {
  return {{}, false, {}, {}, false, false};
}

struct Entry {
  const char* name;
  std::function<std::unique_ptr<Trial>()> make;
  Contract contract;
};

/// Fails the first allocation of the entry's call, in a new trial the second, and so on until a
/// call passes. After each the answer must be within the contract, the same call once more must
/// give the right result, and no block may be left. Returns how many allocations have failed.
long expectToSurviveShortages(const Entry& entry);

/// Tests of one entry each. DCMTK is silent and the log goes nowhere.
class WithoutMemory : public testing::Test {
protected:
  WithoutMemory();

  /// The entry `call` keeps the contract at whatever allocation memory runs out. It works on a
  /// State of its own each time; `made` says what a good call has made of that.
  template <class State>
  static void expectKept(const Contract& contract, bool (*call)(State&),
                         std::string (*made)(const State&)) {
    const Entry entry = {"", [call, made] { return std::make_unique<TrialOf<State>>(call, made); },
                         contract};
    const long failures = expectToSurviveShortages(entry);
    RecordProperty("allocations", std::to_string(failures));
    EXPECT_EQ(failures > 0, contract.allocates);
  }
};

}  // namespace faults
