// SPDX-License-Identifier: BSD-3-Clause
#include "DictionaryAccess.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdicent.h"

#include <memory>
#include <mutex>
#include <vector>

namespace dict {

namespace {

class ReadLock {
public:
  explicit ReadLock(GlobalDcmDataDictionary& global)
      : global_(global), dictionary_(global.rdlock()) {}
  ~ReadLock() { global_.rdunlock(); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

  const DcmDataDictionary& dictionary() const { return dictionary_; }

private:
  GlobalDcmDataDictionary& global_;
  const DcmDataDictionary& dictionary_;
};

std::optional<std::string> textOrNothing(const char* text) {
  return text != nullptr ? std::optional<std::string>(text) : std::nullopt;
}

}  // namespace

std::optional<Found> find(GlobalDcmDataDictionary& dictionary, const DcmTagKey& key,
                          const char* creator) {
  const ReadLock lock(dictionary);
  const DcmDictEntry* entry = lock.dictionary().findEntry(key, creator);
  if (entry == nullptr) {
    return std::nullopt;
  }
  return Found{entry->getEVR(),
               entry->getVMMin(),
               entry->getVMMax(),
               entry->getTagName(),
               textOrNothing(entry->getPrivateCreator()),
               textOrNothing(entry->getStandardVersion())};
}

int countEntries(GlobalDcmDataDictionary& dictionary) {
  const ReadLock lock(dictionary);
  return lock.dictionary().numberOfEntries();
}

GlobalDcmDataDictionary& freshDictionary() {
  static std::mutex mutex;
  static std::vector<std::unique_ptr<GlobalDcmDataDictionary>> dictionaries;
  const std::lock_guard<std::mutex> lock(mutex);
  return *dictionaries.emplace_back(std::make_unique<GlobalDcmDataDictionary>());
}

GlobalDcmDataDictionary& emptyDictionary() {
  GlobalDcmDataDictionary& dictionary = freshDictionary();
  dictionary.clear();
  return dictionary;
}

}  // namespace dict
