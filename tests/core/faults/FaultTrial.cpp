// SPDX-License-Identifier: BSD-3-Clause
#include "core/faults/FaultTrial.h"

#include "core/faults/FailingAllocator.h"
#include "support/Compression.h"

#include <ktlib/KtLogFile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <new>

namespace faults {

namespace {

constexpr long kMostAllocations = 20000;

struct Answer {
  bool done = false;
  bool threw = false;
  bool failed = false;  ///< an allocation did
};

Answer callWithShortage(Trial& trial, long number, Shortage shortage) {
  Answer answer;
  try {
    const FailingAllocations memory(number, shortage);
    answer.done = trial.call();
  } catch (const std::bad_alloc&) {
    answer.threw = true;
  }
  answer.failed = anAllocationFailed();
  return answer;
}

bool isDocumented(const std::string& message, const Contract& contract) {
  return std::any_of(
      contract.messages.begin(), contract.messages.end(), [&message](const std::string& known) {
        return message == known || (!known.empty() && message.rfind(known + ":", 0) == 0);
      });
}

void expectWithinContract(const Trial& trial, const Answer& answer, const Contract& contract,
                          const std::string& right) {
  if (answer.threw) {
    EXPECT_TRUE(contract.mayThrow) << "std::bad_alloc got out\n" << describeFailure();
  } else if (answer.done && contract.lesserResults.count(trial.result()) == 0) {
    EXPECT_EQ(trial.result(), right) << "success with a wrong result\n" << describeFailure();
  } else if (!answer.done) {
    EXPECT_TRUE(isDocumented(trial.message(), contract))
        << "an undocumented message: " << trial.message() << "\n"
        << describeFailure();
  }
}

// The call once more, with memory. A DCMTK object may have suffered from a failure of DCMTK's own:
// it may be refused then, but never give something wrong, and the next one must do.
void expectToWorkAgain(Trial& trial, const Contract& contract, const std::string& right) {
  if (ownerOfTheFailure() == Owner::Dcmtk) {
    if (trial.call() && contract.resultsOfDamage.count(trial.result()) == 0) {
      EXPECT_EQ(trial.result(), right) << "of a damaged object\n" << describeFailure();
    }
    trial.renewDcmtkObject();
  }
  EXPECT_TRUE(trial.call()) << "the call once more: " << trial.message() << "\n"
                            << describeFailure();
  EXPECT_EQ(trial.result(), right) << "of the call once more\n" << describeFailure();
}

// Whether an allocation has failed, which means that there may be more of them.
bool survivesShortage(const Entry& entry, long number, Shortage shortage,
                      const std::string& right) {
  const std::unique_ptr<Trial> trial = entry.make();
  const Answer answer = callWithShortage(*trial, number, shortage);
  if (!answer.failed) {
    EXPECT_TRUE(answer.done);
    EXPECT_EQ(trial->result(), right);
    return false;
  }
  expectWithinContract(*trial, answer, entry.contract, right);
  expectToWorkAgain(*trial, entry.contract, right);
  return true;
}

// DCMTK does not free everything when an allocation of its own fails: of its blocks it may leave
// some then. Ours, which include the DCMTK objects that we make, are all freed in any case.
void expectNothingLeft(long blocks) {
  if (blocks == 0 || testing::Test::HasFailure()) {  // a failure itself is remembered in blocks
    return;
  }
  const long ours = blocksLeft(Owner::Ours);
  const long dcmtks = blocksLeft(Owner::Dcmtk);
  EXPECT_EQ(blocks, ours + dcmtks) << "blocks left behind by more than the call that failed";
  EXPECT_EQ(ours, 0) << describeFailure();
  EXPECT_TRUE(dcmtks == 0 || ownerOfTheFailure() == Owner::Dcmtk) << describeFailure();
}

std::string rightResult(const Entry& entry) {
  const std::unique_ptr<Trial> trial = entry.make();
  EXPECT_TRUE(trial->call()) << trial->message();
  return trial->result();
}

}  // namespace

long expectToSurviveShortages(const Entry& entry) {
  prepareToWatch();
  const std::string right = rightResult(entry);
  (void)rightResult(entry);  // what is made once in a process is made now
  long failures = 0;
  const Shortage lasting =
      entry.contract.dcmtkNeedsMemory ? Shortage::OursFromThen : Shortage::FromThen;
  for (const Shortage shortage : {Shortage::Once, lasting}) {
    bool more = true;
    for (long number = 1; more && !testing::Test::HasFailure(); ++number) {
      SCOPED_TRACE("allocation " + std::to_string(number) +
                   (shortage == Shortage::Once ? " alone" : " and all after it"));
      if (number > kMostAllocations) {
        ADD_FAILURE() << "the call never passes";
        break;
      }
      const long before = liveBlocks();
      more = survivesShortage(entry, number, shortage, right);
      expectNothingLeft(liveBlocks() - before);
      failures += more ? 1 : 0;
    }
  }
  return failures;
}

WithoutMemory::WithoutMemory() {
  (void)support::silenceDcmtk();
  getTheLogInstance().setSink([](KtLogFile::Level, const std::string&) {});
}

}  // namespace faults
