// SPDX-License-Identifier: BSD-3-Clause
// Lookup tables out of DICOM items. A table is a descriptor (number of entries, first mapped value,
// bits per entry) and its data; the modality LUT stands in an item of a sequence, the palettes in
// the item itself:
//
//     (0028,3000) Modality LUT Sequence > (0028,3002) LUT Descriptor, (0028,3006) LUT Data
//     (0028,1101) red, (0028,1102) green, (0028,1103) blue descriptor
//     (0028,1201) red, (0028,1202) green, (0028,1203) blue data
//
// A descriptor is read in this order: find its holder, parse it, view the data as bytes and as
// words, repair what the announced bits and the stored form disagree about, compare the counts,
// take the values over. Whatever disagrees costs one warning and nothing else, as long as there are
// values to use.

#include "dicom/CLocale.h"
#include "samples/InternalCheck.h"

#include <ktlib/KtLogFile.h>
#include <wexlib/WexItem.h>
#include <wexlib/WexItemOF.h>
#include <zrdcmexport/ExDicomUtilitiesLUT.h>
#include <zrdcmexport/ZrNumbers.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcitem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <new>

namespace ExDicomUtilities {
namespace {

constexpr const char* kInconsistent = "Modality LUT inconsistent.";
constexpr int kVendorException = 1;

// The values of a table as they stand in the dataset, or in `unpacked`.
struct LutData {
  const Uint8* data8 = nullptr;
  unsigned long count8 = 0;
  const Uint16* data16 = nullptr;
  unsigned long count16 = 0;
  KtDArray<unsigned char> unpacked;
};

// The three values of a descriptor.
struct Descriptor {
  int numEntries = 0;
  int firstMapped = 0;
  int bits = 0;

  // 16 bits cannot count to 65536, so 0 stands for it.
  [[nodiscard]] unsigned long long size() const {
    return numEntries == 0 ? 65536 : static_cast<unsigned long long>(numEntries);
  }
};

// What one descriptor yields.
struct LutInfo {
  KtDArray<unsigned char> out8;
  KtDArray<unsigned short> out16;
  int firstMapped = 0;
  bool inconsistent = false;
};

bool isModality(const DcmTagKey& descriptor) {
  return descriptor == DCM_LUTDescriptor;
}

bool isPalette(const DcmTagKey& descriptor) {
  return descriptor == DCM_RedPaletteColorLookupTableDescriptor ||
         descriptor == DCM_GreenPaletteColorLookupTableDescriptor ||
         descriptor == DCM_BluePaletteColorLookupTableDescriptor;
}

DcmTagKey dataTagOf(const DcmTagKey& descriptor) {
  return isModality(descriptor) ? DCM_LUTData
                                : DcmTagKey(descriptor.getGroup(),
                                            static_cast<Uint16>(descriptor.getElement() + 0x100));
}

KtResult reported(bool holds, const char* condition, int line = __builtin_LINE()) {
  KtResult result = internalCheck(holds, condition, CheckSource::kLutReading, line);
  (void)Zr::fail(result);  // the caller keeps the result and ends by it
  return result;
}

// ---- a faulty modality -------------------------------------------------------------------------

bool readsExactly(Wex::Item& item, const DcmTagKey& tag, const char* text) {
  OFString value;
  return item.findAndGetOFString(tag, value).good() && value == text;
}

// Angiographs of this software version write modality LUTs into 8-bit images that are not meant
// for them.
bool isFaultyAngiograph(Wex::Item& item) {
  const OFString faultyVersion = "Allura Xper, 7.6.3.2";
  OFString versions;
  if (item.findAndGetOFStringArray(DCM_SoftwareVersions, versions).bad() ||
      versions.find(faultyVersion) == OFString_npos) {
    return false;
  }
  Uint16 bitsAllocated = 0;
  return readsExactly(item, DCM_Manufacturer, "Philips Medical Systems") &&
         readsExactly(item, DCM_ManufacturerModelName, "AlluraXper") &&
         readsExactly(item, DCM_SOPClassUID, "1.2.840.10008.5.1.4.1.1.12.1") &&
         item.findAndGetUint16(DCM_BitsAllocated, bitsAllocated).good() && bitsAllocated == 8;
}

// ---- the steps of one descriptor ---------------------------------------------------------------

// Reads the three numbers. Without a descriptor there is no table, which is no failure.
KtResult readDescriptor(Wex::Item& holder, const DcmTagKey& tag, Descriptor& descriptor,
                        bool& isThere) {
  OFString text;
  isThere = holder.findAndGetOFStringArray(tag, text).good();
  if (!isThere) {
    return {};
  }
  const Zrg::CLocaleScope scope;  // it says what white space is
  const int numFields = std::sscanf(text.c_str(), "%d\\%d\\%d", &descriptor.numEntries,
                                    &descriptor.firstMapped, &descriptor.bits);
  return reported(numFields == 3, "numFields==3");
}

// The first mapped value of a modality LUT is signed where the samples are, though it was written
// as an unsigned number.
void restoreSign(Wex::Item& item, int& firstMapped) {
  OFString pixelRepresentation;
  if (item.findAndGetOFString(DCM_PixelRepresentation, pixelRepresentation).good() &&
      Zrg::intOf(pixelRepresentation) == 1) {
    firstMapped = static_cast<Sint16>(static_cast<Uint16>(firstMapped));
  }
}

// Whether there is an array. That there was no memory to load it must not pass for its absence.
bool isAvailable(const OFCondition& status) {
  if (status == EC_MemoryExhausted) {
    throw std::bad_alloc();
  }
  return status.good();
}

LutData viewData(Wex::Item& holder, const DcmTagKey& tag) {
  LutData data;
  if (!isAvailable(holder.findAndGetUint8Array(tag, data.data8, data.count8)) ||
      data.data8 == nullptr) {
    data.data8 = nullptr;
    data.count8 = 0;
  }
  if (!isAvailable(holder.findAndGetUint16Array(tag, data.data16, data.count16)) ||
      data.data16 == nullptr) {
    data.data16 = nullptr;
    data.count16 = 0;
  }
  return data;
}

void drop8(LutData& data) {
  data.data8 = nullptr;
  data.count8 = 0;
}

void drop16(LutData& data) {
  data.data16 = nullptr;
  data.count16 = 0;
}

void appendLowBytes(const Uint16* words, std::size_t count, KtDArray<unsigned char>& bytes) {
  bytes.resize(count);
  std::transform(words, words + count, bytes.begin(),
                 [](Uint16 word) { return static_cast<unsigned char>(word & 0xFFU); });
}

// Gets 8-bit palette entries out of 16-bit words: one or two entries a word.
// Returns whether the count of words fits either.
bool unpackPalette(LutData& data, unsigned long long size) {
  if (data.count16 == size) {
    appendLowBytes(data.data16, data.count16, data.unpacked);
    data.data8 = data.unpacked.data();
  } else if (2ULL * data.count16 == size) {
    data.data8 = reinterpret_cast<const Uint8*>(data.data16);
  } else {
    return false;
  }
  data.count8 = static_cast<unsigned long>(size);
  drop16(data);
  return true;
}

// Brings the stored form and the announced bits together; the table is usable afterwards when it
// has data in either form. Returns whether they agree.
bool repair(LutData& data, const Descriptor& descriptor, bool mayUnpack) {
  if (descriptor.bits == 8 && data.data8 == nullptr) {
    return data.data16 != nullptr && mayUnpack && unpackPalette(data, descriptor.size());
  }
  return descriptor.bits != 16 || data.data16 != nullptr;
}

// Keeps one form and takes its values over; the data decides how many. Returns whether there was
// one form only and its count is the announced one.
bool takeValues(LutData& data, unsigned long long size, LutInfo& info) {
  const bool hasBoth = data.data8 != nullptr && data.data16 != nullptr;
  if (hasBoth) {
    drop8(data);
  }
  info.out8.resize(data.count8);
  std::copy_n(data.data8, data.count8, info.out8.begin());
  info.out16.resize(data.count16);
  std::copy_n(data.data16, data.count16, info.out16.begin());
  const unsigned long long count = data.data16 != nullptr ? data.count16 : data.count8;
  return !hasBoth && count == size;
}

// 16-bit values that all fit into 8 bits are offered in that form as well, and only in that form
// when the descriptor announced it.
void narrowWherePossible(LutInfo& info, int bits) {
  const bool fits = std::all_of(info.out16.begin(), info.out16.end(),
                                [](unsigned short value) { return value <= 0xFF; });
  if (info.out16.empty() || !fits) {
    return;
  }
  appendLowBytes(info.out16.data(), info.out16.size(), info.out8);
  if (bits == 8) {
    info.out16.clear();
  }
}

// The item that holds descriptor and data; null where there is no such item. `owned` keeps it.
Wex::Item* findHolder(Wex::Item& item, const DcmTagKey& descriptor,
                      std::unique_ptr<Wex::Item>& owned, KtResult& result) {
  if (isPalette(descriptor)) {
    return &item;
  }
  if (isFaultyAngiograph(item)) {
    result = KtResult::makeBad(kVendorException);
    return nullptr;
  }
  if (item.findAndGetSequenceItem(DCM_ModalityLUTSequence, owned, 0).good()) {
    result = reported(owned != nullptr, "lut_container!=0");
  } else {
    owned.reset();
  }
  return owned.get();
}

// All steps up to the warning; a bad result means that nothing of `info` counts.
KtResult readLut(Wex::Item& item, const DcmTagKey& tag, LutInfo& info) {
  KtResult result;
  std::unique_ptr<Wex::Item> owned;
  Wex::Item* const holder = findHolder(item, tag, owned, result);
  if (holder == nullptr) {
    return result;
  }
  Descriptor descriptor;
  bool isThere = false;
  result = readDescriptor(*holder, tag, descriptor, isThere);
  if (!isThere || result.isBad()) {
    return result;
  }
  if (isModality(tag)) {
    restoreSign(item, descriptor.firstMapped);
  }
  LutData data = viewData(*holder, dataTagOf(tag));
  const bool formAgrees = repair(data, descriptor, isPalette(tag));
  result = reported(data.data8 != nullptr || data.data16 != nullptr, "data8!=0 || data16!=0");
  if (result.isBad()) {
    return result;
  }
  const bool countAgrees = takeValues(data, descriptor.size(), info);
  if (isModality(tag)) {
    narrowWherePossible(info, descriptor.bits);
  }
  info.firstMapped = descriptor.firstMapped;
  info.inconsistent = !formAgrees || !countAgrees;
  return result;
}

void getLUTInfo(Wex::Item& item, const DcmTagKey& descriptor, KtDArray<unsigned char>& out8,
                KtDArray<unsigned short>& out16, int& firstMapped, bool& inconsistent) {
  LutInfo info;
  if (isModality(descriptor) || isPalette(descriptor)) {
    if (readLut(item, descriptor, info).isBad()) {
      info = LutInfo();
      info.inconsistent = true;
    }
    if (info.inconsistent) {
      // Deliberate: the same text for palettes. Test: LutReading.WarnsOncePerPaletteDescriptor
      getTheLogInstance().warnf("%s", kInconsistent);
    }
  }
  out8.swap(info.out8);
  out16.swap(info.out16);
  firstMapped = info.firstMapped;
  inconsistent = info.inconsistent;
}

// ---- palettes ----------------------------------------------------------------------------------

// Entries side by side: red, green, blue of entry 0, then of entry 1, and so on.
template <class T>
void mergeRGB(KtDArray<T>& out, const KtDArray<T>& red, const KtDArray<T>& green,
              const KtDArray<T>& blue) {
  out.resize(3 * red.size());
  for (std::size_t i = 0; i < red.size(); ++i) {
    out[3 * i] = red[i];
    out[3 * i + 1] = green[i];
    out[3 * i + 2] = blue[i];
  }
}

// The common length of three arrays; 0 when there is none.
template <class T>
std::size_t commonSize(const std::array<KtDArray<T>, 3>& channels) {
  const std::size_t size = channels[0].size();
  return channels[1].size() == size && channels[2].size() == size ? size : 0;
}

// Fills the table. That it found no memory must not pass for an image without a table.
void fillLut(LUT& lut, const KtDArray<unsigned char>& data8, const KtDArray<unsigned short>& data16,
             unsigned nComponents, int firstMapped, bool prefer16) {
  lut.set(data8, data16, nComponents, firstMapped, prefer16);
  if (lut.entries.isNull() && (!data8.empty() || !data16.empty())) {
    throw std::bad_alloc();
  }
}

void readModalityLut(LUT& lut, Wex::Item& item) {
  KtDArray<unsigned char> data8;
  KtDArray<unsigned short> data16;
  int firstMapped = 0;
  bool inconsistent = false;
  getLUTInfo(item, DCM_LUTDescriptor, data8, data16, firstMapped, inconsistent);
  fillLut(lut, data8, data16, 1, firstMapped, true);
}

void readPaletteLut(LUT& lut, Wex::Item& item) {
  const std::array<DcmTagKey, 3> descriptors = {DCM_RedPaletteColorLookupTableDescriptor,
                                                DCM_GreenPaletteColorLookupTableDescriptor,
                                                DCM_BluePaletteColorLookupTableDescriptor};
  std::array<KtDArray<unsigned char>, 3> channels8;
  std::array<KtDArray<unsigned short>, 3> channels16;
  std::array<int, 3> firstMapped{};
  for (std::size_t c = 0; c < descriptors.size(); ++c) {
    bool inconsistent = false;
    getLUTInfo(item, descriptors[c], channels8[c], channels16[c], firstMapped[c], inconsistent);
  }
  KtDArray<unsigned char> merged8;
  KtDArray<unsigned short> merged16;
  if (commonSize(channels8) > 0) {
    mergeRGB(merged8, channels8[0], channels8[1], channels8[2]);
  } else if (commonSize(channels16) > 0) {
    mergeRGB(merged16, channels16[0], channels16[1], channels16[2]);
  }
  fillLut(lut, merged8, merged16, 3, firstMapped[0], false);
}

}  // namespace

void LUT::dcmDatasetRead(LUT& lut, DcmItem& item, bool readPalette) {
  Wex::ItemOF wrapped(item);
  dcmDatasetRead(lut, static_cast<Wex::Item&>(wrapped), readPalette);
}

void LUT::dcmDatasetRead(LUT& lut, Wex::Item& item, bool readPalette) {
  lut.clear();
  if (readPalette) {
    readPaletteLut(lut, item);
  } else {
    readModalityLut(lut, item);
  }
}

}  // namespace ExDicomUtilities
