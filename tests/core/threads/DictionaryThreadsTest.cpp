// SPDX-License-Identifier: BSD-3-Clause
// Registration of the private elements from several threads. CTest gives each test a process of its
// own, so each of them has a dictionary that was never touched before.
#include "AtOnce.h"
#include "core/dictionary/DictionaryAccess.h"
#include "core/dictionary/DictionaryRows.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdict.h"
#include "dcmtk/dcmdata/dctag.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <vector>

namespace {

using threads::atOnce;
using threads::kThreads;

TEST(RegistrationFromThreads, ExtendsOneDictionaryOnce) {
  for (int round = 0; round < 20; ++round) {
    GlobalDcmDataDictionary& dictionary = dict::emptyDictionary();
    std::vector<int> counts(kThreads);

    // Whoever comes first, everybody finds the full set when the call returns.
    atOnce([&](int i) {
      ExDCM::addPrivateTagsToDict(&dictionary);
      counts.at(static_cast<std::size_t>(i)) = dict::countEntries(dictionary);
    });

    EXPECT_EQ(counts, std::vector<int>(kThreads, dict::countOfRows()));
  }
}

TEST(RegistrationFromThreads, ExtendsDifferentDictionariesAtTheSameTime) {
  std::vector<GlobalDcmDataDictionary*> dictionaries;
  for (int i = 0; i < kThreads; ++i) {
    dictionaries.push_back(&dict::emptyDictionary());
  }

  atOnce([&](int i) {
    for (std::size_t k = 0; k < kThreads; ++k) {
      ExDCM::addPrivateTagsToDict(dictionaries.at((static_cast<std::size_t>(i) + k) % kThreads));
    }
  });

  for (GlobalDcmDataDictionary* dictionary : dictionaries) {
    EXPECT_EQ(dict::countEntries(*dictionary), dict::countOfRows());
  }
}

TEST(RegistrationFromThreads, GivesEveryThreadTheGlobalEntries) {
  std::vector<DcmEVR> found(kThreads, EVR_UNKNOWN);

  atOnce([&](int i) {
    if (i % 2 == 0) {
      ExDCM::registerPrivateDicomTags();
    } else {
      ExDCM::addPrivateTagsToDict(nullptr);
    }
    found.at(static_cast<std::size_t>(i)) =
        ExDCM::zorlanTag(ExDCM::PrivateTag::RegistrationInfo).getEVR();
  });

  EXPECT_EQ(found, std::vector<DcmEVR>(kThreads, EVR_DS));
}

TEST(RegistrationFromThreads, LetsReadersThrough) {
  GlobalDcmDataDictionary& dictionary = dict::emptyDictionary();
  std::vector<int> results(kThreads, -1);

  // A reader sees nothing or everything: the write lock is held while all entries are added.
  atOnce([&](int i) {
    if (i == 0) {
      ExDCM::addPrivateTagsToDict(&dictionary);
    }
    results.at(static_cast<std::size_t>(i)) = dict::countEntries(dictionary);
  });

  for (const int result : results) {
    EXPECT_TRUE(result == 0 || result == dict::countOfRows()) << result;
  }
}

}  // namespace
