// SPDX-License-Identifier: BSD-3-Clause
//
// The private keys, and their way into a DCMTK data dictionary: every entry of the tables in
// dictionary/Table.cpp becomes a DcmDictEntry that the dictionary owns from then on.
//
// Two locks, always in this order: our registration mutex, then the dictionary's own write lock,
// which is held only while entries are added. While it is held, nothing here may look a tag up and
// no DcmTag without a VR may be built: the read lock that DCMTK takes for that fails silently, and
// releasing it releases the write lock.

#include "dictionary/Table.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdicent.h"
#include "dcmtk/dcmdata/dcdict.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

namespace ExDCM {

namespace PrivateTag {

const char* const CreatorZorlan = "Zorlan";
const Uint16 CreatorGroupZorlan = 0x0071;

#define ZRDCMEXPORT_PRIVATE_ELEMENT(name, element, vr, vm) \
  const DcmTagKey name(CreatorGroupZorlan, element);
#include <zrdcmexport/PrivateElements.def>

}  // namespace PrivateTag

namespace {

using EntryOwner = std::unique_ptr<DcmDictEntry>;
using VendorEntries = std::vector<EntryOwner>;

// Strings are copied, so that a dictionary may outlive this library.
constexpr OFBool kCopyStrings = OFTrue;
constexpr const char* kNoStandardVersion = nullptr;
constexpr const char* kNoPrivateCreator = nullptr;

// Guards the registry of extended dictionaries and the whole registration.
std::mutex registrationMutex;

// The dictionaries that hold our entries. Built on first use, because registration may be called
// while static objects of the application are still being initialised.
std::set<GlobalDcmDataDictionary*>& extendedDictionaries() {
  static std::set<GlobalDcmDataDictionary*> dictionaries;
  return dictionaries;
}

// Holds a dictionary's write lock for as long as it lives.
class DictionaryWriteLock {
public:
  explicit DictionaryWriteLock(GlobalDcmDataDictionary& global)
      : global_(global), dictionary_(global.wrlock()) {}
  ~DictionaryWriteLock() { global_.wrunlock(); }
  DictionaryWriteLock(const DictionaryWriteLock&) = delete;
  DictionaryWriteLock& operator=(const DictionaryWriteLock&) = delete;
  DictionaryWriteLock(DictionaryWriteLock&&) = delete;
  DictionaryWriteLock& operator=(DictionaryWriteLock&&) = delete;

  DcmDataDictionary& dictionary() { return dictionary_; }

private:
  GlobalDcmDataDictionary& global_;
  DcmDataDictionary& dictionary_;
};

EntryOwner createVendorDcmDictEntry(const Dictionary::VendorEntry& entry) {
  return std::make_unique<DcmDictEntry>(entry.group, entry.element, DcmVR(entry.vr), entry.name,
                                        entry.vm, entry.vm, kNoStandardVersion, kCopyStrings,
                                        entry.creator);
}

EntryOwner createPrivateZorlanDcmDictEntry(const DcmTagKey& key, const DcmVR& vr, const char* name,
                                           int vmMin, int vmMax) {
  return std::make_unique<DcmDictEntry>(key.getGroup(), key.getElement(), vr, name, vmMin, vmMax,
                                        "private", kCopyStrings, PrivateTag::CreatorZorlan);
}

EntryOwner createInternalZorlanDcmDictEntry(const DcmTagKey& key, const DcmVR& vr,
                                            const char* name) {
  return std::make_unique<DcmDictEntry>(key.getGroup(), key.getElement(), vr, name, 1, 1,
                                        kNoStandardVersion, kCopyStrings, kNoPrivateCreator);
}

VendorEntries createVendorEntries() {
  VendorEntries entries;
  entries.reserve(Dictionary::kVendorEntries.size());
  for (const Dictionary::VendorEntry& entry : Dictionary::kVendorEntries) {
    entries.push_back(createVendorDcmDictEntry(entry));
  }
  return entries;
}

// Hands an entry over. Where memory runs out, DCMTK throws before it has stored the entry, which
// therefore stays ours until addEntry has returned.
void addEntry(DcmDataDictionary& dictionary, EntryOwner entry) {
  dictionary.addEntry(entry.get());
  (void)entry.release();
}

void addAllEntries(DcmDataDictionary& dictionary, VendorEntries vendorEntries) {
  for (EntryOwner& entry : vendorEntries) {
    addEntry(dictionary, std::move(entry));
  }
  for (const auto& [element, vr, vm, name] : Dictionary::kOwnEntries) {
    const DcmTagKey key(PrivateTag::CreatorGroupZorlan, element);
    addEntry(dictionary, createPrivateZorlanDcmDictEntry(key, DcmVR(vr), name, vm, vm));
  }
  for (const auto& [element, vr, name] : Dictionary::kInternalEntries) {
    const DcmTagKey key(Dictionary::kInternalGroup, element);
    addEntry(dictionary, createInternalZorlanDcmDictEntry(key, DcmVR(vr), name));
  }
}

}  // namespace

void registerPrivateDicomTags() {
  // Only a short cut: what keeps two first calls at once apart is the registry behind it.
  static std::atomic<bool> registered = false;
  if (registered) {
    return;
  }
  addPrivateTagsToDict(&dcmDataDict);
  registered = true;
}

void addPrivateTagsToDict(GlobalDcmDataDictionary* dict) {
  GlobalDcmDataDictionary& global = dict != nullptr ? *dict : dcmDataDict;

  const std::lock_guard<std::mutex> registration(registrationMutex);
  std::set<GlobalDcmDataDictionary*>& extended = extendedDictionaries();
  if (extended.contains(&global)) {
    return;
  }
  VendorEntries vendorEntries = createVendorEntries();
  {
    DictionaryWriteLock lock(global);
    addAllEntries(lock.dictionary(), std::move(vendorEntries));
  }
  extended.insert(&global);
}

DcmTag zorlanTag(const DcmTagKey& key) {
  return {key, PrivateTag::CreatorZorlan};
}

}  // namespace ExDCM
