// SPDX-License-Identifier: BSD-3-Clause
//
// The private keys, and their way into a DCMTK data dictionary: every entry of the tables in
// ExDCMDictionaryTable.cpp becomes a DcmDictEntry that the dictionary owns from then on.
//
// Two locks, always in this order: our registration mutex, then the dictionary's own write lock,
// which is held only while entries are added. While it is held, nothing here may look a tag up and no
// DcmTag without a VR may be built: the read lock that DCMTK takes for that fails silently, and
// releasing it releases the write lock.

#include "dictionary/Table.h"

#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdicent.h"
#include "dcmtk/dcmdata/dcdict.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <set>

namespace ExDCM {

namespace PrivateTag {

const char* const CreatorZorlan = "Zorlan";
const Uint16 CreatorGroupZorlan = 0x0071;

const DcmTagKey QAHistory(CreatorGroupZorlan, 0x1021);
const DcmTagKey ManualQATimestamp(CreatorGroupZorlan, 0x1022);
const DcmTagKey OriginalSeriesNumber(CreatorGroupZorlan, 0x1031);
const DcmTagKey OriginalInstanceNumber(CreatorGroupZorlan, 0x1032);
const DcmTagKey OriginalFileFormat(CreatorGroupZorlan, 0x1041);
const DcmTagKey OriginalFileSize(CreatorGroupZorlan, 0x1042);
const DcmTagKey OriginalFileData(CreatorGroupZorlan, 0x1043);
const DcmTagKey AudioDataVersion(CreatorGroupZorlan, 0x1051);
const DcmTagKey AudioData(CreatorGroupZorlan, 0x1052);
const DcmTagKey AudioFileFormat(CreatorGroupZorlan, 0x1053);
const DcmTagKey AudioDuration(CreatorGroupZorlan, 0x1054);
const DcmTagKey AudioDataSize(CreatorGroupZorlan, 0x1055);
const DcmTagKey AudioRecordUser(CreatorGroupZorlan, 0x1056);
const DcmTagKey VolumeHash(CreatorGroupZorlan, 0x1061);
const DcmTagKey VolumeSourceImages(CreatorGroupZorlan, 0x1066);
const DcmTagKey AnnotationData(CreatorGroupZorlan, 0x1062);
const DcmTagKey AnnotationDataVersion(CreatorGroupZorlan, 0x1063);
const DcmTagKey KeyviewsData(CreatorGroupZorlan, 0x1064);
const DcmTagKey KeyviewsDataVersion(CreatorGroupZorlan, 0x1065);
const DcmTagKey ImageHorizontalFlip(CreatorGroupZorlan, 0x1071);
const DcmTagKey ImageRotation(CreatorGroupZorlan, 0x1072);
const DcmTagKey SegmentationData(CreatorGroupZorlan, 0x1081);
const DcmTagKey SegmentationDataVersion(CreatorGroupZorlan, 0x1082);
const DcmTagKey MaterialData(CreatorGroupZorlan, 0x1083);
const DcmTagKey MaterialDataVersion(CreatorGroupZorlan, 0x1084);
const DcmTagKey SortIndexUID(CreatorGroupZorlan, 0x1085);
const DcmTagKey SortIndex(CreatorGroupZorlan, 0x1086);
const DcmTagKey BreastDCEData(CreatorGroupZorlan, 0x10c1);
const DcmTagKey BreastDCEDataVersion(CreatorGroupZorlan, 0x10c2);
const DcmTagKey RadiopharmaceuticalStartDateTime(CreatorGroupZorlan, 0x10d1);
const DcmTagKey PerfusionAlgorithmVersion(CreatorGroupZorlan, 0x1091);
const DcmTagKey PerfusionTimeTagCombinedAcqAndTriggerTime(CreatorGroupZorlan, 0x1092);
const DcmTagKey OriginalValuesSequence(CreatorGroupZorlan, 0x10a1);
const DcmTagKey ImageBoxAndCenter(CreatorGroupZorlan, 0x1070);
const DcmTagKey VolumePixelSpacingUsed(CreatorGroupZorlan, 0x1075);
const DcmTagKey VolumePixelSpacingMin(CreatorGroupZorlan, 0x1076);
const DcmTagKey VolumePixelSpacingMax(CreatorGroupZorlan, 0x1077);
const DcmTagKey CropBox(CreatorGroupZorlan, 0x1074);
const DcmTagKey ReportSketchDocument(CreatorGroupZorlan, 0x10b1);
const DcmTagKey ReportSketchImageTemplate(CreatorGroupZorlan, 0x10b2);
const DcmTagKey RegistrationInfo(CreatorGroupZorlan, 0x1073);

}  // namespace PrivateTag

namespace {

using EntryOwner = std::unique_ptr<DcmDictEntry>;
using VendorEntries = std::array<EntryOwner, Dictionary::kVendorEntries.size()>;

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
  for (std::size_t i = 0; i < entries.size(); ++i) {
    entries.at(i) = createVendorDcmDictEntry(Dictionary::kVendorEntries.at(i));
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
  for (const auto& [key, vr, vm, name] : Dictionary::kOwnEntries) {
    addEntry(dictionary, createPrivateZorlanDcmDictEntry(*key, DcmVR(vr), name, vm, vm));
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
