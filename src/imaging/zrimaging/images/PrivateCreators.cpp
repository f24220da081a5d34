// SPDX-License-Identifier: BSD-3-Clause
// Private creators beside those whose elements the dictionary has: DCMTK's and the library's own.
#include "zrimaging/images/PrivateCreators.h"

#include "zrimaging/images/ItemValues.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <set>
#include <string>

namespace zr {

namespace {

/// Holds the dictionary. Only one that may be changed lets itself be walked.
class DictionaryLock {
public:
  DictionaryLock() : dictionary_(dcmDataDict.wrlock()) {}
  ~DictionaryLock() { dcmDataDict.wrunlock(); }
  DictionaryLock(const DictionaryLock&) = delete;
  DictionaryLock& operator=(const DictionaryLock&) = delete;
  DictionaryLock(DictionaryLock&&) = delete;
  DictionaryLock& operator=(DictionaryLock&&) = delete;

  DcmDataDictionary& dictionary() { return dictionary_; }

private:
  DcmDataDictionary& dictionary_;
};

void addCreator(std::set<std::string>& creators, const DcmDictEntry* entry) {
  if (entry != nullptr && entry->getPrivateCreator() != nullptr) {
    creators.insert(entry->getPrivateCreator());
  }
}

std::set<std::string> creatorsOfDictionary() {
  ExDCM::registerPrivateDicomTags();
  std::set<std::string> creators;
  DictionaryLock lock;
  DcmDataDictionary& dictionary = lock.dictionary();
  for (auto at = dictionary.normalBegin(); at != dictionary.normalEnd(); ++at) {
    addCreator(creators, *at);
  }
  for (auto at = dictionary.repeatingBegin(); at != dictionary.repeatingEnd(); ++at) {
    addCreator(creators, *at);
  }
  return creators;
}

// Walking the whole dictionary for every file would cost more than reading a small file.
bool isKnown(const std::string& creator) {
  static const std::set<std::string> creators = creatorsOfDictionary();
  return creators.count(creator) > 0;
}

bool isCreator(const DcmTagKey& key) {
  constexpr Uint16 kFirstBlock = 0x0010;
  constexpr Uint16 kLastBlock = 0x00FF;
  return key.getGroup() % 2 == 1 && key.getElement() >= kFirstBlock &&
         key.getElement() <= kLastBlock;
}

}  // namespace

std::vector<PrivateCreator> readPrivateCreators(DcmItem& item) {
  std::vector<PrivateCreator> creators;
  for (DcmObject* object = item.nextInContainer(nullptr); object != nullptr;
       object = item.nextInContainer(object)) {
    const DcmTagKey key = object->getTag();
    if (!isCreator(key)) {
      continue;
    }
    const ValueText name = nameAt(item, key);
    const bool isNew = std::none_of(creators.begin(), creators.end(),
                                    [&](const auto& other) { return other.name == name; });
    if (!name.utf8.empty() && isNew) {
      creators.push_back({name, isKnown(name.utf8)});
    }
  }
  return creators;
}

}  // namespace zr
