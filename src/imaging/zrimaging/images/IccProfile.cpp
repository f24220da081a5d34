// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/images/IccProfile.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

namespace {

std::vector<unsigned char> profileAt(DcmItem& item) {
  const Uint8* bytes = nullptr;
  unsigned long count = 0;
  if (item.findAndGetUint8Array(DCM_ICCProfile, bytes, &count).bad() || bytes == nullptr) {
    return {};
  }
  return {bytes, bytes + count};
}

}  // namespace

std::vector<unsigned char> readIccProfile(DcmItem& dataset) {
  std::vector<unsigned char> profile = profileAt(dataset);
  DcmSequenceOfItems* paths = nullptr;
  if (!profile.empty() || dataset.findAndGetSequence(DCM_OpticalPathSequence, paths).bad()) {
    return profile;
  }
  for (DcmObject* path = paths->nextInContainer(nullptr); path != nullptr && profile.empty();
       path = paths->nextInContainer(path)) {
    if (auto* const item = dynamic_cast<DcmItem*>(path)) {
      profile = profileAt(*item);
    }
  }
  return profile;
}

}  // namespace zr
